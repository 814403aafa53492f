#include "audio/extracting_conversions.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "audio/sfa_file.h"
#include "audio/signal_format.h"
#include "base/bytes.h"
#include "fmfiles/containers.h"
#include "fmfiles/register_file.h"
#include "fmfiles/sfm_file.h"
#include "platform/files.h"
#include "audio_test_files.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::ReadBytes;
using testing::TempDir;

class ExtractingTest : public ::testing::Test {
  protected:
    TempDir src, dst;
    platform::FixedFreeSpaceProbe plenty{int64_t{1} << 40};
    ConversionContext ctx;
    AudioChannelSet set;

    void SetUp() override {
        ctx.freeSpace = &plenty;
        ResetAudioChannelSet(set);
        set.frameCount = 1;
    }
    // An SFA file of `code` (with no audio) made from an SFM frame named `sfmName`.
    std::string MakeSfa(const std::string& sfmName, uint32_t code) {
        const FrameLayout& layout = *GetFrameLayout(testing::FrameFormatOf(code));
        testing::WriteBytes(src.File(sfmName), testing::MakeVariedSfm(layout, sfmName, code));
        AudioChannelSet silent;
        ResetAudioChannelSet(silent);
        return WriteSfaFromSfm(src.path(), sfmName, src.path(), silent, code, ctx);
    }
};

TEST_F(ExtractingTest, AFrameKeepsItsRegisterNumber) {
    ASSERT_EQ(MakeSfa("SLOGO.FMEM_012.SFM", kSignal1080i5994), "SLOGO.FMEM_012.SFA");
    EXPECT_EQ(ConvertSfaToSf1(src.path(), "SLOGO.FMEM_012.SFA", dst.path(), set, ctx),
              "F0012.SF1(SLOGO.FMEM_012.SFM)");
    const auto sf1 = ReadBytes(dst.File("F0012.SF1"));
    ASSERT_EQ(sf1.size(), 64u + 5188800u + 304u);
    const RegisterTrailer t = BuildRegisterTrailer("SLOGO.FMEM_012.SFM");
    EXPECT_TRUE(std::equal(t.begin(), t.end(), sf1.end() - 304));

    EXPECT_EQ(ConvertSfaToSfm(src.path(), "SLOGO.FMEM_012.SFA", dst.path(), set, ctx),
              "SLOGO.FMEM_012.SFM");
    EXPECT_EQ(ReadBytes(dst.File("SLOGO.FMEM_012.SFM")).size(), 5188864u);

    // In an SF3 the frame's name comes from the trailer, the number of the
    // SF1 from the register file's own name.
    ASSERT_EQ(PackRegisterFile(src.path(), "SLOGO.FMEM_012.SFA", src.path(), 5, RegisterKind::kSf3,
                               PackVariant::kPlain, ctx)
                  .text,
              "F0005.SF3(SLOGO.FMEM_012.SFA)");
    TempDir out;
    EXPECT_EQ(ConvertSf3ToSf1(src.path(), "F0005.SF3", out.path(), set, ctx),
              "F0005.SF1(SLOGO.FMEM_012.SFM)");
    EXPECT_EQ(ConvertSf3ToSfm(src.path(), "F0005.SF3", out.path(), set, ctx), "SLOGO.FMEM_012.SFM");
    EXPECT_EQ(ReadBytes(out.File("SLOGO.FMEM_012.SFM")), ReadBytes(dst.File("SLOGO.FMEM_012.SFM")));

    // A four-digit number gives its four digits to the SF1.
    ASSERT_EQ(MakeSfa("MA.FMEM1234.SFM", kSignal720p50), "MA.FMEM1234.SFA");
    EXPECT_EQ(ConvertSfaToSf1(src.path(), "MA.FMEM1234.SFA", dst.path(), set, ctx),
              "F1234.SF1(MA.FMEM1234.SFM)");
    EXPECT_EQ(ReadBytes(dst.File("F1234.SF1")).size(), 64u + 2307200u + 304u);
}

TEST_F(ExtractingTest, HeaderByte49SetsTheCurrentFormatOnlyWithAStoredCode) {
    ASSERT_EQ(MakeSfa("MA.FMEM_001.SFM", kSignal720p50), "MA.FMEM_001.SFA");
    ctx.signalFormat = kSignal1080i5994;
    ASSERT_NE(ConvertSfaToSfm(src.path(), "MA.FMEM_001.SFA", dst.path(), set, ctx), "");
    EXPECT_EQ(ctx.signalFormat, kSignal720p50);
    EXPECT_TRUE(ctx.embeddedAudioFlag);  // byte 48 is 0x81

    // Byte 49 = 5 is no stored code: the current format stays, and the frame
    // is cut as a 720P/50 one.
    auto bytes = ReadBytes(src.File("MA.FMEM_001.SFA"));
    bytes[49] = 5;
    testing::WriteBytes(src.File("MB.FMEM_002.SFA"), bytes);
    ASSERT_EQ(ConvertSfaToSfm(src.path(), "MB.FMEM_002.SFA", dst.path(), set, ctx),
              "MB.FMEM_002.SFM");
    EXPECT_EQ(ctx.signalFormat, kSignal720p50);
    EXPECT_EQ(ReadBytes(dst.File("MB.FMEM_002.SFM")).size(), 2307264u);
}

TEST_F(ExtractingTest, FailuresLeaveTheCreatedOutputBehind) {
    EXPECT_EQ(ConvertSfaToSfm(src.path(), "missing.SFA", dst.path(), set, ctx), "");
    EXPECT_TRUE(platform::ListDirectory(dst.path(), "SFM").empty());

    ASSERT_EQ(MakeSfa("MA.FMEM_001.SFM", kSignal1080i50), "MA.FMEM_001.SFA");
    platform::FixedFreeSpaceProbe little(64 + 5188800 - 1);
    ctx.freeSpace = &little;
    EXPECT_EQ(ConvertSfaToSfm(src.path(), "MA.FMEM_001.SFA", dst.path(), set, ctx),
              "HDD memory is not sufficient!");
    EXPECT_EQ(ReadBytes(dst.File("MA.FMEM_001.SFM")).size(), 0u);

    // A file far too short for its format reads as zeros beyond its end.
    ctx.freeSpace = &plenty;
    std::vector<uint8_t> stub(100, 0);
    stub[48] = 0x81;
    stub[49] = kSignal576i50;
    testing::WriteBytes(src.File("MS.FMEM_003.SFA"), stub);
    EXPECT_EQ(ConvertSfaToSfm(src.path(), "MS.FMEM_003.SFA", dst.path(), set, ctx),
              "MS.FMEM_003.SFM");
    EXPECT_EQ(ReadBytes(dst.File("MS.FMEM_003.SFM")).size(), 1111744u);
}

}  // namespace
}  // namespace fmconv
