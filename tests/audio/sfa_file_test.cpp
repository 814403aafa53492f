#include "audio/sfa_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "audio/anc_packets.h"
#include "audio/stored_raster.h"
#include "audio_test_files.h"
#include "base/bytes.h"
#include "fmfiles/register_file.h"
#include "platform/free_space.h"
#include "run/disk_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::FileExists;
using testing::MakeVariedSfm;
using testing::PlainWordAt;
using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

std::string Text(const std::vector<uint8_t>& bytes, std::size_t at, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(&bytes[at]), size);
}

// The checksum by its rule: byte k is the low byte of the sum of the bytes at
// offsets 48 + k, 52 + k, ... to the end.
std::array<uint8_t, 4> PlainChecksum(const std::vector<uint8_t>& file) {
    std::array<uint8_t, 4> sum{};
    for (std::size_t i = 48; i < file.size(); ++i) sum[(i - 48) % 4] += file[i];
    return sum;
}

class SfaWriterTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ResetAudioChannelSet(set);
        ctx.freeSpace = &plenty;
        ctx.trace = [this](std::string_view line) { trace += line; };
    }
    std::vector<uint8_t> PutSfm(const std::string& name, int frameFormat, uint32_t seed = 1) {
        std::vector<uint8_t> bytes = MakeVariedSfm(*GetFrameLayout(frameFormat), name, seed);
        WriteBytes(src + "/" + name, bytes);
        return bytes;
    }
    // A set of one group whose channel k holds sample f = k << 20 | f.
    void GiveAudio(uint32_t count) {
        set.groupPresent[0] = 1;
        set.sampleCount = count;
        for (int k = 0; k < 4; ++k) {
            for (uint32_t f = 0; f < count; ++f) {
                const uint32_t s = static_cast<uint32_t>(k) << 20 | f;
                set.channelSamples[k].insert(
                    set.channelSamples[k].end(),
                    {static_cast<uint8_t>(s >> 16), static_cast<uint8_t>(s >> 8),
                     static_cast<uint8_t>(s)});
            }
        }
    }

    TempDir dir;
    std::string src = dir.MakeDir("src");
    std::string dst = dir.MakeDir("dst");
    platform::FixedFreeSpaceProbe plenty{int64_t{1} << 40};
    AudioChannelSet set;
    ConversionContext ctx;
    std::string trace;
};

TEST_F(SfaWriterTest, A1080i5994FileHasItsSizeAndHeader) {
    const std::vector<uint8_t> sfm = PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat1080);
    ASSERT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, kSignal1080i5994, ctx),
              "MLOGO.FMEM_001.SFA");
    EXPECT_EQ(ctx.signalFormat, 4u);
    const std::vector<uint8_t> f = ReadBytes(dst + "/MLOGO.FMEM_001.SFA");
    ASSERT_EQ(f.size(), 6197568u);
    EXPECT_EQ(Text(f, 0, 8), "QVX 0001");
    EXPECT_EQ(Text(f, 8, 12), std::string("_001.SFA\0\0\0\0", 12));
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 20, f.begin() + 36),
              std::vector<uint8_t>(sfm.begin() + 20, sfm.begin() + 36));
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 40, f.begin() + 60),
              (std::vector<uint8_t>{0x00, 0x5E, 0x91, 0x10, 0x36, 0,    0,    0,    0x81, 0x04,
                                    0x00, 0x10, 0x00, 0x2F, 0x48, 0x80, 0x00, 0x2F, 0x48, 0x80}));
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 60, f.begin() + 64),
              std::vector<uint8_t>(sfm.begin() + 60, sfm.begin() + 64));
    const std::array<uint8_t, 4> checksum = {f[36], f[37], f[38], f[39]};
    EXPECT_EQ(checksum, PlainChecksum(f));
}

