#include "audio/sfa_to_sfm.h"

#include <gtest/gtest.h>

#include <vector>

#include "audio/anc_packets.h"
#include "audio/packed_words.h"
#include "audio/sfa_file.h"
#include "audio/stored_raster.h"
#include "audio_test_files.h"
#include "base/bytes.h"

namespace fmconv {
namespace {

using testing::MakeVariedSfm;
using testing::PlainWordAt;

// An SFA frame of a code, blank but for what a test packs into it.
struct SfaFrame {
    explicit SfaFrame(uint32_t code) {
        GetSignalTiming(code, timing, nullptr);
        raster = MakeStoredRaster(timing);
        bytes.assign(64 + 2 * std::size_t{raster.planeBytes}, 0);
        bytes[48] = 0x81;
        bytes[49] = static_cast<uint8_t>(code);
    }
    std::span<uint8_t> payload() { return std::span<uint8_t>(bytes).subspan(64); }
    uint64_t ChromaBit(int region, uint32_t line, uint32_t word) const {
        return uint64_t{raster.planeBytes} * 8 + raster.LineBit(region, line) + 10 * word;
    }
    // A standard-definition word list at multiplex word 4 of a line.
    void PlaceSd(int region, uint32_t line, const std::vector<uint16_t>& words) {
        std::vector<uint16_t> even, odd;
        for (std::size_t i = 0; i < words.size(); ++i) (i % 2 ? odd : even).push_back(words[i]);
        PackWords(payload(), ChromaBit(region, line, 2), even);
        PackWords(payload(), raster.LineBit(region, line) + 20, odd);
    }
    SignalTiming timing;
    StoredRaster raster;
    std::vector<uint8_t> bytes;
};

std::vector<uint16_t> HdDataPacket(uint16_t did, uint32_t sample) {
    std::vector<uint16_t> p = {0x000, 0x3FF, 0x3FF, did, 0x000, 0x218, 0, 0};
    for (int c = 0; c < 4; ++c) {
        const auto w = HdSampleWords(sample + static_cast<uint32_t>(c));
        p.insert(p.end(), w.begin(), w.end());
    }
    p.resize(31, 0);
    return p;
}

// Sample f of a channel after extraction (least significant byte first).
uint32_t Extracted(const AudioChannelSet& set, int k, uint32_t f) {
    const std::vector<uint8_t>& b = set.channelSamples[k];
    return b[3 * f] | b[3 * f + 1] << 8 | static_cast<uint32_t>(b[3 * f + 2]) << 16;
}

AudioChannelSet ExtractionSet(uint16_t frames) {
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.frameCount = frames;
    return set;
}

TEST(SfaToSfm, TheSfmHeaderAndTheBlankingLines) {
    for (uint32_t code : {0u, 1u, 4u}) {
        SCOPED_TRACE(code);
        SfaFrame sfa(code);
        for (int i = 0; i < 64; ++i) {
            if (i != 48 && i != 49) sfa.bytes[i] = static_cast<uint8_t>(0xA0 + i);
        }
        ConversionContext ctx;
        ctx.signalFormat = code;
        AudioChannelSet set = ExtractionSet(1);
        const uint32_t plane = ExtractedSfmPlaneBytes(code);
        std::vector<uint8_t> sfm(64 + 2 * plane, 0xEE);
        ASSERT_EQ(BuildSfmFromSfa(sfa.bytes, sfm, "MLOGO.FMEM_007.SFM", set, ctx), 0);
        for (int i : {0, 7, 20, 35, 45, 47, 50, 51, 60, 63}) EXPECT_EQ(sfm[i], 0xA0 + i) << i;
        EXPECT_EQ(std::string(sfm.begin() + 8, sfm.begin() + 20),
                  std::string("_007.SFM\0\0\0\0", 12));
        EXPECT_EQ(ReadBe32(&sfm[40]), 2 * plane + 16);
        EXPECT_EQ(sfm[44], 0x24);
        EXPECT_EQ(sfm[48], 0x00);
        EXPECT_EQ(sfm[49], 0x00);
        EXPECT_EQ(ReadBe32(&sfm[52]), plane);
        EXPECT_EQ(ReadBe32(&sfm[56]), plane);
        std::array<uint8_t, 4> lanes{};
        for (std::size_t i = 48; i < sfm.size(); ++i) lanes[(i - 48) % 4] += sfm[i];
        EXPECT_EQ((std::array<uint8_t, 4>{sfm[36], sfm[37], sfm[38], sfm[39]}), lanes);
        for (int p = 0; p < 2; ++p) {
            const std::size_t base = 64 + p * std::size_t{plane};
            const uint16_t blank = p == 0 ? 0x040 : 0x200;
            if (code <= 1) {
                // 60 zero bytes before each line's picture; 2880 zero bytes
                // between the fields.
                const std::size_t gap = base + (code == 0 ? 244 : 288) * 960;
                for (std::size_t i = gap; i < gap + 2880; ++i) ASSERT_EQ(sfm[i], 0) << i;
                for (std::size_t i = base; i < base + 60; ++i) ASSERT_EQ(sfm[i], 0) << i;
            }
            if (code != 1) {
                // A closing line of blanking values: 960 bytes in 480i.
                const std::size_t last = base + plane - (code == 0 ? 960 : 2400);
                for (uint64_t w = 0; w < (code == 0 ? 768u : 1920u); w += 17) {
                    ASSERT_EQ(PlainWordAt(sfm, uint64_t{last} * 8 + 10 * w), blank) << w;
                }
            }
        }
        EXPECT_EQ(PresentGroupCount(set), 0);  // no packets, no group
        EXPECT_EQ(set.sampleCount, 0u);
    }
}

TEST(SfaToSfm, HighDefinitionPacketsCountPerPresentGroup) {
    // Three groups; a line of 6 packets adds 6 / 3 = 2, one of 7 also 2.
    SfaFrame sfa(4);
    const uint16_t dids[] = {0x2E7, 0x1E6, 0x1E5, 0x2E7, 0x1E6, 0x1E5, 0x2E7};
    for (uint32_t line : {3u, 4u}) {
        const int packets = line == 3 ? 6 : 7;
        for (int i = 0; i < packets; ++i) {
            PackWords(sfa.payload(), sfa.ChromaBit(0, line, 8 + 31 * i),
                      HdDataPacket(dids[i], 0x100000 * i + line));
        }
    }
    AudioChannelSet set = ExtractionSet(1);
    ExtractHdAudio(set, sfa.timing, sfa.payload());
    EXPECT_EQ(set.sampleCount, 4u);
    EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{1, 1, 1, 0}));
    ASSERT_EQ(set.channelSamples[0].size(), 1126u * 12);
    EXPECT_EQ(Extracted(set, 0, 0), 0x000003u);
    EXPECT_EQ(Extracted(set, 1, 1), 0x300004u);  // channel 2 of packet 3 of line 3
    EXPECT_EQ(Extracted(set, 5, 0), 0x100004u);
    EXPECT_EQ(set.channelWriteCursor[0], 5u * 3);  // 2 + 3 packets of group 0
}

