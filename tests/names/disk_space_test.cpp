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

// The source file's length against the probe's count. (A legacy probe reads
// exactly 4 GiB free as 0: see the free-space and driver tests.)
TEST(SpaceTest, TheSourceFilesLengthMeetsTheFreeCount) {
    testing::TempDir dir;
    testing::WriteText(dir.File("a.SFM"), "frame");
    testing::WriteText(dir.File("empty.SFM"), "");
    const platform::FixedFreeSpaceProbe none(0), four(4), five(5);
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), four), SpaceVerdict::kInsufficient);
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), five), SpaceVerdict::kProceed);
    EXPECT_EQ(TestSpaceForFile(dir.File("empty.SFM"), dir.path(), none), SpaceVerdict::kProceed);
    EXPECT_EQ(TestSpaceForFile(dir.File("missing.SFM"), dir.path(), five), SpaceVerdict::kUnknown);
}

}  // namespace
}  // namespace fmconv