TEST_F(SfaWriterTest, NamesResultsAndTheNameField) {
    std::vector<uint8_t> sf1 = PutSfm("MLOGO.FMEM_009.SFM", kFrameFormat576i);
    const RegisterTrailer trailer = BuildRegisterTrailer("MLOGO.FMEM_009.SFM");
    sf1.insert(sf1.end(), trailer.begin(), trailer.end());
    WriteBytes(src + "/F0009.SF1", sf1);
    for (const char* name : {"Sname.FMEM0001.SFM.TMP", "SLOGO.FMEM_012.SFM",
                             "MLOGO.FMEM_001.sfm.tmp", "SABCDEFGH.FMEM0001.SFM"}) {
        PutSfm(name, kFrameFormat576i);
    }
    using Writer = decltype(&WriteSfaFromSfm);
    struct Case {
        Writer writer;
        const char* source;
        const char* result;
        const char* file;
        std::string field;  // header bytes 8-19
    };
    const std::vector<Case> cases = {
        // The field holds the characters from the 11th on: from FMEM on for
        // a name of eight characters, shifted for shorter ones.
        {WriteSfaFromSfm, "SABCDEFGH.FMEM0001.SFM", "SABCDEFGH.FMEM0001.SFA",
         "SABCDEFGH.FMEM0001.SFA", "FMEM0001.SFA"},
        {WriteSfaFromSfm, "Sname.FMEM0001.SFM.TMP", "Sname.FMEM0001.SFA", "Sname.FMEM0001.SFA",
         std::string("0001.SFA\0\0\0\0", 12)},
        {WriteSfaFromSfm, "SLOGO.FMEM_012.SFM", "SLOGO.FMEM_012.SFA", "SLOGO.FMEM_012.SFA",
         std::string("_012.SFA\0\0\0\0", 12)},
        {WriteSf3FromSfm, "Sname.FMEM0001.SFM.TMP", "F0001.SF3(Sname.FMEM0001.SFA)", "F0001.SF3",
         std::string("0001.SFA\0\0\0\0", 12)},
        {WriteSf3FromSfm, "MLOGO.FMEM_001.sfm.tmp", "F0001.SF3(MLOGO.FMEM_001.SFA)", "F0001.SF3",
         std::string("_001.SFA\0\0\0\0", 12)},
        {WriteSf3FromSfm, "SLOGO.FMEM_012.SFM", "F0012.SF3(SLOGO.FMEM_012.SFA)", "F0012.SF3",
         std::string("_012.SFA\0\0\0\0", 12)},
        // From an SF1, the field comes from the register file's own name.
        {WriteSfaFromSf1, "F0009.SF1", "MLOGO.FMEM_009.SFA", "MLOGO.FMEM_009.SFA",
         std::string(12, '\0')},
        {WriteSf3FromSf1, "F0009.SF1", "F0009.SF3(MLOGO.FMEM_009.SFA)", "F0009.SF3",
         std::string(12, '\0')},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.result);
        EXPECT_EQ(c.writer(src, c.source, dst, set, kSignal576i50, ctx), c.result);
        const std::vector<uint8_t> f = ReadBytes(dst + "/" + c.file);
        ASSERT_GE(f.size(), 64u);
        EXPECT_EQ(Text(f, 8, 12), c.field);
    }
}

TEST_F(SfaWriterTest, TheSf3TrailerNamesTheSfa) {
    // From an SFM: a zeroed block with "SFM1", the SFA name and "VVVV".
    PutSfm("MLOGO.FMEM_003.SFM", kFrameFormat720p);
    ASSERT_EQ(WriteSf3FromSfm(src, "MLOGO.FMEM_003.SFM", dst, set, kSignal720p50, ctx),
              "F0003.SF3(MLOGO.FMEM_003.SFA)");
    std::vector<uint8_t> f = ReadBytes(dst + "/F0003.SF3");
    ASSERT_EQ(f.size(), 64u + 3718952 + 304);
    const RegisterTrailer expected = BuildRegisterTrailer("MLOGO.FMEM_003.SFA");
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), f.end() - 304));
    // From an SF1: its own trailer's other bytes stay, the markers and the
    // name field are set anew.
    std::vector<uint8_t> sf1 = PutSfm("MLOGO.FMEM_004.SFM", kFrameFormat720p);
    RegisterTrailer old;
    for (std::size_t i = 0; i < old.size(); ++i) old[i] = static_cast<uint8_t>(i * 7 + 1);
    const char inner[] = "MLOGO.FMEM_004.SFM";
    std::memcpy(&old[264], inner, sizeof inner);  // with its terminator
    sf1.insert(sf1.end(), old.begin(), old.end());
    WriteBytes(src + "/F0004.SF1", sf1);
    ASSERT_EQ(WriteSf3FromSf1(src, "F0004.SF1", dst, set, kSignal720p50, ctx),
              "F0004.SF3(MLOGO.FMEM_004.SFA)");
    f = ReadBytes(dst + "/F0004.SF3");
    ASSERT_EQ(f.size(), 64u + 3718952 + 304);
    const uint8_t* t = &f[f.size() - 304];
    EXPECT_TRUE(std::equal(old.begin(), old.begin() + 256, t));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(t + 256), 4), "SFM1");
    EXPECT_TRUE(std::equal(old.begin() + 260, old.begin() + 264, t + 260));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(t + 264), 32),
              std::string("MLOGO.FMEM_004.SFA") + std::string(14, '\0'));
    EXPECT_TRUE(std::equal(old.begin() + 296, old.begin() + 300, t + 296));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(t + 300), 4), "VVVV");
}

