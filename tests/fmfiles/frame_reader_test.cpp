// The frame reader on frames of every format made by the writers, then
// damaged one way at a time; the audio census of SFA frames.
#include "fmfiles/frame_reader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <numeric>

#include "audio/audio_test_files.h"
#include "audio/frame_contents.h"
#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "audio/wav.h"
#include "audio/signal_format.h"
#include "base/bytes.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

// A frame no picture covers, register 7 (its word-XOR checksum 0x01000017
// outside the 480i layout).
std::vector<uint8_t> UncoveredSfm(int format) {
    const FrameLayout& layout = *GetFrameLayout(format);
    SfmHeader header;
    BuildSfmHeader("MX.FMEM_007.SFM", header, layout.lengthFrom48(), layout.planeBytes);
    return BuildSfmFile(header, layout, MakeUncoveredFrame(layout));
}

// The SFA frame of an uncovered picture (picture = false), or the SFM frame
// that taking the audio back out of it gives (picture = true); silent unless
// audio is given.
std::vector<uint8_t> FromSfa(uint32_t code, bool picture, AudioChannelSet* audio = nullptr) {
    std::vector<uint8_t> sfm = UncoveredSfm(testing::FrameFormatOf(code));
    sfm[48] = 0x81;
    sfm[49] = static_cast<uint8_t>(code);
    std::vector<uint8_t> sfa(64 + GetFrameByteSize(code, kFrameKindSfa));
    AudioChannelSet silent;
    ResetAudioChannelSet(silent);
    silent.frameCount = 1;
    AudioChannelSet& set = audio ? *audio : silent;
    ConversionContext ctx;
    ctx.signalFormat = code;
    EXPECT_EQ(BuildSfaFrame(sfm, sfa, "MX.FMEM_007.SFA", set, ctx), 0);
    if (!picture) return sfa;
    EXPECT_EQ(BuildSfmFromSfa(sfa, sfm, "MX.FMEM_007.SFM", set, ctx), 0);
    return sfm;
}

std::vector<uint8_t> WithTrailer(std::vector<uint8_t> frame) {
    const RegisterTrailer trailer = BuildRegisterTrailer("MX.FMEM_007.SFM");
    frame.insert(frame.end(), trailer.begin(), trailer.end());
    return frame;
}

void ExpectWhole(const std::vector<uint8_t>& bytes, const char* kind, const std::string& format,
                 ChecksumRule rule) {
    SCOPED_TRACE(std::string(kind) + " " + format);
    const FrameFile f = ReadFrame(bytes);
    EXPECT_EQ(FrameFileKindName(f.kind), std::string(kind));
    EXPECT_TRUE(f.ok() && f.complete) << (f.problems.empty() ? "" : f.problems[0]);
    EXPECT_EQ(f.format, format);
    ASSERT_TRUE(f.checksum);
    EXPECT_EQ(f.checksum->rule, rule);
    EXPECT_EQ(f.checksum->computed, ReadBe32(&bytes[36]));
    EXPECT_EQ(f.innerName.has_value(), kind[2] == '1' || kind[2] == '3');
}

TEST(FrameReader, EveryFormatAndContainer) {
    for (int format = kFrameFormat480i; format <= kFrameFormat720p; ++format) {
        const std::vector<uint8_t> sfm = UncoveredSfm(format);
        ExpectWhole(sfm, "SFM", GetFrameLayout(format)->selection, ChecksumRule::kWordXor);
        ExpectWhole(WithTrailer(sfm), "SF1", GetFrameLayout(format)->selection,
                    ChecksumRule::kWordXor);
    }
    const std::pair<uint32_t, const char*> signals[] = {
        {0, "480i/59.94"},  {1, "576i/50"},    {2, "720P/59.94"}, {3, "1080i/50"},
        {4, "1080i/59.94"}, {7, "1080PsF/24"}, {11, "720P/50"}};
    for (const auto& [code, format] : signals) {
        const std::vector<uint8_t> sfa = FromSfa(code, false);
        ExpectWhole(sfa, "SFA", format, ChecksumRule::kByteLaneSum);
        ExpectWhole(WithTrailer(sfa), "SF3", format, ChecksumRule::kByteLaneSum);
        ExpectWhole(FromSfa(code, true), "SFM",
                    GetFrameLayout(testing::FrameFormatOf(code))->selection,
                    ChecksumRule::kByteLaneSum);
    }
}

