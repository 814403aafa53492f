// WAV files into SFA frames and back: every offered signal format, several
// frames in a row carrying one audio stream, then the SFA frames made into SFM
// frames with the audio taken out and written as WAV files again.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "audio/wav.h"
#include "audio_test_files.h"
#include "base/text.h"
#include "platform/free_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::MakeWav;
using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

struct WavInput {
    uint16_t channels;
    uint16_t bits;
    uint32_t frames;
};

class RoundTrip : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RoundTrip, SamplesAndPictureComeBack) {
    const uint32_t code = GetParam();
    const bool sd = IsStandardDefinition(code);
    TempDir dir;
    const std::string src = dir.MakeDir("src"), sfaDir = dir.MakeDir("sfa"),
                      wavDir = dir.MakeDir("wav"), outDir = dir.MakeDir("out");
    SignalTiming timing;
    ASSERT_EQ(GetSignalTiming(code, timing, nullptr), 0);
    // Two and a half frames of audio over three frames: the stream runs on
    // from frame to frame and ends inside the last one.
    const uint32_t longest = static_cast<uint32_t>(timing.audioSamplesPerFrame * 2.5);
    // 16 channels (12 in 480i, where 16 would run into the picture), from
    // files of every depth and of different lengths.
    const std::vector<WavInput> inputs = {{2, 24, longest},
                                          {1, 16, longest - 100},
                                          {3, 8, longest - 333},
                                          {static_cast<uint16_t>(code == 0 ? 6 : 10), 24, longest}};

    std::mt19937 random(code + 1);
    std::vector<std::vector<uint32_t>> expected;  // per channel, 24-bit
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const WavInput& in = inputs[i];
        const std::size_t first = expected.size();
        expected.resize(first + in.channels, std::vector<uint32_t>(longest, 0));
        std::vector<uint32_t> interleaved;
        for (uint32_t f = 0; f < in.frames; ++f) {
            for (int c = 0; c < in.channels; ++c) {
                const uint32_t v = random() & ((1u << in.bits) - 1);
                interleaved.push_back(v);
                expected[first + c][f] = in.bits == 24   ? v
                                         : in.bits == 16 ? v << 8
                                                         : (v ^ 0x80) << 16;
            }
        }
        const std::string path = wavDir + "/in" + std::to_string(i) + ".wav";
        WriteBytes(path, MakeWav(in.channels, in.bits, 48000, interleaved));
        set.wavPath[i] = path;
    }
    ASSERT_EQ(ReadWavFiles(set), kWavOk);
    ASSERT_EQ(set.sampleCount, longest);

    const FrameLayout& layout = *GetFrameLayout(testing::FrameFormatOf(code));
    platform::FixedFreeSpaceProbe plenty(int64_t{1} << 40);
    ConversionContext ctx;
    ctx.freeSpace = &plenty;
    constexpr int kFrames = 3;
    std::vector<PictureFrame> pictures(kFrames);
    for (int n = 0; n < kFrames; ++n) {
        const std::string name = Format("MPIC.FMEM_%03d.SFM", n + 1);
        const std::vector<uint8_t> sfm = testing::MakeVariedSfm(layout, name, 100 * code + n);
        ASSERT_TRUE(DecodeSfmPicture(sfm, layout, pictures[n]));
        WriteBytes(src + "/" + name, sfm);
        ASSERT_EQ(WriteSfaFromSfm(src, name, sfaDir, set, code, ctx),
                  Format("MPIC.FMEM_%03d.SFA", n + 1));
    }
    EXPECT_EQ(set.sampleCursor, longest);

    // Back: the container reads each file, takes the code from byte 49,
    // copies the first 48 header bytes and lets the frame be rebuilt.
    AudioChannelSet out;
    ResetAudioChannelSet(out);
    out.frameCount = kFrames;
    ConversionContext back;
    for (int n = 0; n < kFrames; ++n) {
        std::vector<uint8_t> sfa = ReadBytes(sfaDir + Format("/MPIC.FMEM_%03d.SFA", n + 1));
        ASSERT_TRUE(IsStoredSignalFormat(sfa[49]));
        back.signalFormat = sfa[49];
        std::vector<uint8_t> sfm(64 + GetFrameByteSize(back.signalFormat, kFrameKindSfm));
        std::copy_n(sfa.begin(), 48, sfm.begin());
        ASSERT_EQ(BuildSfmFromSfa(sfa, sfm, Format("MPIC.FMEM_%03d.SFM", n + 1), out, back), 0);
        PictureFrame picture;
        ASSERT_TRUE(DecodeSfmPicture(sfm, layout, picture));
        EXPECT_EQ(picture.luma, pictures[n].luma) << "frame " << n;
        EXPECT_EQ(picture.chroma, pictures[n].chroma) << "frame " << n;
    }
    ASSERT_EQ(out.sampleCount, longest);

    WriteChannelWavFiles(outDir, out);
    for (std::size_t k = 0; k < expected.size(); ++k) {
        SCOPED_TRACE("channel " + std::to_string(k + 1));
        const std::vector<uint32_t> got =
            testing::ReadMono24Wav(outDir + Format("/Channel_%02zu.wav", k + 1));
        ASSERT_EQ(got.size(), longest);
        for (uint32_t f = 0; f < longest; ++f) {
            uint32_t want = expected[k][f];
            // Standard definition loses audio word bit 15 (sample bit 19),
            // which comes back as sample bit 10.
            if (sd) want = (want & ~(1u << 19)) | (want >> 10 & 1) << 19;
            ASSERT_EQ(got[f], want) << "sample " << f;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfferedFormats, RoundTrip, ::testing::Values(4u, 3u, 7u, 2u, 11u, 1u, 0u),
                         [](const ::testing::TestParamInfo<uint32_t>& param) {
                             return "Code" + std::to_string(param.param);
                         });

}  // namespace
}  // namespace fmconv