TEST_F(SfaWriterTest, AnSf1SourceGivesTheFrameOfTheSfmItHolds) {
    std::vector<uint8_t> sf1 = PutSfm("MPIC.FMEM_005.SFM", kFrameFormat1080, 5);
    const RegisterTrailer trailer = BuildRegisterTrailer("MPIC.FMEM_005.SFM");
    sf1.insert(sf1.end(), trailer.begin(), trailer.end());
    WriteBytes(src + "/F0005.SF1", sf1);
    ASSERT_EQ(WriteSfaFromSfm(src, "MPIC.FMEM_005.SFM", dst, set, kSignal1080PsF24, ctx),
              "MPIC.FMEM_005.SFA");
    const std::vector<uint8_t> fromSfm = ReadBytes(dst + "/MPIC.FMEM_005.SFA");
    std::filesystem::remove(dst + "/MPIC.FMEM_005.SFA");
    ASSERT_EQ(WriteSfaFromSf1(src, "F0005.SF1", dst, set, kSignal1080PsF24, ctx),
              "MPIC.FMEM_005.SFA");
    const std::vector<uint8_t> fromSf1 = ReadBytes(dst + "/MPIC.FMEM_005.SFA");
    ASSERT_EQ(fromSf1.size(), fromSfm.size());
    // All but the name field (F0005.SF1 is too short to give one).
    EXPECT_TRUE(std::equal(fromSfm.begin() + 20, fromSfm.end(), fromSf1.begin() + 20));
    EXPECT_EQ(Text(fromSf1, 8, 12), std::string(12, '\0'));
}

TEST_F(SfaWriterTest, TheFreeSpaceTest) {
    PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat720p);
    const int64_t needed = 64 + 3100128;  // 720P/59.94
    struct Case {
        int64_t reading;
        bool probe;
        const char* result;
        std::size_t size;
    } cases[] = {
        {needed - 1, true, kHddMemoryNotSufficient, 0},
        {-1, true, "", 0},
        {0, false, "", 0},
        {needed, true, "MLOGO.FMEM_001.SFA", 64 + 3100128},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reading);
        platform::FixedFreeSpaceProbe probe(c.reading);
        ctx.freeSpace = c.probe ? &probe : nullptr;
        EXPECT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, kSignal720p5994, ctx),
                  c.result);
        // The destination was created before the test, and is left so.
        EXPECT_EQ(ReadBytes(dst + "/MLOGO.FMEM_001.SFA").size(), c.size);
    }
}

TEST_F(SfaWriterTest, FailuresAndTheFormatChoice) {
    EXPECT_EQ(WriteSfaFromSfm(src, "MNONE.FMEM_001.SFM", dst, set, kSignal1080i50, ctx), "");
    EXPECT_FALSE(FileExists(dst + "/MNONE.FMEM_001.SFA"));
    PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat720p);
    EXPECT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst + "/missing", set, 3, ctx), "");
    // A code with no frame size: the created destination stays empty.
    EXPECT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, 14u, ctx), "");
    EXPECT_EQ(ReadBytes(dst + "/MLOGO.FMEM_001.SFA").size(), 0u);
    EXPECT_EQ(ctx.signalFormat, 14u);
    // Without a chosen format the current one is kept and stored.
    ctx.signalFormat = kSignal720p50;
    ASSERT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, std::nullopt, ctx),
              "MLOGO.FMEM_001.SFA");
    const std::vector<uint8_t> f = ReadBytes(dst + "/MLOGO.FMEM_001.SFA");
    EXPECT_EQ(f.size(), 64u + 3718952);
    EXPECT_EQ(f[49], 11);
}

