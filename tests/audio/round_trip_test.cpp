// WAV files into three SFA frames in a row and back into SFM frames and WAV
// files, for every offered signal format; then the embedded packets where the
// round trip cannot see them: their places and words in a stored frame, and
// how the extractor counts them.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "audio/anc_packets.h"
#include "audio/packed_words.h"
#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "audio/stored_raster.h"
#include "audio/wav.h"
#include "audio_test_files.h"
#include "base/text.h"
#include "platform/free_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::ReadBytes;

void ExpectSameBytes(const std::vector<uint8_t>& got, const std::vector<uint8_t>& want) {
    ASSERT_EQ(got.size(), want.size());
    const auto at = std::mismatch(got.begin(), got.end(), want.begin()).first - got.begin();
    EXPECT_EQ(at, static_cast<std::ptrdiff_t>(got.size())) << "first difference at byte " << at;
}

class RoundTrip : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RoundTrip, SamplesAndPictureComeBack) {
    const uint32_t code = GetParam();
    testing::TempDir dir;
    SignalTiming timing;
    ASSERT_EQ(GetSignalTiming(code, timing, nullptr), 0);
    // 2.5 frames of audio, ending inside the third. 16 channels (12 in 480i, where
    // 16 would run into the picture): {channels, bits, frames short of the longest}.
    const uint32_t longest = static_cast<uint32_t>(timing.audioSamplesPerFrame * 2.5);
    const uint16_t lastChannels = code == kSignal480i5994 ? 6 : 10;
    const uint16_t inputs[4][3] = {{2, 24, 0}, {1, 16, 100}, {3, 8, 333}, {lastChannels, 24, 0}};
    const bool sd = IsStandardDefinition(code);
    std::mt19937 random(code + 1);
    std::vector<std::vector<uint32_t>> expected;  // per channel, 24-bit
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    for (int i = 0; i < 4; ++i) {
        const auto [channels, bits, shorter] = inputs[i];
        const std::size_t first = expected.size();
        expected.resize(first + channels, std::vector<uint32_t>(longest, 0));
        std::vector<uint32_t> interleaved;
        for (uint32_t f = 0; f < longest - shorter; ++f) {
            for (uint32_t c = 0; c < channels; ++c) {
                const uint32_t v = random() & ((1u << bits) - 1);
                interleaved.push_back(v);
                // 8-bit samples are unsigned, 16-bit ones gain a zero low byte. Standard
                // definition loses bit 19 of the 24, which comes back as bit 10.
                uint32_t s = bits == 24 ? v : bits == 16 ? v << 8 : (v ^ 0x80) << 16;
                expected[first + c][f] = sd ? (s & ~(1u << 19)) | (s >> 10 & 1) << 19 : s;
            }
        }
        set.wavPath[i] = dir.File(Format("in%d.wav", i));
        testing::WriteBytes(set.wavPath[i], testing::MakeWav(channels, bits, 48000, interleaved));
    }
    ASSERT_EQ(ReadWavFiles(set), kWavOk);

    const FrameLayout& layout = *GetFrameLayout(testing::FrameFormatOf(code));
    platform::FixedFreeSpaceProbe plenty(int64_t{1} << 40);
    ConversionContext ctx;
    ctx.freeSpace = &plenty;
    std::vector<std::vector<uint8_t>> sfms;
    for (int n = 1; n <= 3; ++n) {
        const std::string name = Format("MPIC.FMEM_%03d", n);
        sfms.push_back(testing::MakeVariedSfm(layout, name + ".SFM", code + n));
        testing::WriteBytes(dir.File(name + ".SFM"), sfms.back());
        ASSERT_EQ(WriteSfaFromSfm(dir.path(), name + ".SFM", dir.path(), set, code, ctx),
                  name + ".SFA");
    }

