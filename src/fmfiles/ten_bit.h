// 10-bit sample packing: samples form one continuous big-endian bit stream,
// four samples in five bytes.
//
//   byte 0: s0 bits 9..2          byte 3: s2 bits 5..0, s3 bits 9..8
//   byte 1: s0 bits 1..0, s1 9..4 byte 4: s3 bits 7..0
//   byte 2: s1 bits 3..0, s2 9..6
#pragma once

#include <cstddef>
#include <cstdint>

namespace fmconv {

// Packs count samples (a multiple of 4, each 0..1023) into count * 5 / 4 bytes,
// sixteen at a time where the processor has AVX2; nothing beyond those bytes
// is touched.
void PackTenBit(const uint16_t* samples, std::size_t count, uint8_t* out);
// The same four samples at a time, whatever the processor (the reference of
// the fast path, and its fallback).
void PackTenBitPlain(const uint16_t* samples, std::size_t count, uint8_t* out);

// Unpacks count samples (a multiple of 4) from count * 5 / 4 bytes.
void UnpackTenBit(const uint8_t* bytes, std::size_t count, uint16_t* samples);

// Fills count samples' worth of bytes (count a multiple of 4) with one value.
void FillTenBit(uint16_t value, std::size_t count, uint8_t* out);

}  // namespace fmconv
