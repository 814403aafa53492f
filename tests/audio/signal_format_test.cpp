#include "audio/signal_format.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace fmconv {
namespace {

struct Geometry {
    std::vector<uint32_t> codes;
    uint16_t total, beforeF1, beforeF2, hblank, active, f1, f2, afterF1, afterF2, padF1, padF2,
        extra;
    uint32_t plane, sfa, sfm;
};

const std::vector<Geometry> kTable = {
    {{0}, 858, 9, 9, 138, 720, 244, 243, 10, 10, 2092, 821, 0, 565976, 1131952, 942720},
    {{1}, 864, 16, 16, 144, 720, 288, 288, 9, 8, 2440, 800, 1, 679320, 1358640, 1111680},
    {{2}, 1650, 18, 0, 370, 1280, 720, 0, 12, 0, 3189, 0, 0, 1550064, 3100128, 2307200},
    {{3, 8, 12}, 2640, 13, 14, 720, 1920, 540, 540, 9, 9, 1400, 1900, 0, 3715800, 7431600, 5188800},
    {{4, 5, 9, 10, 13},
     2200,
     13,
     14,
     280,
     1920,
     540,
     540,
     9,
     9,
     740,
     1512,
     1,
     3098752,
     6197504,
     5188800},
    {{6, 7}, 2750, 13, 14, 830, 1920, 540, 540, 9, 9, 925, 5327, 0, 3873440, 7746880, 5188800},
    {{11}, 1980, 18, 0, 700, 1280, 720, 0, 12, 0, 751, 0, 1, 1859476, 3718952, 2307200},
};

TEST(SignalFormat, EveryCodeHasItsGeometryAndFrameSizes) {
    for (const Geometry& g : kTable) {
        for (uint32_t code : g.codes) {
            SCOPED_TRACE("code " + std::to_string(code));
            SignalTiming t;
            ASSERT_EQ(GetSignalTiming(code, t, nullptr), 0);
            EXPECT_EQ(t.totalSamplesPerLine, g.total);
            EXPECT_EQ(t.blankLinesBeforeField1, g.beforeF1);
            EXPECT_EQ(t.blankLinesBeforeField2, g.beforeF2);
            EXPECT_EQ(t.hblankSamples, g.hblank);
            EXPECT_EQ(t.hblankSamples + t.activeSamples, t.totalSamplesPerLine);
            EXPECT_EQ(t.activeSamples, g.active);
            EXPECT_EQ(t.activeLinesField1, g.f1);
            EXPECT_EQ(t.activeLinesField2, g.f2);
            EXPECT_EQ(t.blankLinesAfterField1, g.afterF1);
            EXPECT_EQ(t.blankLinesAfterField2, g.afterF2);
            EXPECT_EQ(t.padBytesAfterField1, g.padF1);
            EXPECT_EQ(t.padBytesAfterField2, g.padF2);
            EXPECT_EQ(t.extraLinesAfterField2, g.extra);
            EXPECT_EQ(t.signalFormat, code);
            EXPECT_EQ(PlaneBytes(t), g.plane);
            EXPECT_EQ(GetFrameByteSize(code, kFrameKindSfa), g.sfa);
            EXPECT_EQ(GetFrameByteSize(code, kFrameKindSfm), g.sfm);
            EXPECT_EQ(GetFrameByteSize(code, 2), 0u);
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
    // clock divided by 1.001 (the double 74.17582417582419).
    struct Case {
        uint32_t code;
        double clock, samples;
    } cases[] = {{0, 13.5, 1601.6},
                 {1, 13.5, 1920.0},
                 {2, 74.17582417582419, 800.8},
                 {4, 74.17582417582419, 1601.6},
                 {6, 71.15625, 48000.0 / 23},
                 {7, 74.25, 2000.0},
                 {11, 74.25, 960.0}};
    for (const Case& c : cases) {
        SignalTiming t;
        ASSERT_EQ(GetSignalTiming(c.code, t, nullptr), 0);
        EXPECT_EQ(t.formatIndex, c.code);
        EXPECT_EQ(t.sampleClockMHz, c.clock) << c.code;
        EXPECT_EQ(t.audioSamplesPerFrame, c.samples) << c.code;
    }
}

TEST(SignalFormat, Codes12And13LeaveTheAudioFieldsAsTheCallerHadThem) {
    for (uint32_t code : {12u, 13u}) {
        SignalTiming t;
        t.formatIndex = 99;
        t.sampleClockMHz = 1.5;
        t.audioSamplesPerFrame = 2.5;
        ASSERT_EQ(GetSignalTiming(code, t, nullptr), 0);
        EXPECT_EQ(t.formatIndex, 99);
        EXPECT_EQ(t.sampleClockMHz, 1.5);
        EXPECT_EQ(t.audioSamplesPerFrame, 2.5);
        EXPECT_EQ(t.signalFormat, code);
    }
}

TEST(SignalFormat, UnsupportedCodesPrintTheirMessage) {
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
}

TEST(SignalFormat, CompactTimingChangesOnlyTheHalfByteFormats) {
    struct Case {
        uint32_t code;
        uint16_t total, hblank;
    } changed[] = {{0, 856, 136}, {2, 1648, 368}, {6, 2640, 720}, {7, 2640, 720}};
    for (const Case& c : changed) {
        SignalTiming t;
        t.sampleClockMHz = 3.0;
        ASSERT_EQ(GetCompactSignalTiming(c.code, t, nullptr), 0);
        EXPECT_EQ(t.totalSamplesPerLine, c.total);
        EXPECT_EQ(t.hblankSamples, c.hblank);
        EXPECT_EQ(t.padBytesAfterField1, 0);
        EXPECT_EQ(t.padBytesAfterField2, 0);
        EXPECT_EQ(t.extraLinesAfterField2, 0);
        EXPECT_EQ(t.sampleClockMHz, 3.0);  // never written by the compact lookup
    }
    for (uint32_t code : {1u, 3u, 4u, 5u, 8u, 9u, 10u, 11u, 12u, 13u}) {
        SignalTiming full, compact;
        GetSignalTiming(code, full, nullptr);
        GetCompactSignalTiming(code, compact, nullptr);
        EXPECT_EQ(compact.totalSamplesPerLine, full.totalSamplesPerLine) << code;
        EXPECT_EQ(compact.padBytesAfterField1, full.padBytesAfterField1) << code;
        EXPECT_EQ(compact.padBytesAfterField2, full.padBytesAfterField2) << code;
        EXPECT_EQ(compact.extraLinesAfterField2, full.extraLinesAfterField2) << code;
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
}

TEST(SignalFormat, ClassifyAncPacket) {
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
