#include "fmfiles/register_file.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace fmconv {
namespace {

TEST(RegisterTrailer, LayoutValidityAndTheInnerName) {
    const RegisterTrailer t = BuildRegisterTrailer("MLOGO.FMEM_001.SFM");
    const std::string want = std::string(256, '\0') + "SFM1" + std::string(4, '\0') +
                             "MLOGO.FMEM_001.SFM" + std::string(14 + 4, '\0') + "VVVV";
    EXPECT_EQ(std::string(t.begin(), t.end()), want);
    EXPECT_TRUE(IsValidRegisterTrailer(t));
    EXPECT_EQ(TrailerInnerName(t), "MLOGO.FMEM_001.SFM");

    // 32 characters or more fill the field without a terminator.
    const std::string name32 = "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";
    const RegisterTrailer longName = BuildRegisterTrailer(name32 + "6789");
    EXPECT_EQ(TrailerInnerName(longName), name32);
    EXPECT_EQ(longName[296], 0);

    for (std::size_t at : {256u, 259u, 300u, 303u}) {
        RegisterTrailer broken = t;
        broken[at] ^= 0x20;
        EXPECT_FALSE(IsValidRegisterTrailer(broken)) << at;
        EXPECT_EQ(TrailerInnerName(broken), "MLOGO.FMEM_001.SFM");  // read all the same
    }
}

TEST(RegisterTrailer, ReadingTakesTheLast304Bytes) {
    testing::TempDir dir;
    std::vector<uint8_t> file(1000, 0xAB);
    const RegisterTrailer t = BuildRegisterTrailer("SABC.FMEM_002.SFA");
    file.insert(file.end(), t.begin(), t.end());
    testing::WriteBytes(dir.File("F0001.SF3"), file);
    testing::WriteBytes(dir.File("short.SF1"), std::vector<uint8_t>(303, 1));
    dir.MakeDir("folder.SF1");
    for (TrailerOpenMode mode : {TrailerOpenMode::kRead, TrailerOpenMode::kReadWrite}) {
        const TrailerRead read = ReadRegisterTrailer(dir.File("F0001.SF3"), mode);
        EXPECT_EQ(read.status, TrailerReadStatus::kOk);
        EXPECT_EQ(read.trailer, t);
    }
    EXPECT_EQ(ReadRegisterTrailer(dir.File("short.SF1"), TrailerOpenMode::kReadWrite).status,
              TrailerReadStatus::kShort);
    EXPECT_EQ(ReadRegisterTrailer(dir.File("missing.SF1"), TrailerOpenMode::kRead).status,
              TrailerReadStatus::kOpenFailed);
    EXPECT_EQ(ReadRegisterTrailer(dir.File("folder.SF1"), TrailerOpenMode::kReadWrite).status,
              TrailerReadStatus::kOpenFailed);
}

}  // namespace
}  // namespace fmconv
