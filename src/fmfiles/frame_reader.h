// The frame reader: recognises an SFM, SFA, SF1 or SF3 file by its content
// (whatever its name), reads its header field by field, checks it against
// the file and the format tables, and keeps the embedded frame's bytes for
// the audio census and the picture decode. It never changes a file.
//
// What it looks at:
//   bytes 0-7     "QVX 0001"
//   byte 48       0x00 picture frame (SFM); 0x80, 0x81, 0x8F frame with audio (SFA)
//   byte 49       SFA: the signal-format code
//   bytes 36-39   the stored checksum
//   bytes 40-43   the byte count from offset 48 to the end of the frame
//   bytes 52, 56  the plane size, twice
//   last 304      a register trailer ("SFM1" at 256, the inner name at 264,
//                 "VVVV" at 300) makes an SFM an SF1 and an SFA an SF3
//
// Bad input is reported, never trusted: the file's size is taken first, and
// at most one frame's worth of bytes (what the header's geometry needs, never
// more than the largest frame) is read.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "fmfiles/sfm_file.h"

namespace fmconv {

enum class FrameFileKind { kNone, kSfm, kSfa, kSf1, kSf3 };

// "SFM", "SFA", "SF1", "SF3"; "" for kNone.
const char* FrameFileKindName(FrameFileKind kind);

// The two checksum rules of header bytes 36-39: picture frames written from a
// picture carry the XOR of the big-endian words from offset 48; frames with
// audio, and picture frames cut out of them, carry the byte-lane sum (byte k
// the low 8 bits of the sum of the bytes at 48 + k, 52 + k, ...).
enum class ChecksumRule { kWordXor, kByteLaneSum };

// "word-xor", "byte-lane-sum".
const char* ChecksumRuleName(ChecksumRule rule);

// The byte-lane sum of the bytes from offset 48 on (from48 points there).
uint32_t ComputeByteLaneSum(const uint8_t* from48, std::size_t size);

struct FrameChecksum {
    uint32_t stored = 0;
    uint32_t computed = 0;  // by `rule`
    ChecksumRule rule = ChecksumRule::kWordXor;
    bool ok = false;
};

// What the reader needs to know of a signal format to check an SFA header.
// The signal tables live above this layer, which hands them down as a lookup.
struct SfaFormat {
    std::string name;     // the radio caption, such as "1080i/59.94"
    uint32_t planeBytes;  // one plane of the stored raster
};
// The format of an SFA header's byte 49; none for a code no SFA may carry.
using SfaFormatLookup = std::function<std::optional<SfaFormat>(uint32_t code)>;

// The largest frame of any format, header included: 64 + the 1080PsF/24
// SFA payload.
constexpr uint64_t kLargestFrameBytes = 64 + 7746880;

struct FrameFile {
    FrameFileKind kind = FrameFileKind::kNone;
    // One line each; empty when the file is whole and consistent.
    std::vector<std::string> problems;
    std::optional<uint64_t> fileBytes;  // none when the file could not be opened
    // The radio caption of the picture format (SFM, SF1) or of the signal
    // format (SFA, SF3); none when the header names no known format.
    std::optional<std::string> format;
    const FrameLayout* layout = nullptr;   // SFM, SF1: the picture layout
    std::optional<uint32_t> signalFormat;  // SFA, SF3: the known code of byte 49
    std::optional<FrameChecksum> checksum;
    std::optional<std::string> innerName;  // SF1, SF3: the trailer's name
    // The embedded frame's bytes, header first, as far as they were read: up
    // to the size its format gives (bytes 40-43 when the format is unknown),
    // never beyond the frame or kLargestFrameBytes.
    std::vector<uint8_t> frame;
    // True when `frame` holds every byte of the known format's frame.
    bool complete = false;

    bool ok() const { return kind != FrameFileKind::kNone && problems.empty(); }
    bool hasAudio() const { return kind == FrameFileKind::kSfa || kind == FrameFileKind::kSf3; }
};

// Reads and checks the file at path.
FrameFile ReadFrameFile(const std::string& path, const SfaFormatLookup& sfaFormats);

// The same for a file's bytes already in memory.
FrameFile ReadFrameBytes(std::span<const uint8_t> bytes, const SfaFormatLookup& sfaFormats);

}  // namespace fmconv