TEST(SfaToSfm, AnUnknownIdentifierCountsToThePreviousGroup) {
    SfaFrame sfa(3);
    PackWords(sfa.payload(), sfa.ChromaBit(0, 2, 8), HdDataPacket(0x123, 0x11));  // no group yet
    PackWords(sfa.payload(), sfa.ChromaBit(0, 3, 8), HdDataPacket(0x1E5, 0x22));
    PackWords(sfa.payload(), sfa.ChromaBit(0, 3, 8 + 31), HdDataPacket(0x123, 0x33));
    AudioChannelSet set = ExtractionSet(1);
    ExtractHdAudio(set, sfa.timing, sfa.payload());
    EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{0, 0, 1, 0}));
    EXPECT_EQ(set.sampleCount, 2u);
    EXPECT_EQ(Extracted(set, 8, 0), 0x22u);
    EXPECT_EQ(Extracted(set, 8, 1), 0x33u);
    EXPECT_EQ(set.lastHdGroup, 2);
}

TEST(SfaToSfm, StandardDefinitionSamplesAndTheirMissingBit15) {
    // With the extended packet the sample comes back whole except bit 19,
    // which takes bit 10; without it the 20-bit audio word lands in the low
    // 20 bits, its bit 15 taken from bit 6.
    const uint32_t samples[4] = {0x080000, 0x000400, 0x123456, 0xFEDCBA};
    AudioChannelSet in;
    ResetAudioChannelSet(in);
    in.groupPresent[1] = 1;
    for (int c = 0; c < 4; ++c) {
        in.channelSamples[4 + c] = {static_cast<uint8_t>(samples[c] >> 16),
                                    static_cast<uint8_t>(samples[c] >> 8),
                                    static_cast<uint8_t>(samples[c])};
    }
    std::vector<uint16_t> words;
    AppendSdDataPackets(in, 0, 1, words);
    SfaFrame sfa(1);
    sfa.PlaceSd(0, 5, words);
    words.resize(7 + 12);  // the data packet alone
    sfa.PlaceSd(1, 5, words);
    AudioChannelSet set = ExtractionSet(1);
    ExtractSdAudio(set, sfa.timing, sfa.payload());
    EXPECT_EQ(set.groupPresent, (std::array<uint8_t, 4>{0, 1, 0, 0}));
    EXPECT_EQ(set.sampleCount, 2u);
    const uint32_t withExtended[4] = {0x000000, 0x080400, 0x1A3456, 0xFEDCBA};
    const uint32_t without[4] = {0x00000, 0x08040, 0x1A345, 0xFEDCB};
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(Extracted(set, 4 + c, 0), withExtended[c]) << c;
        EXPECT_EQ(Extracted(set, 4 + c, 1), without[c]) << c;
    }
}

