// The frame reader on frames of every format made by the writers, then
// damaged one way at a time.
#include "fmfiles/frame_reader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "audio/audio_test_files.h"
#include "audio/frame_contents.h"
#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "audio/signal_format.h"
#include "base/bytes.h"
#include "fmfiles/register_file.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

// A frame no picture covers, register 7: its word-XOR checksum is 0x01000017
// (0xFEFFFFE8 in the 480i layout, whose lines start with 60 zero bytes).
std::vector<uint8_t> UncoveredSfm(int format) {
    const FrameLayout& layout = *GetFrameLayout(format);
    SfmHeader header;
    EXPECT_TRUE(
        BuildSfmHeader("MX.FMEM_007.SFM", header, layout.lengthFrom48(), layout.planeBytes));
    return BuildSfmFile(header, layout, MakeUncoveredFrame(layout));
}

std::vector<uint8_t> Sfa(uint32_t code) {
    std::vector<uint8_t> source = UncoveredSfm(testing::FrameFormatOf(code));
    source[48] = 0x81;
    source[49] = static_cast<uint8_t>(code);
    std::vector<uint8_t> sfa(64 + GetFrameByteSize(code, kFrameKindSfa));
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    ConversionContext ctx;
    ctx.signalFormat = code;
    EXPECT_EQ(BuildSfaFrame(source, sfa, "MX.FMEM_007.SFA", set, ctx), 0);
    return sfa;
}

// The SFM frame that taking the audio out of an SFA frame gives.
std::vector<uint8_t> CutSfm(std::vector<uint8_t> sfa, uint32_t code) {
    std::vector<uint8_t> sfm(64 + 2 * ExtractedSfmPlaneBytes(code));
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.frameCount = 1;
    ConversionContext ctx;
    ctx.signalFormat = code;
    EXPECT_EQ(BuildSfmFromSfa(sfa, sfm, "MX.FMEM_007.SFM", set, ctx), 0);
    return sfm;
}

std::vector<uint8_t> WithTrailer(std::vector<uint8_t> frame, const std::string& name) {
    const RegisterTrailer trailer = BuildRegisterTrailer(name);
    frame.insert(frame.end(), trailer.begin(), trailer.end());
    return frame;
}

void ExpectWhole(const std::vector<uint8_t>& bytes, const char* kind, const std::string& format,
                 ChecksumRule rule) {
    SCOPED_TRACE(std::string(kind) + " " + format);
    const FrameFile f = ReadFrame(bytes);
    EXPECT_EQ(FrameFileKindName(f.kind), std::string(kind));
    EXPECT_TRUE(f.ok()) << (f.problems.empty() ? "" : f.problems[0]);
    EXPECT_EQ(f.format, format);
    EXPECT_TRUE(f.complete);
    ASSERT_TRUE(f.checksum);
    EXPECT_EQ(f.checksum->rule, rule);
    EXPECT_EQ(f.checksum->computed, ReadBe32(&bytes[36]));
    EXPECT_EQ(*f.fileBytes, bytes.size());
}

TEST(FrameReader, EveryFormatAndContainer) {
    for (int format = kFrameFormat480i; format <= kFrameFormat720p; ++format) {
        const FrameLayout& layout = *GetFrameLayout(format);
        const std::vector<uint8_t> sfm = UncoveredSfm(format);
        EXPECT_EQ(ReadBe32(&sfm[36]), format == kFrameFormat480i ? 0xFEFFFFE8u : 0x01000017u);
        ExpectWhole(sfm, "SFM", layout.selection, ChecksumRule::kWordXor);
        const std::vector<uint8_t> sf1 = WithTrailer(sfm, "MX.FMEM_007.SFM");
        ExpectWhole(sf1, "SF1", layout.selection, ChecksumRule::kWordXor);
        EXPECT_EQ(ReadFrame(sf1).innerName, "MX.FMEM_007.SFM");
    }
    const struct {
        uint32_t code;
        const char* format;
        std::size_t size;  // 64 + the SFA payload
    } signals[] = {{0, "480i/59.94", 1132016},  {1, "576i/50", 1358704},
                   {2, "720P/59.94", 3100192},  {3, "1080i/50", 7431664},
                   {4, "1080i/59.94", 6197568}, {7, "1080PsF/24", 7746944},
                   {11, "720P/50", 3719016}};
    for (const auto& s : signals) {
        const std::vector<uint8_t> sfa = Sfa(s.code);
        EXPECT_EQ(sfa.size(), s.size);
        ExpectWhole(sfa, "SFA", s.format, ChecksumRule::kByteLaneSum);
        ExpectWhole(WithTrailer(sfa, "MX.FMEM_007.SFA"), "SF3", s.format,
                    ChecksumRule::kByteLaneSum);
        ExpectWhole(CutSfm(sfa, s.code), "SFM",
                    GetFrameLayout(testing::FrameFormatOf(s.code))->selection,
                    ChecksumRule::kByteLaneSum);
    }
}

