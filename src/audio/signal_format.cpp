#include "audio/signal_format.h"

#include <array>

namespace fmconv {

namespace {

struct Geometry {
    uint16_t total;
    uint8_t beforeF1, beforeF2;
    uint16_t hblank, active, f1Lines, f2Lines;
    uint8_t afterF1, afterF2;
    uint16_t padF1, padF2;
    uint8_t extra;
};

// One row per line geometry; codes sharing a row share every field but the
// audio timing.
constexpr Geometry k525{858, 9, 9, 138, 720, 244, 243, 10, 10, 2092, 821, 0};
constexpr Geometry k625{864, 16, 16, 144, 720, 288, 288, 9, 8, 2440, 800, 1};
constexpr Geometry k750at5994{1650, 18, 0, 370, 1280, 720, 0, 12, 0, 3189, 0, 0};
constexpr Geometry k1125at2640{2640, 13, 14, 720, 1920, 540, 540, 9, 9, 1400, 1900, 0};
constexpr Geometry k1125at2200{2200, 13, 14, 280, 1920, 540, 540, 9, 9, 740, 1512, 1};
constexpr Geometry k1125at2750{2750, 13, 14, 830, 1920, 540, 540, 9, 9, 925, 5327, 0};
constexpr Geometry k750at50{1980, 18, 0, 700, 1280, 720, 0, 12, 0, 751, 0, 1};

constexpr std::array<const Geometry*, kSignalFormatCount> kGeometry = {
    &k525,        &k625,        &k750at5994,  &k1125at2640, &k1125at2200,
    &k1125at2200, &k1125at2750, &k1125at2750, &k1125at2640, &k1125at2200,
    &k1125at2200, &k750at50,    &k1125at2640, &k1125at2200,
};

struct AudioTiming {
    double sampleClockMHz;
    double audioSamplesPerFrame;
};

// Code 6 is timed as exactly 23 frames per second; that is the row's design.
constexpr std::array<AudioTiming, 12> kAudioTiming = {{
    {13.5, 1601.6},
    {13.5, 1920.0},
    {74.25 / 1.001, 800.8},
    {74.25, 1920.0},
    {74.25 / 1.001, 1601.6},
    {74.25, 1600.0},
    {71.15625, 48000.0 / 23.0},
    {74.25, 2000.0},
    {74.25, 1920.0},
    {74.25 / 1.001, 1601.6},
    {74.25, 1600.0},
    {74.25, 960.0},
}};

// SFM picture payload by code (kind 0): twice the picture plane of the
// matching frame layout.
constexpr std::array<uint32_t, kSignalFormatCount> kSfmPayload = {
    942720,  1111680, 2307200, 5188800, 5188800, 5188800, 5188800,
    5188800, 5188800, 5188800, 5188800, 2307200, 5188800, 5188800,
};

void FillGeometry(const Geometry& g, SignalTiming& t) {
    t.totalSamplesPerLine = g.total;
    t.blankLinesBeforeField1 = g.beforeF1;
    t.blankLinesBeforeField2 = g.beforeF2;
    t.hblankSamples = g.hblank;
    t.activeSamples = g.active;
    t.activeLinesField1 = g.f1Lines;
    t.activeLinesField2 = g.f2Lines;
    t.blankLinesAfterField1 = g.afterF1;
    t.blankLinesAfterField2 = g.afterF2;
    t.padBytesAfterField1 = g.padF1;
    t.padBytesAfterField2 = g.padF2;
    t.extraLinesAfterField2 = g.extra;
}

}  // namespace

bool IsStoredSignalFormat(uint32_t code) {
    switch (code) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
        case 7:
        case 11:
            return true;
        default:
            return false;
    }
}

