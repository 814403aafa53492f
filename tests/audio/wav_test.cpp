#include "audio/wav.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "audio_test_files.h"
#include "base/bytes.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::MakeWav;
using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

// A 24-bit sample of channel c at frame f that tells both apart.
uint32_t Tagged(int c, uint32_t f) {
    return static_cast<uint32_t>(c) << 20 | (f & 0xFFFF);
}

std::vector<uint32_t> TaggedFrames(int channels, uint32_t frames) {
    std::vector<uint32_t> out;
    for (uint32_t f = 0; f < frames; ++f) {
        for (int c = 0; c < channels; ++c) out.push_back(Tagged(c, f));
    }
    return out;
}

// Sample f of an embedded channel as read (most significant byte first).
uint32_t Stored(const AudioChannelSet& set, int k, uint32_t f) {
    const std::vector<uint8_t>& b = set.channelSamples[k];
    return static_cast<uint32_t>(b[3 * f]) << 16 | b[3 * f + 1] << 8 | b[3 * f + 2];
}

class WavTest : public ::testing::Test {
  protected:
    void SetUp() override { ResetAudioChannelSet(set); }
    void Add(const std::string& name, const std::vector<uint8_t>& bytes) {
        WriteBytes(dir.File(name), bytes);
        int slot = 0;
        while (!set.wavPath[slot].empty()) ++slot;
        set.wavPath[slot] = dir.File(name);
    }
    TempDir dir;
    AudioChannelSet set;
};

TEST_F(WavTest, EveryRefusalHasItsMessage) {
    auto wav = [](uint16_t channels, uint16_t bits, uint32_t rate) {
        return MakeWav(channels, bits, rate, std::vector<uint32_t>(channels * 4u, 0));
    };
    auto patched = [](std::vector<uint8_t> bytes, std::size_t at, const char* text) {
        std::memcpy(&bytes[at], text, 4);
        return bytes;
    };
    struct Case {
        const char* what;
        std::vector<std::vector<uint8_t>> files;  // empty bytes: a missing file
        const char* message;
    };
    const std::vector<Case> cases = {
        {"missing file", {{}}, kWavReadError},
        {"no RIFF", {patched(wav(1, 16, 48000), 0, "RIFX")}, kWavUnrecognized},
        {"no WAVE", {patched(wav(1, 16, 48000), 8, "AVI ")}, kWavUnrecognized},
        {"three bytes", {{'R', 'I', 'F'}}, kWavUnrecognized},
        {"17 channels in one file", {wav(17, 16, 48000)}, kWavTooManyChannels},
        {"the 17th over two files", {wav(8, 16, 48000), wav(9, 24, 48000)}, kWavTooManyChannels},
        {"44100 Hz", {wav(2, 16, 44100)}, kWavRateNotSupported},
        {"32-bit", {wav(1, 32, 48000)}, kWavDepthNotSupported},
        {"12-bit", {wav(1, 12, 48000)}, kWavDepthNotSupported},
        {"zero channels", {wav(0, 16, 48000)}, kWavUnrecognized},
        {"zero bits", {MakeWav(1, 0, 48000, {})}, kWavUnrecognized},
        // Checked in order: the rate before the depth.
        {"44100 Hz and 32-bit", {wav(1, 32, 44100)}, kWavRateNotSupported},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ResetAudioChannelSet(set);
        for (std::size_t i = 0; i < c.files.size(); ++i) {
            const std::string name = std::string("f") + std::to_string(i) + ".wav";
            if (c.files[i].empty()) {
                set.wavPath[i] = dir.File("missing.wav");
            } else {
                Add(name, c.files[i]);
            }
        }
        EXPECT_EQ(ReadWavFiles(set), c.message);
    }
}

TEST_F(WavTest, SamplesBecomeTwentyFourBitsMostSignificantByteFirst) {
    struct Case {
        uint16_t bits;
        uint32_t in;
        uint32_t stored;
    } cases[] = {
        {8, 0x80, 0x000000},      {8, 0x00, 0x800000},      {8, 0xFF, 0x7F0000},
        {8, 0x81, 0x010000},      {16, 0x1234, 0x123400},   {16, 0xFFFF, 0xFFFF00},
        {24, 0x123456, 0x123456}, {24, 0x800001, 0x800001},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bits);
        ResetAudioChannelSet(set);
        Add("s.wav", MakeWav(1, c.bits, 48000, {c.in}));
        ASSERT_EQ(ReadWavFiles(set), kWavOk);
        ASSERT_EQ(set.sampleCount, 1u);
        EXPECT_EQ(Stored(set, 0, 0), c.stored);
    }
}