// The picture words of active lines at their exact bits, and blanking values
// everywhere else (no WAV files: no packets), for formats whose lines start
// mid-byte.
TEST_F(SfaWriterTest, ThePictureLandsOnItsBitsInTheFullRaster) {
    struct Case {
        uint32_t code;
        int frameFormat;
    } cases[] = {{kSignal1080PsF24, kFrameFormat1080},
                 {kSignal480i5994, kFrameFormat480i},
                 {kSignal720p5994, kFrameFormat720p}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        const FrameLayout& layout = *GetFrameLayout(c.frameFormat);
        std::vector<uint8_t> sfm = MakeVariedSfm(layout, "MPIC.FMEM_001.SFM", c.code);
        PictureFrame picture;
        ASSERT_TRUE(DecodeSfmPicture(sfm, layout, picture));
        // Lead-in bytes and field gaps of the source are never read.
        for (int p = 0; p < 2; ++p) {
            uint8_t* plane = &sfm[64 + p * layout.planeBytes];
            for (uint32_t l = 0; layout.leadInBytes > 0 && l < layout.frameLines(); ++l) {
                const std::size_t at = (l < layout.field1Lines ? l : l + 3) * layout.lineBytes;
                std::memset(plane + at, 0xFF, layout.leadInBytes);
            }
            std::memset(plane + layout.field1Lines * layout.lineBytes, 0xFF, layout.gap1Bytes);
        }
        WriteBytes(src + "/MPIC.FMEM_001.SFM", sfm);
        ASSERT_EQ(WriteSfaFromSfm(src, "MPIC.FMEM_001.SFM", dst, set, c.code, ctx),
                  "MPIC.FMEM_001.SFA");
        const std::vector<uint8_t> f = ReadBytes(dst + "/MPIC.FMEM_001.SFA");
        const std::vector<uint8_t> payload(f.begin() + 64, f.end());
        SignalTiming t;
        GetSignalTiming(c.code, t, nullptr);
        const StoredRaster r = MakeStoredRaster(t);
        const uint16_t first[2] = {t.blankLinesBeforeField1, t.blankLinesBeforeField2};
        const uint16_t lines[2] = {t.activeLinesField1, t.activeLinesField2};
        for (int p = 0; p < 2; ++p) {
            const uint64_t base = uint64_t{r.planeBytes} * 8 * p;
            const uint16_t blank = p == 0 ? 0x040 : 0x200;
            for (int region = 0; region < 2; ++region) {
                for (uint32_t j = 0; j < lines[region]; j += 7) {
                    const uint64_t line = base + r.LineBit(region, first[region] + j);
                    const uint32_t frameLine = lines[1] == 0 ? j : 2 * j + region;
                    const uint16_t* samples =
                        p == 0 ? picture.lumaLine(frameLine) : picture.chromaLine(frameLine);
                    for (uint32_t w = 0; w < t.totalSamplesPerLine; ++w) {
                        const uint16_t expected =
                            w < t.hblankSamples ? blank : samples[w - t.hblankSamples];
                        ASSERT_EQ(PlainWordAt(payload, line + 10 * w), expected)
                            << "plane " << p << " region " << region << " line " << j << " word "
                            << w;
                    }
                }
                // The first, the control and the last stored lines are
                // blanking all through.
                for (uint32_t line : {0u, 1u, r.regionLines[region] - 1}) {
                    if (r.regionLines[region] == 0) continue;
                    for (uint32_t w = 0; w < t.totalSamplesPerLine; w += 13) {
                        ASSERT_EQ(PlainWordAt(payload, base + r.LineBit(region, line) + 10 * w),
                                  blank);
                    }
                }
            }
            // The pad bytes after region 1 are blanking words from their first byte.
            const std::size_t pad = p * r.planeBytes + (r.regionLines[0] * r.lineBits + 7) / 8;
            EXPECT_EQ(PlainWordAt(payload, uint64_t{pad} * 8), blank);
            EXPECT_EQ(PlainWordAt(payload, uint64_t{pad} * 8 + 10 * 50), blank);
        }
    }
}

