#include "audio/anc_packets.h"

#include <gtest/gtest.h>

#include <vector>

#include "audio/stored_raster.h"
#include "audio_test_files.h"

namespace fmconv {
namespace {

using testing::PlainWordAt;

// A stored frame of a code, zero-filled, read back with the plain reader.
struct Frame {
    explicit Frame(uint32_t code) {
        GetSignalTiming(code, timing, nullptr);
        raster = MakeStoredRaster(timing);
        bytes.assign(2 * std::size_t{raster.planeBytes}, 0);
    }
    uint16_t Luma(int region, uint32_t line, uint32_t word) const {
        return PlainWordAt(bytes, raster.LineBit(region, line) + 10 * word);
    }
    uint16_t Chroma(int region, uint32_t line, uint32_t word) const {
        return PlainWordAt(
            bytes, uint64_t{raster.planeBytes} * 8 + raster.LineBit(region, line) + 10 * word);
    }
    // Word i of the multiplexed standard-definition stream of a line.
    uint16_t Mux(int region, uint32_t line, uint32_t i) const {
        return i % 2 == 0 ? Chroma(region, line, i / 2) : Luma(region, line, i / 2);
    }
    SignalTiming timing;
    StoredRaster raster;
    std::vector<uint8_t> bytes;
};

// A set whose present groups carry `count` samples; sample f of channel k is
// (k << 16 | f) & 0xFFFFFF.
AudioChannelSet SetWithAudio(std::array<uint8_t, 4> groups, uint32_t count) {
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.groupPresent = groups;
    set.sampleCount = count;
    for (int k = 0; k < kAudioChannels; ++k) {
        if (!groups[k / 4]) continue;
        for (uint32_t f = 0; f < count; ++f) {
            const uint32_t s = (static_cast<uint32_t>(k) << 16 | f) & 0xFFFFFF;
            set.channelSamples[k].insert(set.channelSamples[k].end(),
                                         {static_cast<uint8_t>(s >> 16),
                                          static_cast<uint8_t>(s >> 8), static_cast<uint8_t>(s)});
        }
    }
    return set;
}

TEST(AncPackets, TheResetPreparesTheHighDefinitionTemplates) {
    AudioChannelSet set;
    set.wavPath[3] = "x.wav";
    set.sampleCursor = 9;
    set.audioFrameNumber = 4;
    set.lineClock = 2.0;
    set.frameCount = 12;
    set.channelWriteCursor[2] = 33;
    ResetAudioChannelSet(set);
    const std::array<uint8_t, 23> control = {0x00, 0x3F, 0xFF, 0xFC, 0xE0, 0x80, 0x10, 0xB8,
                                             0x02, 0x00, 0x83, 0xE0, 0x08, 0x02, 0x00, 0x80,
                                             0x20, 0x08, 0x02, 0x00, 0x80, 0x00, 0x00};
    std::array<uint8_t, 39> data{};
    const uint8_t head[] = {0x00, 0x3F, 0xFF, 0xFC, 0xE0, 0x00, 0x21, 0x80};
    std::copy(std::begin(head), std::end(head), data.begin());
    EXPECT_EQ(set.hdControlPacket, control);
    EXPECT_EQ(set.hdDataPacket, data);
    EXPECT_TRUE(set.wavPath[3].empty());
    EXPECT_EQ(set.sampleCursor, 0u);
    EXPECT_EQ(set.audioFrameNumber, 1);
    EXPECT_EQ(set.lineClock, 0.0);
    EXPECT_EQ(set.frameCount, 12);  // the run's, not the reset's
    EXPECT_EQ(set.channelWriteCursor[2], 33u);
}

TEST(AncPackets, SampleWordsAndChecksums) {
    // A 16-bit input of 0x1234 is the 24-bit sample 0x123400.
    EXPECT_EQ(HdSampleWords(0x123400), (std::array<uint16_t, 4>{0x000, 0x040, 0x023, 0x001}));
    EXPECT_EQ(HdSampleWords(0xABCDEF), (std::array<uint16_t, 4>{0x0F0, 0x0DE, 0x0BC, 0x00A}));
    // Audio word 0x12345 on channel 2: X = c << 1 | a[0..5] << 3 = 0x02C, Y =
    // a[6..14] = 0x08D, Z = a[15..19] = 0x002; bit 9 the inverse of bit 8.
    EXPECT_EQ(SdSampleWords(0x123456, 2), (std::array<uint16_t, 3>{0x22C, 0x28D, 0x202}));
    EXPECT_EQ(SdSampleWords(0xFFFFF0, 0), (std::array<uint16_t, 3>{0x1F8, 0x1FF, 0x21F}));
    EXPECT_EQ(SdExtendedWord(0x00000A, 0xFFFFF5, 0), 0x25A);
    EXPECT_EQ(SdExtendedWord(0x00000A, 0xFFFFF5, 1), 0x15A);

    // High definition: (identifier & 0x1FF) + frame number + 282, 9 bits,
    // bit 9 the inverse of bit 8.
    struct Case {
        uint16_t did, frame, checksum;
    } cases[] = {{0x1E3, 1, 0x2FE}, {0x1E0, 1, 0x2FB}, {0x2E2, 5, 0x201}};
    for (const Case& c : cases) {
        std::array<uint16_t, 18> packet = {
            0x000, 0x3FF, 0x3FF, c.did, 0x200, 0x10B, static_cast<uint16_t>(0x200 | c.frame),
            0x200, 0x20F};
        for (int i = 9; i < 17; ++i) packet[i] = 0x200;
        EXPECT_EQ(HdControlChecksum(packet), c.checksum) << c.did;
    }
    // Standard definition: the plain sum from the identifier on, & 0x2FF.
    // Group 1's control packet: 0x1EF + 0x200 + 0x212 + 2 x 0x205 + 0x200 +
    // 0x20F + 14 x 0x200 = 0x2A1A.
    AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 0);
    std::vector<uint16_t> words;
    AppendSdControlPackets(set, words);
    ASSERT_EQ(words.size(), 25u);
    EXPECT_EQ(words[24], 0x21A);
}

TEST(AncPackets, A525LineFrameSchedules1601Or1602SamplesAndCarriesTheRest) {
    AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 20000);
    uint32_t total = 0;
    for (int f = 0; f < 5; ++f) {
        Frame frame(0);
        const uint32_t before = set.sampleCursor;
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        const uint32_t added = set.sampleCursor - before;
        EXPECT_TRUE(added == 1601 || added == 1602) << added;
        total += added;
        // Line 1 of each region carries nothing, line 2 the control packet,
        // every other line a data packet of 3 or 4 samples.
        uint32_t counted = 0;
        for (int region = 0; region < 2; ++region) {
            EXPECT_NE(frame.Mux(region, 0, 5), 0x3FF);
            EXPECT_EQ(frame.Mux(region, 1, 7), 0x1EF);
            for (uint32_t line = 2; line < frame.raster.regionLines[region]; ++line) {
                ASSERT_EQ(frame.Mux(region, line, 7), 0x2FF);
                const uint16_t count = frame.Mux(region, line, 9);
                ASSERT_TRUE(count == 0x224 || count == 0x230) << line << " " << count;
                counted += (count & 0xFF) / 12;
            }
        }
        EXPECT_EQ(counted, added);
    }
    EXPECT_EQ(total, 8008u);  // 5 x 1601.6
    EXPECT_NEAR(set.lineClock, (5 * 525 + 1) * 858 / 13.5, 1e-6);
}