TEST(FrameReader, DamageIsReportedInOneLine) {
    const std::vector<uint8_t> sfm = UncoveredSfm(kFrameFormat720p);  // 2 307 264 bytes
    const std::vector<uint8_t> sfa = Sfa(kSignal1080i50);
    struct Case {
        const char* what;
        std::vector<uint8_t> bytes;
        const char* kind;
        const char* problem;  // the start of the first problem
    };
    std::vector<Case> cases = {
        {"flipped payload byte", sfm, "SF1",
         "checksum: bytes 36-39 hold 01000017, the frame gives"},
        {"truncated", sfm, "SFM", "size: the frame has 2307264 bytes, the file holds 2306264"},
        {"broken trailer", WithTrailer(sfm, "MX.FMEM_007.SFM"), "SF1",
         "register trailer: \"VVVV\" missing at trailer offset 300 (found \"VVV\\x00\")"},
        {"junk after the frame", sfm, "SFM", "size: the frame has 2307264 bytes, the file holds"},
        {"lying length", sfm, "SFM", "bytes 40-43 give 4294967295 bytes from offset 48"},
        {"unknown plane", sfm, "SFM", "unknown picture format: a plane of 12345 bytes"},
        {"second plane", sfm, "SFM", "plane sizes differ: 1153600 at byte 52, 1153601 at byte 56"},
        {"unknown signal", sfa, "SFA", "unknown signal format: code 9 at byte 49"},
        {"wrong plane for the signal", sfa, "SFA",
         "plane size 1153600 at byte 52 is not the 3715800 bytes of 1080i/50"},
    };
    cases[0].bytes = WithTrailer(cases[0].bytes, "MX.FMEM_007.SFM");
    cases[0].bytes[5000] ^= 0x10;
    cases[1].bytes.resize(cases[1].bytes.size() - 1000);
    cases[2].bytes.back() = 0;
    cases[3].bytes.resize(cases[3].bytes.size() + 10);
    WriteBe32(&cases[4].bytes[40], 0xFFFFFFFF);
    WriteBe32(&cases[5].bytes[52], 12345);
    WriteBe32(&cases[6].bytes[56], 1153601);
    cases[7].bytes[49] = 9;
    WriteBe32(&cases[8].bytes[52], 1153600);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const FrameFile f = ReadFrame(c.bytes);
        EXPECT_FALSE(f.ok());
        EXPECT_EQ(FrameFileKindName(f.kind), std::string(c.kind));
        ASSERT_FALSE(f.problems.empty());
        EXPECT_EQ(f.problems[0].rfind(c.problem, 0), 0u) << f.problems[0];
    }
}

TEST(FrameReader, WhatIsNoFrame) {
    std::vector<uint8_t> mark = UncoveredSfm(kFrameFormat576i);
    mark[48] = 0x42;
    const std::pair<std::vector<uint8_t>, const char*> cases[] = {
        {{}, "not a frame file: 0 bytes, shorter than a 64-byte header"},
        {std::vector<uint8_t>(64, 'Q'), "not a frame file: it does not begin with \"QVX 0001\""},
        {mark, "not a frame file: byte 48 holds 0x42, neither a picture frame (0x00) nor"},
    };
    for (const auto& [bytes, problem] : cases) {
        const FrameFile f = ReadFrame(bytes);
        EXPECT_EQ(f.kind, FrameFileKind::kNone);
        ASSERT_EQ(f.problems.size(), 1u);
        EXPECT_EQ(f.problems[0].rfind(problem, 0), 0u) << f.problems[0];
    }
}

TEST(FrameReader, FilesOnDiskAreReadNoFurtherThanTheFrame) {
    testing::TempDir dir;
    EXPECT_EQ(ReadFrame(dir.File("missing.SFM")).problems,
              std::vector<std::string>{"cannot open the file"});
    // A 720P header at the start of a 3 GiB file (sparse: it takes no disk).
    const std::string huge = dir.File("huge.SFM");
    testing::WriteBytes(huge, UncoveredSfm(kFrameFormat720p));
    std::filesystem::resize_file(huge, uint64_t{3} << 30);
    const FrameFile f = ReadFrame(huge);
    EXPECT_EQ(f.kind, FrameFileKind::kSfm);
    EXPECT_EQ(f.frame.size(), 2307264u);
    EXPECT_TRUE(f.checksum->ok);
    EXPECT_EQ(f.problems, std::vector<std::string>{
                              "size: the frame has 2307264 bytes, the file holds 3221225472"});
}

}  // namespace
}  // namespace fmconv
