#include "names/disk_space.h"

#include <gtest/gtest.h>

#include "platform/free_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

TEST(SpaceTest, Verdicts) {
    struct Case {
        int64_t size, free;
        SpaceVerdict verdict;
    } cases[] = {
        {100, 100, SpaceVerdict::kProceed},
        {100, 99, SpaceVerdict::kInsufficient},
        {1, 0, SpaceVerdict::kInsufficient},
        {0, 0, SpaceVerdict::kProceed},
        {100, INT32_MIN + 1, SpaceVerdict::kInsufficient},  // a legacy reading of 2 GiB + 1
        {-1, 1000, SpaceVerdict::kUnknown},
        {100, -1, SpaceVerdict::kUnknown},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TestSpace(c.size, c.free), c.verdict) << c.size << " " << c.free;
    }
}

TEST(SpaceTest, ExactlyFourGibFreeRefusesEveryNonEmptyFile) {
    testing::TempDir dir;
    testing::WriteText(dir.File("a.SFM"), "frame");
    testing::WriteText(dir.File("empty.SFM"), "");
    const platform::LegacyFreeSpaceProbe fourGib(
        [](const std::string&) { return std::optional<uint64_t>(4ull << 30); });
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), fourGib),
              SpaceVerdict::kInsufficient);
    EXPECT_EQ(TestSpaceForFile(dir.File("empty.SFM"), dir.path(), fourGib), SpaceVerdict::kProceed);
    EXPECT_EQ(TestSpaceForFile(dir.File("missing.SFM"), dir.path(), fourGib),
              SpaceVerdict::kUnknown);

    const platform::FixedFreeSpaceProbe plenty(1 << 20);
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), plenty), SpaceVerdict::kProceed);
}

}  // namespace
}  // namespace fmconv