TEST(AncPackets, HighDefinitionFramesNumberOneToFiveAndCarryAtMostTwoSamplesALine) {
    AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 20000);
    uint32_t total = 0;
    // Word 6 and the checksum, (0x1E3 & 0x1FF) + number + 282 in 9 bits
    // with bit 9 the inverse of bit 8, frame after frame.
    struct Expected {
        uint16_t number, checksum;
    } expected[] = {{1, 0x2FE}, {2, 0x2FF}, {3, 0x100}, {4, 0x101},
                    {5, 0x102}, {1, 0x2FE}, {2, 0x2FF}};
    for (const auto& [number, checksum] : expected) {
        Frame frame(4);
        const uint32_t before = set.sampleCursor;
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        total += set.sampleCursor - before;
        for (int region = 0; region < 2; ++region) {
            ASSERT_EQ(frame.Luma(region, 1, 11), 0x1E3);
            EXPECT_EQ(frame.Luma(region, 1, 14), 0x200 | number);
            EXPECT_EQ(frame.Luma(region, 1, 25), checksum);
            for (uint32_t line = 1; line < frame.raster.AudioLines(region); ++line) {
                ASSERT_EQ(frame.Chroma(region, line, 11), 0x2E7) << line;
                EXPECT_NE(frame.Chroma(region, line, 8 + 31 * 2 + 3), 0x2E7) << line;
            }
        }
    }
    EXPECT_EQ(total, 11211u);  // 7 x 1601.6, rounded
}

