// SFA frame to SFM frame: the picture is cut out of the full stored raster and
// the embedded audio is read out of the packets into the run's audio set,
// frame after frame, for the WAV writer to write at the end of the run.
//
// The SFM frame made here (big-endian numbers):
//    0   8 SFA header bytes 0-7
//    8  12 the name's characters from the 11th on (see PutFrameNameField)
//   20  16 SFA header bytes 20-35
//   36   4 byte-lane checksum (SfaChecksum)
//   40   4 2 x SFM plane + 16
//   44   1 0x24
//   45   3 SFA header bytes 45-47
//   48   2 0x00 0x00
//   50   2 SFA header bytes 50-51
//   52   8 the SFM plane size, twice
//   60   4 SFA header bytes 60-63
//   64     luma plane, then chroma plane, laid out as an SFM frame of the
//          format (480i and 576i lines with their 60 zero bytes and the
//          2880 zero bytes between the fields; 480i and the high-definition
//          planes end in one line of blanking values)
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "audio/audio_channel_set.h"
#include "audio/signal_format.h"
#include "fmfiles/conversion_context.h"

namespace fmconv {

// Bytes of one plane of the SFM frame made from an SFA frame of `code`
// (471 360, 555 840, 2 594 400 or 1 153 600); 0 for a code above 13.
uint32_t ExtractedSfmPlaneBytes(uint32_t code);

// Makes the SFM frame of the context's current signal format (taken from the
// SFA header byte 49 by the caller) out of the SFA file's bytes, header
// included, and appends the frame's audio to the set. The SFA bytes are
// changed in place (the lines are moved into the compact layout); nothing is
// read or written outside them, and what a short buffer lacks reads as
// zero. sfm must hold 64 + 2 x ExtractedSfmPlaneBytes(code) bytes. Returns
// 0, or -1 after tracing "File Convert Error!\n" when the format is not
// supported (or sfm is too small).
int BuildSfmFromSfa(std::span<uint8_t> sfa, std::span<uint8_t> sfm, std::string_view name,
                    AudioChannelSet& set, const ConversionContext& ctx);

// Appends the samples of one frame (payload = the SFA bytes after the
// header, laid out by the full timing) to the set's channel buffers, least
// significant byte first, and raises its sample count. A group's four
// buffers are made on its first packet, frameCount x (lines of both field
// regions) x 12 bytes each; samples beyond them are dropped.
void ExtractHdAudio(AudioChannelSet& set, const SignalTiming& timing,
                    std::span<const uint8_t> payload);
void ExtractSdAudio(AudioChannelSet& set, const SignalTiming& timing,
                    std::span<const uint8_t> payload);

// Rewrites the payload of a code 0, 2, 6 or 7 frame in place into the
// compact line layout: every line's picture words moved from their exact bit
// position to a whole byte at the compact line pitch, field region 2 right
// after region 1. Other codes are left alone.
void RealignCompactLines(uint32_t code, std::span<uint8_t> payload);

// The four 10-bit words that start at bytes[0] with the given phase: 0, 1, 2
// or 3 for a start at bit 0, 6, 4 or 2 of the first byte (phase 2 is its low
// nibble). Bytes beyond the span read as 0.
std::array<uint16_t, 4> UnpackFourWords(std::span<const uint8_t> bytes, int phase);

}  // namespace fmconv