int GetSignalTiming(uint32_t code, SignalTiming& timing, const TraceSink& trace) {
    if (code >= kSignalFormatCount) {
        Trace(trace, kNoSupportSignalFormat);
        return -1;
    }
    FillGeometry(*kGeometry[code], timing);
    if (code < kAudioTiming.size()) {
        timing.formatIndex = static_cast<uint8_t>(code);
        timing.sampleClockMHz = kAudioTiming[code].sampleClockMHz;
        timing.audioSamplesPerFrame = kAudioTiming[code].audioSamplesPerFrame;
    }
    timing.signalFormat = code;
    return 0;
}

int GetCompactSignalTiming(uint32_t code, SignalTiming& timing, const TraceSink& trace) {
    if (code >= kSignalFormatCount) {
        Trace(trace, kNoSupportSignalFormat);
        return -1;
    }
    FillGeometry(*kGeometry[code], timing);
    // The formats whose lines end mid-byte get whole-byte lines, and lose
    // their pad bytes and extra line.
    switch (code) {
        case kSignal480i5994:
            timing.totalSamplesPerLine = 856;
            timing.hblankSamples = 136;
            break;
        case kSignal720p5994:
            timing.totalSamplesPerLine = 1648;
            timing.hblankSamples = 368;
            break;
        case kSignal1080Line23:
        case kSignal1080PsF24:
            timing.totalSamplesPerLine = 2640;
            timing.hblankSamples = 720;
            break;
        default:
            timing.signalFormat = code;
            return 0;
    }
    timing.padBytesAfterField1 = 0;
    timing.padBytesAfterField2 = 0;
    timing.extraLinesAfterField2 = 0;
    timing.signalFormat = code;
    return 0;
}

uint32_t FieldRegionLines(const SignalTiming& t, int region) {
    if (region == 1)
        return t.blankLinesBeforeField1 + t.activeLinesField1 + t.blankLinesAfterField1;
    return t.blankLinesBeforeField2 + t.activeLinesField2 + t.blankLinesAfterField2 +
           t.extraLinesAfterField2;
}

uint32_t FieldRegionBytes(const SignalTiming& t, int region) {
    const uint64_t bits = uint64_t{FieldRegionLines(t, region)} * t.totalSamplesPerLine * 10;
    const uint32_t pad = region == 1 ? t.padBytesAfterField1 : t.padBytesAfterField2;
    return static_cast<uint32_t>((bits + 7) / 8) + pad;
}

uint32_t PlaneBytes(const SignalTiming& t) {
    return FieldRegionBytes(t, 1) + FieldRegionBytes(t, 2);
}

uint32_t GetFrameByteSize(uint32_t code, int kind) {
    if (code >= kSignalFormatCount) return 0;
    if (kind == kFrameKindSfm) return kSfmPayload[code];
    if (kind != kFrameKindSfa) return 0;
    SignalTiming timing;
    GetSignalTiming(code, timing, nullptr);
    return 2 * PlaneBytes(timing);
}

uint16_t GetAudioPacketDid(int kind, uint16_t group) {
    static constexpr uint16_t kDid[3][4] = {
        {0x1EF, 0x2EE, 0x2ED, 0x1EC},  // control
        {0x2FF, 0x1FD, 0x1FB, 0x2F9},  // data
        {0x1FE, 0x2FC, 0x2FA, 0x1F8},  // extended data
    };
    if (kind < kAncControl || kind > kAncExtended || group > 3) return 0;
    return kDid[kind - 1][group];
}

uint32_t ClassifyAncPacket(std::span<const uint16_t> words, uint32_t index) {
    if (uint64_t{index} + 4 > words.size()) return 0;
    if (words[index] != 0x000 || words[index + 1] != 0x3FF || words[index + 2] != 0x3FF) return 0;
    const uint16_t did = words[index + 3];
    for (int kind = kAncControl; kind <= kAncExtended; ++kind) {
        for (uint16_t group = 0; group < 4; ++group) {
            if (GetAudioPacketDid(kind, group) == did) return static_cast<uint32_t>(kind);
        }
    }
    return 0;
}

}  // namespace fmconv
