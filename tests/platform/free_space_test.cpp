#include "platform/free_space.h"

#include <gtest/gtest.h>

namespace fmconv::platform {
namespace {

constexpr uint64_t kGiB = 1ull << 30;

TEST(FreeSpace, LegacyReadingKeepsTheLow32BitsSigned) {
    struct Case {
        uint64_t free;
        int32_t reading;
    } cases[] = {
        {0, 0},
        {2 * kGiB - 1, INT32_MAX},
        {2 * kGiB, INT32_MIN},
        {2 * kGiB + 1, INT32_MIN + 1},
        {4 * kGiB, 0},
        {4 * kGiB + 100, 100},
        {5 * kGiB, static_cast<int32_t>(kGiB)},
        {8 * kGiB - 1, -1},
    };
    for (const Case& c : cases) EXPECT_EQ(LegacyFreeBytesReading(c.free), c.reading) << c.free;
}

TEST(FreeSpace, LegacyProbeAsksAboutTheCurrentDirectoryWhateverTheDestination) {
    std::string asked;
    LegacyFreeSpaceProbe probe([&](const std::string& path) -> std::optional<uint64_t> {
        asked = path;
        return 4 * kGiB;
    });
    EXPECT_EQ(probe.FreeBytes("/some/destination"), 0);
    EXPECT_EQ(asked, ".");

    LegacyFreeSpaceProbe failing([](const std::string&) { return std::optional<uint64_t>(); });
    EXPECT_EQ(failing.FreeBytes("/x"), -1);
}

TEST(FreeSpace, RealProbeAsksAboutTheDestinationIn64Bits) {
    RealFreeSpaceProbe probe([](const std::string& path) -> std::optional<uint64_t> {
        return path == "/dest" ? std::optional<uint64_t>(4 * kGiB) : std::nullopt;
    });
    EXPECT_EQ(probe.FreeBytes("/dest"), static_cast<int64_t>(4 * kGiB));
    EXPECT_EQ(probe.FreeBytes("/elsewhere"), -1);
    EXPECT_GT(RealFreeSpaceProbe().FreeBytes("."), 0);
}

}  // namespace
}  // namespace fmconv::platform
