#include "audio/packed_words.h"

#include <algorithm>
#include <cstring>

namespace fmconv {

namespace {

uint8_t ByteAt(std::span<const uint8_t> src, uint64_t index) {
    return index < src.size() ? src[static_cast<std::size_t>(index)] : 0;
}

// Eight bits starting at an arbitrary bit position.
uint8_t ReadByteAt(std::span<const uint8_t> src, uint64_t bitPos) {
    const uint64_t index = bitPos / 8;
    const unsigned shift = static_cast<unsigned>(bitPos % 8);
    const unsigned pair = static_cast<unsigned>(ByteAt(src, index)) << 8 | ByteAt(src, index + 1);
    return static_cast<uint8_t>(pair >> (8 - shift));
}

// Writes the low `count` bits of value (count <= 16) at bitPos, most
// significant first, dropping what falls beyond the buffer.
void WriteBits(std::span<uint8_t> dest, uint64_t bitPos, uint32_t value, unsigned count) {
    const uint64_t index = bitPos / 8;
    const unsigned shift = static_cast<unsigned>(bitPos % 8);
    // Place the bits in a 24-bit window whose top byte is dest[index].
    const unsigned span = shift + count;  // at most 7 + 16 = 23
    const uint32_t mask = ((1u << count) - 1) << (24 - span);
    const uint32_t bits = (value & ((1u << count) - 1)) << (24 - span);
    for (unsigned b = 0; b * 8 < span; ++b) {
        if (index + b >= dest.size()) return;
        const uint8_t m = static_cast<uint8_t>(mask >> (16 - 8 * b));
        uint8_t& target = dest[static_cast<std::size_t>(index + b)];
        target = static_cast<uint8_t>((target & ~m) | (bits >> (16 - 8 * b) & m));
    }
}

uint32_t ReadBits(std::span<const uint8_t> src, uint64_t bitPos, unsigned count) {
    const uint64_t index = bitPos / 8;
    const unsigned shift = static_cast<unsigned>(bitPos % 8);
    const uint32_t window = static_cast<uint32_t>(ByteAt(src, index)) << 16 |
                            static_cast<uint32_t>(ByteAt(src, index + 1)) << 8 |
                            ByteAt(src, index + 2);
    return window >> (24 - shift - count) & ((1u << count) - 1);
}

}  // namespace

std::size_t PackWords(std::span<uint8_t> dest, uint64_t bitPos, std::span<const uint16_t> words) {
    // The bits gather in an accumulator, seeded with the bits of the first
    // byte that come before bitPos, and leave it a byte at a time; the last
    // partial byte keeps its other bits.
    uint64_t index = bitPos / 8;
    const unsigned shift = static_cast<unsigned>(bitPos % 8);
    uint64_t acc = shift == 0 ? 0 : ByteAt(dest, index) >> (8 - shift);
    unsigned bits = shift;
    for (const uint16_t word : words) {
        acc = acc << 10 | (word & 0x3FFu);
        bits += 10;
        while (bits >= 8) {
            bits -= 8;
            if (index < dest.size()) dest[static_cast<std::size_t>(index)] = static_cast<uint8_t>(acc >> bits);
            ++index;
        }
        acc &= (uint64_t{1} << bits) - 1;
    }
    if (bits > 0 && index < dest.size()) {
        uint8_t& last = dest[static_cast<std::size_t>(index)];
        const unsigned keep = 8 - bits;
        last = static_cast<uint8_t>(acc << keep | (last & ((1u << keep) - 1)));
    }
    const uint64_t first = bitPos / 8;
    const uint64_t end = std::min<uint64_t>((bitPos + 10 * words.size() + 7) / 8, dest.size());
    return end > first ? static_cast<std::size_t>(end - first) : 0;
}

void UnpackWords(std::span<const uint8_t> src, uint64_t bitPos, std::span<uint16_t> words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<uint16_t>(ReadBits(src, bitPos + 10 * i, 10));
    }
}

uint16_t ReadWordAt(std::span<const uint8_t> src, uint64_t bitPos) {
    return static_cast<uint16_t>(ReadBits(src, bitPos, 10));
}

void CopyBits(std::span<uint8_t> dest, uint64_t destBit, std::span<const uint8_t> src,
              uint64_t srcBit, uint64_t bitCount) {
    // Nothing can be written at or beyond the end of dest.
    const uint64_t destBits = uint64_t{dest.size()} * 8;
    if (destBit >= destBits) return;
    bitCount = std::min(bitCount, destBits - destBit);

    // Head: single bits up to the next byte boundary of dest.
    while (bitCount > 0 && destBit % 8 != 0) {
        WriteBits(dest, destBit++, ReadBits(src, srcBit++, 1), 1);
        --bitCount;
    }
    // Body: whole destination bytes.
    uint64_t out = destBit / 8;
    uint64_t whole = bitCount / 8;
    if (srcBit % 8 == 0) {
        const uint64_t in = srcBit / 8;
        const uint64_t available = in < src.size() ? std::min<uint64_t>(whole, src.size() - in) : 0;
        // memmove: the in-place line moves of the compact layout overlap.
        if (available > 0) {
            std::memmove(&dest[static_cast<std::size_t>(out)], &src[static_cast<std::size_t>(in)],
                         static_cast<std::size_t>(available));
        }
        if (whole > available) {
            std::memset(&dest[static_cast<std::size_t>(out + available)], 0,
                        static_cast<std::size_t>(whole - available));
        }
    } else {
        const unsigned shift = static_cast<unsigned>(srcBit % 8);
        uint64_t in = srcBit / 8;
        // Bytes whose two source bytes are both inside src, read front to back.
        uint64_t fast = 0;
        if (in + 1 < src.size()) fast = std::min<uint64_t>(whole, src.size() - in - 1);
        const uint8_t* s = src.data() + in;
        uint8_t* d = dest.data() + out;
        for (uint64_t i = 0; i < fast; ++i) {
            d[i] = static_cast<uint8_t>((s[i] << shift) | (s[i + 1] >> (8 - shift)));
        }
        for (uint64_t i = fast; i < whole; ++i) d[i] = ReadByteAt(src, srcBit + 8 * i);
    }
    destBit += whole * 8;
    srcBit += whole * 8;
    bitCount -= whole * 8;
    // Tail: the bits of a last partial byte.
    if (bitCount > 0) {
        WriteBits(dest, destBit, ReadBits(src, srcBit, static_cast<unsigned>(bitCount)),
                  static_cast<unsigned>(bitCount));
    }
}

void FillWordPattern(std::span<uint8_t> dest, std::size_t offset, std::size_t byteCount,
                     uint16_t value) {
    if (offset >= dest.size()) return;
    byteCount = std::min(byteCount, dest.size() - offset);
    // Four words make five bytes; a tile of eight such groups is copied on.
    uint8_t tile[40];
    const uint64_t group = uint64_t{value & 0x3FFu} *
                           ((uint64_t{1} << 30) + (uint64_t{1} << 20) + (uint64_t{1} << 10) + 1);
    for (int g = 0; g < 8; ++g) {
        for (int b = 0; b < 5; ++b) tile[5 * g + b] = static_cast<uint8_t>(group >> (32 - 8 * b));
    }
    // The pattern is laid once, then copied on from what is already laid,
    // doubling each time (its period, five bytes, divides every length).
    uint8_t* out = dest.data() + offset;
    std::size_t done = std::min(sizeof tile, byteCount);
    std::memcpy(out, tile, done);
    while (done < byteCount) {
        const std::size_t n = std::min(done, byteCount - done);
        std::memcpy(out + done, out, n);
        done += n;
    }
}

}  // namespace fmconv