TEST(FrameReader, DamageIsReportedInOneLine) {
    using Bytes = std::vector<uint8_t>;
    const Bytes sfm = UncoveredSfm(kFrameFormat720p);  // 2 307 264 bytes
    const Bytes sfa = FromSfa(kSignal1080i50, false);
    const struct {
        Bytes bytes;
        std::function<void(Bytes&)> damage;
        const char* kind;
        const char* problem;  // the start of the first problem
    } cases[] = {
        {WithTrailer(sfm), [](Bytes& b) { b[5000] ^= 0x10; }, "SF1",
         "checksum: bytes 36-39 hold 01000017, the frame gives"},
        {sfm, [](Bytes& b) { b.resize(b.size() - 1000); }, "SFM",
         "size: the frame has 2307264 bytes, the file holds 2306264"},
        {WithTrailer(sfm), [](Bytes& b) { b.back() = 0; }, "SF1",
         "register trailer: \"VVVV\" missing at trailer offset 300 (found \"VVV\\x00\")"},
        {sfm, [](Bytes& b) { WriteBe32(&b[40], 0xFFFFFFFF); }, "SFM",
         "bytes 40-43 give 4294967295 bytes from offset 48; the format's frame has 2307216"},
        {sfa, [](Bytes& b) { b[49] = 9; }, "SFA", "unknown signal format: code 9 at byte 49"},
        {sfm, [](Bytes& b) { b[48] = 0x42; }, "",
         "not a frame file: byte 48 holds 0x42, neither a picture frame (0x00) nor"},
        {sfm, [](Bytes& b) { b[7] = '2'; }, "",
         "not a frame file: it does not begin with \"QVX 0001\""},
        {sfm, [](Bytes& b) { b.resize(63); }, "",
         "not a frame file: 63 bytes, shorter than a 64-byte header"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.problem);
        Bytes bytes = c.bytes;
        c.damage(bytes);
        const FrameFile f = ReadFrame(bytes);
        EXPECT_FALSE(f.ok());
        EXPECT_EQ(FrameFileKindName(f.kind), std::string(c.kind));
        ASSERT_FALSE(f.problems.empty());
        EXPECT_EQ(f.problems[0].rfind(c.problem, 0), 0u) << f.problems[0];
    }
}

TEST(FrameReader, FilesOnDiskAreReadNoFurtherThanTheFrame) {
    testing::TempDir dir;
    EXPECT_EQ(ReadFrame(dir.File("missing")).problems,
              std::vector<std::string>{"cannot open the file"});
    // A 720P frame at the start of a 3 GiB file (sparse: it takes no disk).
    const std::string huge = dir.File("huge");
    testing::WriteBytes(huge, UncoveredSfm(kFrameFormat720p));
    std::filesystem::resize_file(huge, uint64_t{3} << 30);
    const FrameFile f = ReadFrame(huge);
    EXPECT_EQ(f.kind, FrameFileKind::kSfm);
    EXPECT_EQ(f.frame.size(), 2307264u);
    EXPECT_TRUE(f.checksum->ok);
    EXPECT_EQ(f.problems, std::vector<std::string>{
                              "size: the frame has 2307264 bytes, the file holds 3221225472"});
}

// The census of the first SFA frame made from WAV files on known channels.
TEST(FrameContents, AudioCensusOfTheFirstFrame) {
    const struct {
        uint32_t code;
        std::vector<uint16_t> wavChannels;  // one WAV file each, channels taken in turn
        std::vector<int> groups;
        int lastChannel;   // channels 1 to this one
        uint32_t samples;  // 48 000 divided by the frame rate
    } cases[] = {
        {kSignal1080i50, {2}, {1}, 4, 1920},
        {kSignal1080PsF24, {1}, {1}, 4, 2000},
        {kSignal720p50, {8, 8}, {1, 2, 3, 4}, 16, 960},
        {kSignal576i50, {8, 2}, {1, 2, 3}, 12, 1920},
        {kSignal576i50, {}, {}, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        testing::TempDir dir;
        AudioChannelSet set;
        ResetAudioChannelSet(set);
        for (std::size_t i = 0; i < c.wavChannels.size(); ++i) {
            set.wavPath[i] = dir.File(Format("in%zu.wav", i));
            const std::vector<uint32_t> samples(2500u * c.wavChannels[i], 0x1234);
            testing::WriteBytes(set.wavPath[i],
                                testing::MakeWav(c.wavChannels[i], 16, 48000, samples));
        }
        ASSERT_EQ(c.wavChannels.empty() ? kWavOk : ReadWavFiles(set), kWavOk);
        const auto census = TakeAudioCensus(ReadFrame(FromSfa(c.code, false, &set)));
        ASSERT_TRUE(census);
        EXPECT_EQ(census->groups, c.groups);
        std::vector<int> channels(static_cast<std::size_t>(c.lastChannel));
        std::iota(channels.begin(), channels.end(), 1);
        EXPECT_EQ(census->channels, channels);
        EXPECT_EQ(census->samples, c.samples);
    }
}

}  // namespace
}  // namespace fmconv
