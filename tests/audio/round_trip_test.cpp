// WAV files into three SFA frames in a row and back into SFM frames and WAV
// files, for every offered signal format.
#include <gtest/gtest.h>

#include <algorithm>
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

}  // namespace
}  // namespace fmconv
