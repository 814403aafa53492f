// Bit-addressed access to frame rasters: streams of 10-bit words packed most
// significant bit first, where a line, a packet or a picture may start in the
// middle of a byte. Positions count bits from the most significant bit of the
// first byte of the buffer.
//
// Every function here stays inside the buffer it is given: bits beyond its end
// read as 0 and writes beyond its end are dropped, so a packet or a line that
// would run past a frame can never touch memory outside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace fmconv {

// Writes the words (their low 10 bits) at bitPos, leaving every other bit of
// the buffer as it was (the partial first and last bytes are merged). Returns
// the number of bytes touched inside the buffer.
std::size_t PackWords(std::span<uint8_t> dest, uint64_t bitPos, std::span<const uint16_t> words);

// Reads words.size() 10-bit words starting at bitPos.
void UnpackWords(std::span<const uint8_t> src, uint64_t bitPos, std::span<uint16_t> words);

// One 10-bit word at bitPos.
uint16_t ReadWordAt(std::span<const uint8_t> src, uint64_t bitPos);

// Copies bitCount bits from src at srcBit to dest at destBit; the bits of
// dest around the copied run keep their values. When both buffers start at
// the same byte, the copy is safe as long as destBit <= srcBit (the run is
// read and written front to back), which is how lines are moved down in place.
void CopyBits(std::span<uint8_t> dest, uint64_t destBit, std::span<const uint8_t> src,
              uint64_t srcBit, uint64_t bitCount);

// Fills byteCount bytes from dest[offset] with the value repeated as a word
// stream that starts on that byte (a last partial word is cut at the end).
void FillWordPattern(std::span<uint8_t> dest, std::size_t offset, std::size_t byteCount,
                     uint16_t value);

// The phase of a bit position: 0 at bit 0, 1 at bit 6, 2 at bit 4, 3 at bit 2.
inline int PhaseOfBit(uint64_t bitPos) {
    return static_cast<int>((8 - bitPos % 8) % 8 / 2);
}

}  // namespace fmconv