TEST_F(WavTest, ChannelsFollowFileOrderAndShorterOnesEndInSilence) {
    // Stereo of 1000 frames, then 3 channels of 1500 frames: channels 1-2
    // and 3-5 whatever slots they came from; channels 6-8 of the second
    // group are unfilled.
    Add("a.wav", MakeWav(2, 24, 48000, std::vector<uint32_t>(2 * 1000, 0x111111)));
    Add("b.wav", MakeWav(3, 16, 48000, TaggedFrames(3, 1500)));
    ASSERT_EQ(ReadWavFiles(set), kWavOk);
    EXPECT_EQ(set.sampleCount, 1500u);
    EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{1, 1, 0, 0}));
    for (int k = 0; k < 8; ++k) ASSERT_EQ(set.channelSamples[k].size(), 1500u * 3) << k;
    EXPECT_EQ(Stored(set, 0, 999), 0x111111u);
    EXPECT_EQ(Stored(set, 0, 1000), 0u);
    EXPECT_EQ(Stored(set, 1, 1499), 0u);
    EXPECT_EQ(Stored(set, 2, 7), 0x000700u);  // 16-bit Tagged(0, 7)
    EXPECT_EQ(Stored(set, 4, 1499), (Tagged(2, 1499) & 0xFFFF) << 8);
    EXPECT_EQ(Stored(set, 5, 0), 0u);
    EXPECT_EQ(Stored(set, 7, 700), 0u);
}

TEST_F(WavTest, AnEmptySlotEndsTheList) {
    set.wavPath[1] = dir.File("never-read.wav");
    EXPECT_EQ(ReadWavFiles(set), kWavOk);
    EXPECT_EQ(set.sampleCount, 0u);
    EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{0, 0, 0, 0}));
}

TEST_F(WavTest, TheChunkWalkSkipsNoPadBytesAndReadsFieldsAtFixedOffsets) {
    // RIFF, WAVE, a "junk" chunk of 3 bytes directly followed (no pad byte)
    // by an 18-byte "fmt " of an unchecked format tag, then "data".
    std::vector<uint8_t> f = {'R', 'I', 'F',  'F',  0, 0, 0, 0, 'W',  'A',  'V',  'E',
                              'j', 'u', 'n',  'k',  3, 0, 0, 0, 9,    9,    9,    'f',
                              'm', 't', ' ',  18,   0, 0, 0, 3, 0,  // format tag: not checked
                              1,   0,   0x80, 0xBB, 0, 0,           // mono, 48000
                              0,   0,   0,    0,    0, 0,  // byte rate, alignment: not checked
                              16,  0,   0,    0,           // 16 bits, then 2 extra bytes
                              'd', 'a', 't',  'a',  4, 0, 0, 0, 0x34, 0x12, 0x78, 0x56};
    WriteLe32(&f[4], static_cast<uint32_t>(f.size() - 8));
    Add("odd.wav", f);
    ASSERT_EQ(ReadWavFiles(set), kWavOk);
    ASSERT_EQ(set.sampleCount, 2u);
    EXPECT_EQ(Stored(set, 0, 0), 0x123400u);
    EXPECT_EQ(Stored(set, 0, 1), 0x567800u);
}

TEST_F(WavTest, WithoutADataChunkTheFileStartIsTakenForIt) {
    // No "data" chunk: its position stays 0, the size is read at offset 12
    // (the "fmt " identifier) and samples from offset 16 on: the bytes that
    // the file holds from there, 8-bit mono here.
    std::vector<uint8_t> f = MakeWav(1, 8, 48000, {});
    f.resize(36);  // drop the "data" chunk header
    WriteLe32(&f[4], 28);
    Add("nodata.wav", f);
    ASSERT_EQ(ReadWavFiles(set), kWavOk);
    ASSERT_EQ(set.sampleCount, 20u);                     // bytes 16..35
    EXPECT_EQ(Stored(set, 0, 0), (0x10u ^ 0x80) << 16);  // byte 16: the fmt size 16
}

TEST_F(WavTest, AFileHoldingLessThanItsDataSizeGivesTheFramesItHolds) {
    std::vector<uint8_t> f = MakeWav(2, 16, 48000, TaggedFrames(2, 10));
    f.resize(f.size() - 5);  // 8 whole frames and a part
    Add("cut.wav", f);
    ASSERT_EQ(ReadWavFiles(set), kWavOk);
    EXPECT_EQ(set.sampleCount, 8u);
    EXPECT_EQ(set.channelSamples[0].size(), 8u * 3);
}

