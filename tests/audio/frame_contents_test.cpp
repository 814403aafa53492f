// The audio census of SFA frames made from WAV files on known channels.
#include "audio/frame_contents.h"

#include <gtest/gtest.h>

#include <numeric>

#include "audio/sfa_file.h"
#include "audio/signal_format.h"
#include "audio/wav.h"
#include "audio_test_files.h"
#include "base/text.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

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
        if (!c.wavChannels.empty()) {
            ASSERT_EQ(ReadWavFiles(set), kWavOk);
        }

        const FrameLayout& layout = *GetFrameLayout(testing::FrameFormatOf(c.code));
        std::vector<uint8_t> source = testing::MakeVariedSfm(layout, "MX.FMEM_001.SFM", c.code);
        source[48] = 0x81;
        source[49] = static_cast<uint8_t>(c.code);
        std::vector<uint8_t> sfa(64 + GetFrameByteSize(c.code, kFrameKindSfa));
        ConversionContext ctx;
        ctx.signalFormat = c.code;
        ASSERT_EQ(BuildSfaFrame(source, sfa, "MX.FMEM_001.SFA", set, ctx), 0);

        const FrameFile frame = ReadFrame(sfa);
        ASSERT_TRUE(frame.ok()) << frame.problems[0];
        const std::optional<AudioCensus> census = TakeAudioCensus(frame);
        ASSERT_TRUE(census);
        EXPECT_EQ(census->groups, c.groups);
        std::vector<int> channels(c.lastChannel);
        std::iota(channels.begin(), channels.end(), 1);
        EXPECT_EQ(census->channels, channels);
        EXPECT_EQ(census->samples, c.samples);
    }
}

}  // namespace
}  // namespace fmconv