    // Back: each SFM frame is its source but for the name field (from the 11th
    // character), the byte-lane checksum and the closing line slot, which holds
    // blanking words, 0x040 in luma and 0x200 in chroma, four in five bytes.
    const uint8_t blank[2][5] = {{0x10, 0x04, 0x01, 0x00, 0x40}, {0x80, 0x20, 0x08, 0x02, 0x00}};
    AudioChannelSet out;
    ResetAudioChannelSet(out);
    out.frameCount = 3;
    for (int n = 1; n <= 3; ++n) {
        SCOPED_TRACE("frame " + std::to_string(n));
        std::vector<uint8_t> sfa = ReadBytes(dir.File(Format("MPIC.FMEM_%03d.SFA", n)));
        ctx.signalFormat = sfa[49];  // as the container takes it
        std::vector<uint8_t> sfm(layout.fileSize(), 0xEE), want = sfms[n - 1];
        ASSERT_EQ(BuildSfmFromSfa(sfa, sfm, Format("MPIC.FMEM_%03d.SFM", n), out, ctx), 0);
        const std::string field = Format("%03d.SFM", n) + std::string(5, '\0');
        std::copy(field.begin(), field.end(), want.begin() + 8);
        for (std::size_t p = 0; p < 2; ++p) {
            const std::size_t gap = 64 + (p + 1) * layout.planeBytes - layout.gap2Bytes;
            for (std::size_t i = 0; i < layout.gap2Bytes; ++i) want[gap + i] = blank[p][i % 5];
        }
        std::fill_n(want.begin() + 36, 4, 0);
        for (std::size_t i = 48; i < want.size(); ++i) want[36 + (i - 48) % 4] += want[i];
        ExpectSameBytes(sfm, want);
    }
    EXPECT_EQ(out.groupPresent, set.groupPresent);

    EXPECT_EQ(WriteChannelWavFiles(dir.path(), out, platform::SystemOutputFiles()), "");
    for (std::size_t k = 0; k < expected.size(); ++k) {
        SCOPED_TRACE("channel " + std::to_string(k + 1));
        ExpectSameBytes(ReadBytes(dir.File(Format("Channel_%02zu.wav", k + 1))),
                        testing::MakeWav(1, 24, 48000, expected[k]));
    }
}

INSTANTIATE_TEST_SUITE_P(OfferedFormats, RoundTrip, ::testing::Values(4u, 3u, 7u, 2u, 11u, 1u, 0u),
                         [](const ::testing::TestParamInfo<uint32_t>& param) {
                             return "Code" + std::to_string(param.param);
                         });

// A zero-filled stored frame of a code, read back with the plain reader.
struct Frame {
    explicit Frame(uint32_t code) {
        GetSignalTiming(code, timing, nullptr);
        raster = MakeStoredRaster(timing);
        bytes.assign(2 * std::size_t{raster.planeBytes}, 0);
    }
    // Word i of a line in plane 0 (luma) or 1 (chroma); plane -1 reads the
    // multiplexed standard-definition stream, chroma first.
    uint64_t Bit(int plane, int region, uint32_t line, uint32_t word) const {
        return uint64_t{raster.planeBytes} * 8 * plane + raster.LineBit(region, line) + 10 * word;
    }
    uint16_t Word(int plane, int region, uint32_t line, uint32_t i) const {
        if (plane < 0) return Word(i % 2 == 0 ? 1 : 0, region, line, i / 2);
        return testing::PlainWordAt(bytes, Bit(plane, region, line, i));
    }
    SignalTiming timing;
    StoredRaster raster;
    std::vector<uint8_t> bytes;
};

AudioChannelSet SetWithAudio(std::array<uint8_t, 4> groups, uint32_t count) {  // silence
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.groupPresent = groups;
    set.sampleCount = count;
    return set;
}

TEST(AncPackets, HighDefinitionWordsFrameNumbersAndGroups) {
    // Groups 1 and 3; the audio ends in field 1 of the seventh frame, not the control packets.
    AudioChannelSet set = SetWithAudio({1, 0, 1, 0}, 6 * 1602 + 700);
    set.channelSamples[0] = {0x12, 0x34, 0x00};  // a 16-bit input sample 0x1234
    // Control checksum: 0x1E3 + frame number + 282 in 9 bits, bit 9 = not bit 8.
    const uint16_t checksums[7] = {0x2FE, 0x2FF, 0x100, 0x101, 0x102, 0x2FE, 0x2FF};
    for (int n = 0; n < 7; ++n) {
        Frame frame(kSignal1080i5994);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        for (int region = 0; region < 2; ++region) {
            EXPECT_EQ(frame.Word(0, region, 1, 8 + 6), 0x200 | (n % 5 + 1)) << n;
            EXPECT_EQ(frame.Word(0, region, 1, 8 + 17), checksums[n]) << n;
            EXPECT_EQ(frame.Word(0, region, 1, 8 + 18 + 3), 0x2E1);  // group 3's
        }
        if (n > 0) continue;
        // Flag, identifier, block 0, count 24, two clock words, W1-W4; then group 3.
        const uint16_t packet[] = {0x000, 0x3FF, 0x3FF, 0x2E7, 0x000, 0x218,
                                   0,     0,     0x000, 0x040, 0x023, 0x001};
        for (uint32_t i = 0; i < 12; ++i) EXPECT_EQ(frame.Word(1, 0, 1, 8 + i), packet[i]) << i;
        EXPECT_EQ(frame.Word(1, 0, 1, 8 + 31 + 3), 0x1E5);
    }
}