class WavWriteTest : public WavTest {
  protected:
    std::vector<std::string> Written() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(out)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string out = dir.MakeDir("out");
};

TEST_F(WavWriteTest, EachChannelBecomesAMono24BitFile) {
    set.groupPresent[0] = 1;
    set.sampleCount = 2;
    for (int k = 0; k < 4; ++k) set.channelSamples[k] = {1, 2, 3, 4, 5, static_cast<uint8_t>(k)};
    WriteChannelWavFiles(out, set);
    const std::vector<uint8_t> f = ReadBytes(out + "/Channel_03.wav");
    ASSERT_EQ(f.size(), 50u);
    EXPECT_EQ(std::string(f.begin(), f.begin() + 4), "RIFF");
    EXPECT_EQ(ReadLe32(&f[4]), 42u);  // 2 x 3 + 36
    EXPECT_EQ(std::string(f.begin() + 8, f.begin() + 16), "WAVEfmt ");
    EXPECT_EQ(ReadLe32(&f[16]), 16u);
    EXPECT_EQ(ReadLe16(&f[20]), 1);
    EXPECT_EQ(ReadLe16(&f[22]), 1);
    EXPECT_EQ(ReadLe32(&f[24]), 48000u);
    EXPECT_EQ(ReadLe32(&f[28]), 144000u);
    EXPECT_EQ(ReadLe16(&f[32]), 3);
    EXPECT_EQ(ReadLe16(&f[34]), 24);
    EXPECT_EQ(std::string(f.begin() + 36, f.begin() + 40), "data");
    EXPECT_EQ(ReadLe32(&f[40]), 6u);
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 44, f.end()),
              (std::vector<uint8_t>{1, 2, 3, 4, 5, 2}));
}

TEST_F(WavWriteTest, NamesCountOnByPositionAndLeaveDecimalOrderAfterChannel9) {
    struct Case {
        std::array<uint8_t, 4> groups;
        std::vector<std::string> names;
    };
    const std::vector<Case> cases = {
        {{1, 1, 1, 1},
         {"Channel_01.wav", "Channel_02.wav", "Channel_03.wav", "Channel_04.wav", "Channel_05.wav",
          "Channel_06.wav", "Channel_07.wav", "Channel_08.wav", "Channel_09.wav", "Channel_10.wav",
          "Channel_11.wav", "Channel_12.wav", "Channel_13.wav", "Channel_14.wav", "Channel_15.wav",
          "Channel_16.wav"}},
        // Groups 1 and 3: channel 9 is written as Channel_05, then the units
        // digit drops by nine ('5' - 9 = ',') and the tens digit rises.
        {{1, 0, 1, 0},
         {"Channel_01.wav", "Channel_02.wav", "Channel_03.wav", "Channel_04.wav", "Channel_05.wav",
          "Channel_1,.wav", "Channel_1-.wav", "Channel_1..wav"}},
        {{0, 0, 1, 0}, {"Channel_01.wav", "Channel_1(.wav", "Channel_1).wav", "Channel_1*.wav"}},
        {{0, 0, 0, 1}, {"Channel_01.wav", "Channel_02.wav", "Channel_03.wav", "Channel_04.wav"}},
        {{0, 0, 0, 0}, {}},
    };
    for (const Case& c : cases) {
        std::filesystem::remove_all(out);
        std::filesystem::create_directories(out);
        set.groupPresent = c.groups;
        set.sampleCount = 0;
        WriteChannelWavFiles(out, set);
        std::vector<std::string> expected = c.names;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(Written(), expected);
    }
}

TEST_F(WavWriteTest, ABufferShorterThanTheSampleCountIsCompletedWithSilence) {
    set.groupPresent[1] = 1;
    set.sampleCount = 4;
    set.channelSamples[4] = {0xAA, 0xBB, 0xCC, 0xDD};        // one sample and a part
    set.channelSamples[5] = std::vector<uint8_t>(30, 0x55);  // longer: only 12 bytes are written
    WriteChannelWavFiles(out, set);
    const std::vector<uint8_t> first = ReadBytes(out + "/Channel_01.wav");
    ASSERT_EQ(first.size(), 44u + 12);
    EXPECT_EQ(std::vector<uint8_t>(first.begin() + 44, first.end()),
              (std::vector<uint8_t>{0xAA, 0xBB, 0xCC, 0xDD, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(ReadBytes(out + "/Channel_02.wav").size(), 44u + 12);
    EXPECT_EQ(ReadBytes(out + "/Channel_04.wav").size(), 44u + 12);  // no buffer at all
}

}  // namespace
}  // namespace fmconv
