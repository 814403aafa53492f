#include "audio/wav.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "audio_test_files.h"
#include "base/bytes.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::MakeWav;
using testing::ReadBytes;

TEST(Wav, ReadingGivesEachRefusalItsMessage) {
    auto wav = [](uint16_t channels, uint16_t bits, uint32_t rate) {
        return MakeWav(channels, bits, rate, std::vector<uint32_t>(channels * 4u, 0));
    };
    std::vector<uint8_t> noRiff = wav(1, 16, 48000), odd = noRiff;
    noRiff[3] = 'X';
    // A chunk of 3 bytes before "fmt ", which follows at once: no pad byte.
    odd.insert(odd.begin() + 12, {'j', 'u', 'n', 'k', 3, 0, 0, 0, 9, 9, 9});
    WriteLe32(&odd[4], static_cast<uint32_t>(odd.size() - 8));
    const struct {
        std::vector<std::vector<uint8_t>> files;  // empty bytes: a missing file
        const char* message;
    } cases[] = {
        {{{}}, kWavReadError},
        {{noRiff}, kWavUnrecognized},
        {{wav(8, 16, 48000), wav(9, 24, 48000)}, kWavTooManyChannels},  // the 17th channel
        {{wav(2, 16, 44100)}, kWavRateNotSupported},
        {{wav(1, 32, 48000)}, kWavDepthNotSupported},
        {{wav(0, 16, 48000)}, kWavUnrecognized},
        {{odd}, kWavOk},
    };
    testing::TempDir dir;
    for (std::size_t k = 0; k < std::size(cases); ++k) {
        AudioChannelSet set;
        ResetAudioChannelSet(set);
        for (std::size_t i = 0; i < cases[k].files.size(); ++i) {
            set.wavPath[i] = dir.File(std::to_string(k) + "-" + std::to_string(i) + ".wav");
            if (!cases[k].files[i].empty()) testing::WriteBytes(set.wavPath[i], cases[k].files[i]);
        }
        EXPECT_EQ(ReadWavFiles(set), cases[k].message) << "case " << k;
    }
}

TEST(Wav, WritingNamesFilesByPositionAndCompletesShortBuffers) {
    testing::TempDir dir;
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.groupPresent = {1, 0, 1, 0};
    set.sampleCount = 4;
    set.channelSamples[0] = {0xAA, 0xBB, 0xCC, 0xDD};  // a sample and a part
    EXPECT_EQ(WriteChannelWavFiles(dir.path(), set, platform::SystemOutputFiles()), "");
    // Channel 9 is Channel_05; then the units digit drops by nine ('5' - 9 = ',').
    for (const char* name : {"01", "02", "03", "04", "05", "1,", "1-", "1."}) {
        EXPECT_TRUE(testing::FileExists(dir.File(std::string("Channel_") + name + ".wav"))) << name;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 8);
    EXPECT_EQ(ReadBytes(dir.File("Channel_01.wav")), MakeWav(1, 24, 48000, {0xCCBBAA, 0xDD, 0, 0}));
    EXPECT_EQ(ReadBytes(dir.File("Channel_1,.wav")), MakeWav(1, 24, 48000, {0, 0, 0, 0}));  // none
}

TEST(Wav, AHugeFileKeepsOnlyWhatTheRunCanEmbed) {
    // 1 GiB of 24-bit stereo that takes no room on disk: the run of a few
    // frames keeps its first 5000 samples a channel.
    testing::TempDir dir;
    std::vector<uint8_t> wav = MakeWav(2, 24, 48000, {0x123456, 0x654321});
    const uint32_t dataBytes = 1u << 30;
    WriteLe32(&wav[40], dataBytes);
    WriteLe32(&wav[4], dataBytes + 36);
    testing::WriteBytes(dir.File("long.wav"), wav);
    std::filesystem::resize_file(dir.File("long.wav"), 44 + uint64_t{dataBytes});
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.sampleLimit = 5000;
    set.wavPath[0] = dir.File("long.wav");
    EXPECT_EQ(ReadWavFiles(set), kWavOk);
    EXPECT_EQ(set.sampleCount, 5000u);
    EXPECT_EQ(set.channelSamples[3].size(), 15000u);
    EXPECT_EQ(set.channelSamples[0][0], 0x12);  // the first sample, most significant byte first
}

}  // namespace
}  // namespace fmconv