TEST(SfaToSfm, MorePacketsThanTheBuffersHoldAreDropped) {
    // Every chroma line full of group 1 packets, for a run of one frame (and
    // of none): the buffers keep their size and nothing is written past them.
    for (uint16_t frames : {uint16_t{1}, uint16_t{0}}) {
        SfaFrame sfa(11);
        for (uint32_t line = 1; line < 750; ++line) {
            for (int i = 0; i < 60; ++i) {
                PackWords(sfa.payload(), sfa.ChromaBit(0, line, 8 + 31 * i),
                          HdDataPacket(0x2E7, 1));
            }
        }
        AudioChannelSet set = ExtractionSet(frames);
        ExtractHdAudio(set, sfa.timing, sfa.payload());
        EXPECT_EQ(set.sampleCount, 749u * 60);
        const std::size_t bytes = frames * 751u * 12;
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(set.channelSamples[k].size(), bytes);
            EXPECT_EQ(set.channelWriteCursor[k], bytes);
        }
    }
}

TEST(SfaToSfm, AShortBufferReadsAsZeroBeyondItsEnd) {
    for (std::size_t size : {0u, 10u, 64u, 5000u}) {
        std::vector<uint8_t> sfa(size, 0x5A);
        ConversionContext ctx;
        ctx.signalFormat = 0;
        AudioChannelSet set = ExtractionSet(1);
        std::vector<uint8_t> sfm(64 + 942720, 0xEE);
        ASSERT_EQ(BuildSfmFromSfa(sfa, sfm, "", set, ctx), 0) << size;
        EXPECT_EQ(sfm[0], size > 0 ? 0x5A : 0);
        EXPECT_EQ(sfm[100000], 0);  // picture from beyond the buffer
    }
}

TEST(SfaToSfm, RefusesWhatItCannotBuild) {
    ConversionContext ctx;
    std::string trace;
    ctx.trace = [&](std::string_view line) { trace += line; };
    AudioChannelSet set = ExtractionSet(1);
    std::vector<uint8_t> sfa(64), sfm(64 + 942720);
    ctx.signalFormat = 14;
    EXPECT_EQ(BuildSfmFromSfa(sfa, sfm, "", set, ctx), -1);
    EXPECT_EQ(trace, "No Support Signal format!\nFile Convert Error!\n");
    ctx.signalFormat = 1;  // needs 64 + 1111680
    EXPECT_EQ(BuildSfmFromSfa(sfa, sfm, "", set, ctx), -1);
}

}  // namespace
}  // namespace fmconv