TEST(AncPackets, A525LineFrameCarries1601Or1602SamplesInLinesOf3Or4) {
    AudioChannelSet set = SetWithAudio({1, 0, 1, 0}, 20000);
    for (int n = 0; n < 5; ++n) {
        Frame frame(kSignal480i5994);
        const uint32_t before = set.sampleCursor;
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_TRUE(set.sampleCursor - before == 1601 || set.sampleCursor - before == 1602);
        for (int region = 0; region < 2; ++region) {
            // The control checksum: 0x1EF + 0x212 + 2 x 0x205 + 0x20F + 16 x 0x200 & 0x2FF.
            EXPECT_EQ(frame.Word(-1, region, 1, 4 + 24), 0x21A);
            EXPECT_EQ(frame.Word(-1, region, 1, 4 + 25 + 3), 0x2ED);  // group 3's
            for (uint32_t line = 2; line < frame.raster.AudioLines(region); ++line) {
                const uint16_t count = frame.Word(-1, region, line, 4 + 5);  // 3 or 4 samples
                ASSERT_TRUE(count == 0x224 || count == 0x230) << line << " " << count;
            }
        }
    }
    EXPECT_EQ(set.sampleCursor, 8008u);  // 5 x 1601.6
}

TEST(AncPackets, NoPacketIsWrittenOutsideTheFrame) {
    // A far too slow sample clock: about 120 samples a line, packets past the end.
    for (uint32_t code : {0u, 1u, 4u, 7u, 11u}) {
        SCOPED_TRACE(code);
        AudioChannelSet set = SetWithAudio({1, 1, 1, 1}, 4000000);
        Frame frame(code);
        frame.timing.sampleClockMHz = frame.timing.totalSamplesPerLine * 0.048 / 120;
        std::vector<uint8_t> guarded(frame.bytes.size() + 4096, 0xA5);
        EmbedAudioInFrame(set, frame.timing, std::span<uint8_t>(guarded).first(frame.bytes.size()));
        EXPECT_NE(guarded[frame.bytes.size() - 1], 0xA5);  // packets reached the end
        EXPECT_EQ(std::count(guarded.begin() + frame.bytes.size(), guarded.end(), 0xA5), 4096);
    }
}

TEST(AncPackets, ExtractionSharesALinesPacketsAmongThePresentGroupsWithinTheBuffers) {
    // Groups 1 to 3 in turn: 6 packets on line 3 add 2 samples, 7 on line 4 also 2 (the
    // seventh's unknown identifier counts to group 3). Then 400 lines of 60 packets of
    // group 1, more than its buffer (1126 lines of 4 samples a frame) holds.
    Frame frame(kSignal1080i5994);
    for (uint32_t line = 3; line < 405; ++line) {
        for (int i = 0; i < (line == 3 ? 6 : line == 4 ? 7 : 60); ++i) {
            const uint16_t did = line > 4 ? 0x2E7 : i < 6 ? kHdDataDid[i % 3] : 0x123;
            const uint16_t head[] = {0x000, 0x3FF, 0x3FF, did, 0x000, 0x218};
            PackWords(frame.bytes, frame.Bit(1, 0, line, 8 + 31 * i), head);
        }
    }
    for (uint16_t frames : {uint16_t{1}, uint16_t{0}}) {  // a run of no frames keeps nothing
        AudioChannelSet set = SetWithAudio({0, 0, 0, 0}, 0);
        set.frameCount = frames;
        ExtractHdAudio(set, frame.timing, frame.bytes);
        EXPECT_EQ(set.sampleCount, 2 + 2 + 400 * 60 / 3u);
        EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{1, 1, 1, 0}));
        EXPECT_EQ(set.channelWriteCursor[8], frames * 5u * 3);
        EXPECT_EQ(set.channelWriteCursor[0], frames * 1126u * 12);  // full, and no further
        EXPECT_EQ(set.channelSamples[0].size(), frames * 1126u * 12);
    }
}

}  // namespace
}  // namespace fmconv
