// Per-format numbers of the stored video frames: line geometry, the stored
// line order of both planes, frame byte sizes, audio timing and the
// identifiers of embedded audio packets. Every per-format question in the
// converter is answered here, indexed by the 14-valued signal-format code.
#pragma once

#include <cstdint>
#include <span>

#include "base/trace.h"

namespace fmconv {

// Signal-format codes 0 to 13. Only the seven offered by the "SFA Format /
// Audio Source" radios can be chosen; the others exist in the tables only.
enum SignalFormatCode : uint32_t {
    kSignal480i5994 = 0,
    kSignal576i50 = 1,
    kSignal720p5994 = 2,
    kSignal1080i50 = 3,
    kSignal1080i5994 = 4,
    kSignal1080Line30 = 5,
    kSignal1080Line23 = 6,
    kSignal1080PsF24 = 7,
    kSignal1080Line25 = 8,
    kSignal1080Line2997 = 9,
    kSignal1080Line30b = 10,
    kSignal720p50 = 11,
    kSignal1080Line2640NoAudio = 12,
    kSignal1080Line2200NoAudio = 13,
};
constexpr uint32_t kSignalFormatCount = 14;

// True for the codes an SFA header may carry (byte 49): 0, 1, 2, 3, 4, 7, 11.
bool IsStoredSignalFormat(uint32_t code);
// True for the standard-definition codes 0 and 1.
inline bool IsStandardDefinition(uint32_t code) {
    return code <= kSignal576i50;
}

struct SignalTiming {
    uint16_t totalSamplesPerLine = 0;
    uint8_t blankLinesBeforeField1 = 0;
    uint8_t blankLinesBeforeField2 = 0;
    uint16_t hblankSamples = 0;
    uint16_t activeSamples = 0;
    uint16_t activeLinesField1 = 0;
    uint16_t activeLinesField2 = 0;
    uint8_t blankLinesAfterField1 = 0;
    uint8_t blankLinesAfterField2 = 0;
    uint16_t padBytesAfterField1 = 0;
    uint16_t padBytesAfterField2 = 0;
    uint8_t extraLinesAfterField2 = 0;
    uint8_t formatIndex = 0;
    double sampleClockMHz = 0.0;
    double audioSamplesPerFrame = 0.0;
    uint32_t signalFormat = 0;
};

inline constexpr char kNoSupportSignalFormat[] = "No Support Signal format!\n";

// Fills timing for code. Returns 0, or -1 after writing "No Support Signal
// format!\n" to trace when code is above 13 (timing untouched). The audio
// fields (formatIndex, sampleClockMHz, audioSamplesPerFrame) are written for
// codes 0 to 11 only; for 12 and 13 they keep what the record held.
int GetSignalTiming(uint32_t code, SignalTiming& timing, const TraceSink& trace);

// The compact line layout used when audio is read back out of an SFA frame:
// the formats whose lines are not whole bytes get the 1080i/50-like whole-byte
// line lengths and no pad bytes or extra line. Never writes the audio fields.
int GetCompactSignalTiming(uint32_t code, SignalTiming& timing, const TraceSink& trace);

// Lines of each stored field region: blanking before, active, blanking after
// (plus the extra line in region 2).
uint32_t FieldRegionLines(const SignalTiming& timing, int region);
// Bytes of each field region of one plane: its lines rounded up to a whole
// byte, plus the region's pad bytes.
uint32_t FieldRegionBytes(const SignalTiming& timing, int region);
// Bytes of one stored SFA plane (both field regions).
uint32_t PlaneBytes(const SignalTiming& timing);

enum FrameKind : int { kFrameKindSfm = 0, kFrameKindSfa = 1 };
// Payload bytes of one stored frame without its header: kind 0 is the SFM
// picture payload, kind 1 the full SFA raster (both planes). 0 for any other
// kind or a code above 13.
uint32_t GetFrameByteSize(uint32_t code, int kind);

// Data identification words (parity included) of the standard-definition
// packets: kind 1 control, 2 data, 3 extended; group 0 to 3. 0 otherwise.
enum AncPacketKind : int { kAncControl = 1, kAncData = 2, kAncExtended = 3 };
uint16_t GetAudioPacketDid(int kind, uint16_t group);

// Classifies the packet whose ancillary data flag starts at words[index]:
// 0 unless the words read 0x000 0x3FF 0x3FF, else 1 control, 2 data,
// 3 extended by the identifier that follows, 0 for any other identifier.
// Words beyond the end of the span count as no packet.
uint32_t ClassifyAncPacket(std::span<const uint16_t> words, uint32_t index);

}  // namespace fmconv
