#include "audio/signal_format.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace fmconv {
namespace {

// The line counts and sizes of a timing record, in the order of its fields.
std::vector<int> Geometry(const SignalTiming& t) {
    return {t.totalSamplesPerLine, t.blankLinesBeforeField1, t.blankLinesBeforeField2,
            t.hblankSamples,       t.activeSamples,          t.activeLinesField1,
            t.activeLinesField2,   t.blankLinesAfterField1,  t.blankLinesAfterField2,
            t.padBytesAfterField1, t.padBytesAfterField2,    t.extraLinesAfterField2};
}

TEST(SignalFormat, EveryCodeHasItsGeometryAndFrameSizes) {
    const struct {
        std::vector<uint32_t> codes;
        std::vector<int> geometry;
        uint32_t plane, sfa, sfm;  // bytes
    } table[] = {
        // clang-format off
        // Codes; total words, lines before F1 and F2, hblank, active words, lines of F1 and
        // F2, lines after F1 and F2, pad bytes after F1 and F2, extra line; then the plane,
        // the SFA and the SFM payload.
        {{0}, {858, 9, 9, 138, 720, 244, 243, 10, 10, 2092, 821, 0}, 565976, 1131952, 942720},
        {{1}, {864, 16, 16, 144, 720, 288, 288, 9, 8, 2440, 800, 1}, 679320, 1358640, 1111680},
        {{2}, {1650, 18, 0, 370, 1280, 720, 0, 12, 0, 3189, 0, 0}, 1550064, 3100128, 2307200},
        {{3, 8, 12}, {2640, 13, 14, 720, 1920, 540, 540, 9, 9, 1400, 1900, 0},
         3715800, 7431600, 5188800},
        {{4, 5, 9, 10, 13}, {2200, 13, 14, 280, 1920, 540, 540, 9, 9, 740, 1512, 1},
         3098752, 6197504, 5188800},
        {{6, 7}, {2750, 13, 14, 830, 1920, 540, 540, 9, 9, 925, 5327, 0},
         3873440, 7746880, 5188800},
        {{11}, {1980, 18, 0, 700, 1280, 720, 0, 12, 0, 751, 0, 1}, 1859476, 3718952, 2307200},
        // clang-format on
    };
    for (const auto& row : table) {
        for (uint32_t code : row.codes) {
            SCOPED_TRACE("code " + std::to_string(code));
            SignalTiming t;
            ASSERT_EQ(GetSignalTiming(code, t, nullptr), 0);
            EXPECT_EQ(Geometry(t), row.geometry);
            EXPECT_EQ(t.signalFormat, code);
            EXPECT_EQ(PlaneBytes(t), row.plane);
            EXPECT_EQ(GetFrameByteSize(code, kFrameKindSfa), row.sfa);
            EXPECT_EQ(GetFrameByteSize(code, kFrameKindSfm), row.sfm);
            EXPECT_EQ(IsStoredSignalFormat(code), code <= 4 || code == 7 || code == 11);
        }
    }
}

TEST(SignalFormat, FieldRegionsOfTheHalfByteFormatsRoundUpEachRegion) {
    struct Case {
        uint32_t code, field1, field2;
    } cases[] = {
        {0, 284160, 281816}, {2, 1550064, 0}, {6, 1932800, 1940640}, {7, 1932800, 1940640}};
    for (const Case& c : cases) {
        SignalTiming t;
        GetSignalTiming(c.code, t, nullptr);
        EXPECT_EQ(FieldRegionBytes(t, 1), c.field1) << c.code;
        EXPECT_EQ(FieldRegionBytes(t, 2), c.field2) << c.code;
    }
}

TEST(SignalFormat, AudioTiming) {
    // Code 6 is timed at exactly 23 frames a second; the 59.94 rates use the
    // clock divided by 1.001 (the double 74.17582417582419). Codes 12 and 13
    // leave the three fields as the caller had them (here 99, 1.5 and 2.5).
    struct Case {
        uint32_t code;
        int index;
        double clock, samples;
    } cases[] = {{0, 0, 13.5, 1601.6},
                 {1, 1, 13.5, 1920.0},
                 {2, 2, 74.17582417582419, 800.8},
                 {4, 4, 74.17582417582419, 1601.6},
                 {6, 6, 71.15625, 48000.0 / 23},
                 {7, 7, 74.25, 2000.0},
                 {11, 11, 74.25, 960.0},
                 {12, 99, 1.5, 2.5},
                 {13, 99, 1.5, 2.5}};
    for (const Case& c : cases) {
        SignalTiming t;
        t.formatIndex = 99;
        t.sampleClockMHz = 1.5;
        t.audioSamplesPerFrame = 2.5;
        ASSERT_EQ(GetSignalTiming(c.code, t, nullptr), 0);
        EXPECT_EQ(t.formatIndex, c.index);
        EXPECT_EQ(t.sampleClockMHz, c.clock) << c.code;
        EXPECT_EQ(t.audioSamplesPerFrame, c.samples) << c.code;
    }
}

TEST(SignalFormat, UnsupportedCodesAndKindsPrintTheirMessageOrGiveNoSize) {
    std::string printed;
    TraceSink trace = [&](std::string_view line) { printed += line; };
    SignalTiming t;
    t.totalSamplesPerLine = 7;
    EXPECT_EQ(GetSignalTiming(14, t, trace), -1);
    EXPECT_EQ(GetCompactSignalTiming(200, t, trace), -1);
    EXPECT_EQ(printed, "No Support Signal format!\nNo Support Signal format!\n");
    EXPECT_EQ(t.totalSamplesPerLine, 7);
    EXPECT_EQ(GetFrameByteSize(14, kFrameKindSfa), 0u);
    EXPECT_EQ(GetFrameByteSize(14, kFrameKindSfm), 0u);
    EXPECT_EQ(GetFrameByteSize(4, 2), 0u);
}

// The compact layout changes the formats whose lines are no whole number of
// bytes: their line and blanking words, and no pad bytes or extra line.
TEST(SignalFormat, CompactTimingChangesOnlyTheHalfByteFormats) {
    const std::map<uint32_t, std::pair<int, int>> changed = {
        {0, {856, 136}}, {2, {1648, 368}}, {6, {2640, 720}}, {7, {2640, 720}}};
    for (uint32_t code = 0; code <= 13; ++code) {
        SignalTiming full, compact;
        compact.sampleClockMHz = 3.0;
        GetSignalTiming(code, full, nullptr);
        ASSERT_EQ(GetCompactSignalTiming(code, compact, nullptr), 0);
        std::vector<int> want = Geometry(full);
        if (const auto it = changed.find(code); it != changed.end()) {
            want[0] = it->second.first, want[3] = it->second.second;
            want[9] = want[10] = want[11] = 0;
        }
        EXPECT_EQ(Geometry(compact), want) << code;
        EXPECT_EQ(compact.sampleClockMHz, 3.0);  // never written by the compact lookup
    }
}

TEST(SignalFormat, PacketIdentifiers) {
    const uint16_t expected[3][4] = {
        {0x1EF, 0x2EE, 0x2ED, 0x1EC}, {0x2FF, 0x1FD, 0x1FB, 0x2F9}, {0x1FE, 0x2FC, 0x2FA, 0x1F8}};
    for (int kind = 1; kind <= 3; ++kind) {
        for (uint16_t group = 0; group < 4; ++group) {
            EXPECT_EQ(GetAudioPacketDid(kind, group), expected[kind - 1][group]);
        }
    }
    EXPECT_EQ(GetAudioPacketDid(2, 4), 0);
    EXPECT_EQ(GetAudioPacketDid(0, 0), 0);
    EXPECT_EQ(GetAudioPacketDid(4, 0), 0);

    struct Case {
        std::vector<uint16_t> words;
        uint32_t index, expected;
    } cases[] = {
        {{0x000, 0x3FF, 0x3FF, 0x2FF}, 0, 2},
        {{0x000, 0x3FF, 0x3FE, 0x2FF}, 0, 0},
        {{0x000, 0x3FF, 0x3FF, 0x1EC}, 0, 1},
        {{0x000, 0x3FF, 0x3FF, 0x1F8}, 0, 3},
        {{0x000, 0x3FF, 0x3FF, 0x2E7}, 0, 0},  // high-definition data: not in the table
        {{0x040, 0x000, 0x3FF, 0x3FF, 0x2FC}, 1, 3},
        {{0x000, 0x3FF, 0x3FF}, 0, 0},  // cut short: no packet
    };
    for (const Case& c : cases) EXPECT_EQ(ClassifyAncPacket(c.words, c.index), c.expected);
}

}  // namespace
}  // namespace fmconv
