#include "base/file_window.h"

#include <gtest/gtest.h>

#include <random>

#include "support/temp_dir.h"

namespace fmconv {
namespace {

// Random reads, mostly front to back as the frame builder reads, sometimes
// back or far ahead: every window starts at its offset, holds the file's
// bytes, reaches at least as far as asked unless the readable part ends,
// and never beyond it.
TEST(FileWindow, GivesTheFileBytesUpToItsLimit) {
    testing::TempDir dir;
    const std::size_t length = 3 * FileWindow::kMostAtOnce + 123;
    std::vector<uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    testing::WriteBytes(dir.File("f"), bytes);

    std::mt19937_64 random(11);
    FileWindow window;
    for (uint64_t limit : {uint64_t{0}, uint64_t{64}, uint64_t{length - 352},
                           uint64_t{FileWindow::kMostAtOnce * 2}, uint64_t{length},
                           uint64_t{length + 1000}}) {
        ASSERT_TRUE(window.Open(dir.File("f"), limit));
        const uint64_t end = std::min<uint64_t>(limit, length);
        uint64_t offset = 0;
        for (int step = 0; step < 400; ++step) {
            const std::size_t count = random() % 2 == 0 ? 2400 : random() % (FileWindow::kMostAtOnce + 9);
            const std::span<const uint8_t> got = window.From(offset, count);
            const uint64_t expected =
                offset < end ? std::min<uint64_t>({count, FileWindow::kMostAtOnce, end - offset}) : 0;
            ASSERT_GE(got.size(), expected) << "limit " << limit << " offset " << offset;
            ASSERT_LE(offset + got.size(), std::max(end, offset));
            ASSERT_TRUE(std::equal(got.begin(), got.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset)));
            switch (random() % 8) {
                case 0: offset = random() % (length + 500); break;  // anywhere, past the end too
                case 1: offset = offset / 2; break;                 // back
                default: offset = std::min<uint64_t>(offset + count, length + 10); break;
            }
        }
    }
    EXPECT_FALSE(window.Open(dir.File("missing"), 100));
    EXPECT_TRUE(window.From(0, 10).empty());
}

}  // namespace
}  // namespace fmconv
