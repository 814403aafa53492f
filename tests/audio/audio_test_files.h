// Inputs the audio tests build for themselves, and a plain reader of packed words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fmfiles/sfm_file.h"

namespace fmconv::testing {

// A PCM WAV file, its samples interleaved, little-endian in bits / 8 bytes.
std::vector<uint8_t> MakeWav(uint16_t channels, uint16_t bits, uint32_t rate,
                             const std::vector<uint32_t>& interleaved);

// The samples of a mono 24-bit WAV file with a 44-byte header.
std::vector<uint32_t> ReadMono24Wav(const std::string& path);

// The 10-bit word at any bit position, read one bit at a time (0 beyond the end).
uint16_t PlainWordAt(const std::vector<uint8_t>& bytes, uint64_t bitPos);

// An SFM frame of the layout named `name`, random samples in range.
std::vector<uint8_t> MakeVariedSfm(const FrameLayout& layout, const std::string& name,
                                   uint32_t seed);

// The frame format whose SFM layout fits signal-format code.
int FrameFormatOf(uint32_t code);

}  // namespace fmconv::testing