TEST(AncPackets, AGroupWhoseFlagIsClearGetsNoPackets) {
    {
        AudioChannelSet set = SetWithAudio({1, 0, 1, 0}, 5000);
        Frame frame(3);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_EQ(frame.Luma(0, 1, 8 + 3), 0x1E3);
        EXPECT_EQ(frame.Luma(0, 1, 8 + 18 + 3), 0x2E1);
        EXPECT_EQ(frame.Luma(0, 1, 8 + 36), 0);  // no third packet
        EXPECT_EQ(frame.Chroma(0, 3, 8 + 3), 0x2E7);
        EXPECT_EQ(frame.Chroma(0, 3, 8 + 31 + 3), 0x1E5);
        // The first sample of channels 9 and 10 (0x080000, 0x090000): W3
        // holds bits 12-19.
        EXPECT_EQ(frame.Chroma(0, 1, 8 + 31 + 8 + 2), 0x080);
        EXPECT_EQ(frame.Chroma(0, 1, 8 + 31 + 12 + 2), 0x090);
    }
    {
        AudioChannelSet set = SetWithAudio({0, 0, 1, 0}, 5000);
        Frame frame(1);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_EQ(frame.Mux(0, 1, 7), 0x2ED);   // control, group 3
        EXPECT_EQ(frame.Mux(0, 1, 4 + 25), 0);  // nothing after it
        EXPECT_EQ(frame.Mux(0, 2, 7), 0x1FB);
        const uint32_t dataWords = 7 + (frame.Mux(0, 2, 9) & 0xFF);
        EXPECT_EQ(frame.Mux(0, 2, 4 + dataWords + 3), 0x2FA);
    }
}

TEST(AncPackets, WhenTheAudioEndsMidFrame) {
    {
        // High definition: data stops, both sets of control packets stay.
        AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 700);
        Frame frame(4);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_EQ(set.sampleCursor, 700u);
        EXPECT_EQ(frame.Luma(1, 1, 11), 0x1E3);
        EXPECT_EQ(frame.Chroma(1, 100, 11), 0);
        EXPECT_NEAR(set.lineClock, 1126 * 2200 / (74.25 / 1.001), 1e-6);
    }
    {
        // Standard definition: the first line that would carry samples past
        // the end gets the rest, the next one ends the frame and the clock.
        AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 700);
        Frame frame(0);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_EQ(set.sampleCursor, 700u);
        EXPECT_LT(set.lineClock, 300 * 858 / 13.5);
        EXPECT_EQ(frame.Mux(1, 1, 7), 0);  // region 2's control line is never reached
    }
}

TEST(AncPackets, ProgressiveFormatsPutTheSecondControlSetOnChromaLine2) {
    for (uint32_t code : {2u, 11u}) {
        SCOPED_TRACE(code);
        AudioChannelSet set = SetWithAudio({1, 0, 0, 0}, 0);  // the audio has run out
        Frame frame(code);
        EmbedAudioInFrame(set, frame.timing, frame.bytes);
        EXPECT_EQ(frame.Luma(0, 1, 11), 0x1E3);
        EXPECT_EQ(frame.Chroma(0, 1, 11), 0x1E3);
        EXPECT_EQ(frame.Chroma(0, 0, 11), 0);
        // With audio, that line's data packets overwrite it.
        AudioChannelSet withAudio = SetWithAudio({1, 0, 0, 0}, 5000);
        Frame second(code);
        EmbedAudioInFrame(withAudio, second.timing, second.bytes);
        EXPECT_EQ(second.Chroma(0, 1, 11), 0x2E7);
    }
}

TEST(AncPackets, A480iLineOfFourSamplesInSixteenChannelsRunsFourWordsIntoThePicture) {
    AudioChannelSet set = SetWithAudio({1, 1, 1, 1}, 5000);
    Frame frame(0);
    EmbedAudioInFrame(set, frame.timing, frame.bytes);
    bool seen = false;
    for (uint32_t line = 2; line < 263 && !seen; ++line) {
        if (frame.Mux(0, line, 9) != 0x230) continue;  // four samples
        seen = true;
        // 4 x (14 + 14 x 4) = 280 words from multiplex word 4: the last
        // extended word (bit 8 set) is chroma word 141, past the 138
        // blanking words.
        EXPECT_EQ(frame.Chroma(0, line, 141) & 0x300, 0x100);
        EXPECT_EQ(frame.Mux(0, line, 4 + 280 - 15 + 3), 0x1F8);
    }
    EXPECT_TRUE(seen);
}

TEST(AncPackets, NoPacketIsWrittenOutsideTheFrame) {
    // A sample clock far too slow for the line length gives every line about
    // 120 samples, whose packets run over many lines and past the end of
    // the frame.
    for (uint32_t code : {0u, 1u, 4u, 7u, 11u}) {
        SCOPED_TRACE(code);
        AudioChannelSet set = SetWithAudio({1, 1, 1, 1}, 8);
        set.sampleCount = 4000000;
        Frame frame(code);
        frame.timing.sampleClockMHz = frame.timing.totalSamplesPerLine * 0.048 / 120;
        std::vector<uint8_t> guarded(frame.bytes.size() + 4096, 0xA5);
        EmbedAudioInFrame(set, frame.timing, std::span<uint8_t>(guarded).first(frame.bytes.size()));
        EXPECT_GT(set.sampleCursor, 60000u);
        EXPECT_NE(guarded[frame.bytes.size() - 1], 0xA5);  // packets reached the end
        for (std::size_t i = frame.bytes.size(); i < guarded.size(); ++i) {
            ASSERT_EQ(guarded[i], 0xA5) << i;
        }
    }
}

}  // namespace
}  // namespace fmconv
