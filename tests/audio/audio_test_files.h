// Inputs the audio tests build for themselves: WAV files, SFM frames with a
// varied picture, and a plain bit-by-bit reader of packed 10-bit words to
// check the engine's packing against.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fmfiles/sfm_file.h"

namespace fmconv::testing {

// A RIFF/WAVE PCM file: "fmt " (16 bytes) and "data" chunks. Samples are
// interleaved frame by frame and written little-endian in bits / 8 bytes
// (8-bit samples as the raw unsigned byte).
std::vector<uint8_t> MakeWav(uint16_t channels, uint16_t bits, uint32_t rate,
                             const std::vector<uint32_t>& interleaved);

// The samples of a mono 24-bit WAV file as this converter writes them
// (44-byte header), least significant byte first.
std::vector<uint32_t> ReadMono24Wav(const std::string& path);

// The 10-bit word at any bit position, read one bit at a time (0 beyond the end).
uint16_t PlainWordAt(const std::vector<uint8_t>& bytes, uint64_t bitPos);

// An SFM frame of the layout named `name` whose samples are random but in
// range (Y 64..940, C 64..960).
std::vector<uint8_t> MakeVariedSfm(const FrameLayout& layout, const std::string& name,
                                   uint32_t seed);

// The frame format whose SFM layout fits signal-format code.
int FrameFormatOf(uint32_t code);

}  // namespace fmconv::testing