TEST_F(SfaWriterTest, TheSecondFileContinuesTheAudioStream) {
    GiveAudio(10000);
    PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat1080);
    ASSERT_NE(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, kSignal1080i5994, ctx), "");
    const uint32_t after = set.sampleCursor;
    EXPECT_TRUE(after == 1601 || after == 1602) << after;
    const std::vector<uint8_t> first = ReadBytes(dst + "/MLOGO.FMEM_001.SFA");
    ASSERT_NE(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, kSignal1080i5994, ctx), "");
    const std::vector<uint8_t> second = ReadBytes(dst + "/MLOGO.FMEM_001.SFA");
    EXPECT_NE(first, second);
    // The first data packet of the second frame carries sample `after`.
    SignalTiming t;
    GetSignalTiming(kSignal1080i5994, t, nullptr);
    const StoredRaster r = MakeStoredRaster(t);
    const std::vector<uint8_t> payload(second.begin() + 64, second.end());
    const uint64_t packet = uint64_t{r.planeBytes} * 8 + r.LineBit(0, 1) + 80;
    EXPECT_EQ(PlainWordAt(payload, packet + 30), 0x2E7);
    for (int c = 0; c < 4; ++c) {
        const auto w = HdSampleWords(static_cast<uint32_t>(c) << 20 | after);
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(PlainWordAt(payload, packet + 10 * (8 + 4 * c + j)), w[j]) << c << j;
        }
    }
}

TEST_F(SfaWriterTest, AShortSourceReadsAsZeroBeyondItsEnd) {
    std::vector<uint8_t> shortSfm = PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat576i);
    shortSfm.resize(100);
    WriteBytes(src + "/MLOGO.FMEM_001.SFM", shortSfm);
    ASSERT_EQ(WriteSfaFromSfm(src, "MLOGO.FMEM_001.SFM", dst, set, kSignal576i50, ctx),
              "MLOGO.FMEM_001.SFA");
    const std::vector<uint8_t> f = ReadBytes(dst + "/MLOGO.FMEM_001.SFA");
    ASSERT_EQ(f.size(), 64u + 1358640);
    SignalTiming t;
    GetSignalTiming(kSignal576i50, t, nullptr);
    const StoredRaster r = MakeStoredRaster(t);
    const std::vector<uint8_t> payload(f.begin() + 64, f.end());
    EXPECT_EQ(PlainWordAt(payload, r.LineBit(0, 16) + 10 * 143), 0x040);  // blanking
    EXPECT_EQ(PlainWordAt(payload, r.LineBit(0, 16) + 10 * 144), 0x000);  // picture: zero bytes
    // An SF1 shorter than its trailer and tail: an empty frame, named by nothing.
    WriteBytes(src + "/F0001.SF1", {1, 2, 3});
    EXPECT_EQ(WriteSfaFromSf1(src, "F0001.SF1", dst, set, kSignal576i50, ctx), ".SFA");
}

TEST(SfaChecksum, WordWiseEqualsTheByteLaneRule) {
    std::mt19937 random(3);
    for (std::size_t payload : {0u, 1u, 3u, 4u, 7u, 9u, 15u, 33u, 1000u, 65541u}) {
        std::vector<uint8_t> file(64 + payload);
        for (uint8_t& b : file) b = static_cast<uint8_t>(random());
        SfaChecksum(&file[36], payload);
        EXPECT_EQ((std::array<uint8_t, 4>{file[36], file[37], file[38], file[39]}),
                  PlainChecksum(file))
            << payload;
    }
    // All bytes 0xFF over 16 + 16 bytes: each lane sums 8 x 0xFF = 0x7F8.
    std::vector<uint8_t> ones(64 + 16, 0xFF);
    SfaChecksum(&ones[36], 16);
    EXPECT_EQ((std::array<uint8_t, 4>{ones[36], ones[37], ones[38], ones[39]}),
              (std::array<uint8_t, 4>{0xF8, 0xF8, 0xF8, 0xF8}));
}

TEST(SfaFrame, AnUnsupportedCodeIsAConvertError) {
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    ConversionContext ctx;
    std::string trace;
    ctx.trace = [&](std::string_view line) { trace += line; };
    ctx.signalFormat = 14;
    std::vector<uint8_t> dest(64 + 100);
    EXPECT_EQ(BuildSfaFrame({}, dest, "x", set, ctx), -1);
    EXPECT_EQ(trace, "No Support Signal format!\nFile Convert Error!\n");
}

}  // namespace
}  // namespace fmconv
