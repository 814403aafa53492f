// Embedded audio packets where the round trip cannot see them: their places
// and words in a stored frame, and how the extractor counts them.
#include "audio/anc_packets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "audio/packed_words.h"
#include "audio/sfa_to_sfm.h"
#include "audio/stored_raster.h"
#include "audio_test_files.h"

namespace fmconv {
namespace {

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
