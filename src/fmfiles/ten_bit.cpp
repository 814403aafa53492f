#include "fmfiles/ten_bit.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define FMCONV_X86 1
#endif

namespace fmconv {

void PackTenBitPlain(const uint16_t* samples, std::size_t count, uint8_t* out) {
    for (std::size_t i = 0; i + 4 <= count; i += 4, out += 5) {
        const uint64_t group = uint64_t{samples[i] & 0x3FFu} << 30 |
                               uint64_t{samples[i + 1] & 0x3FFu} << 20 |
                               uint64_t{samples[i + 2] & 0x3FFu} << 10 | (samples[i + 3] & 0x3FFu);
        out[0] = static_cast<uint8_t>(group >> 32);
        out[1] = static_cast<uint8_t>(group >> 24);
        out[2] = static_cast<uint8_t>(group >> 16);
        out[3] = static_cast<uint8_t>(group >> 8);
        out[4] = static_cast<uint8_t>(group);
    }
}

namespace {

#ifdef FMCONV_X86

// Sixteen samples at a time: pairs joined to 20 bits (s0 x 1024 + s1), the
// two of each 64-bit lane joined to 40, and the five low bytes of every lane
// picked out most significant first.
__attribute__((target("avx2"))) inline __m256i PackSixteen(const uint16_t* samples) {
    const __m256i s = _mm256_and_si256(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples)), _mm256_set1_epi16(0x3FF));
    const __m256i pairs = _mm256_madd_epi16(s, _mm256_set1_epi32(0x00010400));
    const __m256i low = _mm256_and_si256(pairs, _mm256_set1_epi64x(0xFFFFFFFF));
    const __m256i joined = _mm256_or_si256(_mm256_slli_epi64(low, 20), _mm256_srli_epi64(pairs, 32));
    const __m256i order =
        _mm256_setr_epi8(4, 3, 2, 1, 0, 12, 11, 10, 9, 8, -1, -1, -1, -1, -1, -1,  //
                         4, 3, 2, 1, 0, 12, 11, 10, 9, 8, -1, -1, -1, -1, -1, -1);
    return _mm256_shuffle_epi8(joined, order);
}

__attribute__((target("avx2"))) void PackTenBitAvx2(const uint16_t* samples, std::size_t count,
                                                    uint8_t* out) {
    std::size_t i = 0;
    // Each block stores 16 bytes twice, ten apart: the six bytes stored
    // beyond the block's twenty belong to the next block, which comes after.
    for (; i + 32 <= count; i += 16, out += 20) {
        const __m256i packed = PackSixteen(samples + i);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 10), _mm256_extracti128_si256(packed, 1));
    }
    if (i + 16 <= count) {  // the last block stores no further than its own bytes
        alignas(32) uint8_t block[32];
        _mm256_store_si256(reinterpret_cast<__m256i*>(block), PackSixteen(samples + i));
        std::memcpy(out, block, 10);
        std::memcpy(out + 10, block + 16, 10);
        i += 16;
        out += 20;
    }
    PackTenBitPlain(samples + i, count - i, out);
}

bool HasAvx2() {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

#endif

}  // namespace

void PackTenBit(const uint16_t* samples, std::size_t count, uint8_t* out) {
#ifdef FMCONV_X86
    if (HasAvx2()) return PackTenBitAvx2(samples, count, out);
#endif
    PackTenBitPlain(samples, count, out);
}

void UnpackTenBit(const uint8_t* bytes, std::size_t count, uint16_t* samples) {
    for (std::size_t i = 0; i + 4 <= count; i += 4, bytes += 5) {
        const uint64_t group = uint64_t{bytes[0]} << 32 | uint64_t{bytes[1]} << 24 |
                               uint64_t{bytes[2]} << 16 | uint64_t{bytes[3]} << 8 | bytes[4];
        samples[i] = static_cast<uint16_t>(group >> 30 & 0x3FF);
        samples[i + 1] = static_cast<uint16_t>(group >> 20 & 0x3FF);
        samples[i + 2] = static_cast<uint16_t>(group >> 10 & 0x3FF);
        samples[i + 3] = static_cast<uint16_t>(group & 0x3FF);
    }
}

void FillTenBit(uint16_t value, std::size_t count, uint8_t* out) {
    const uint16_t four[4] = {value, value, value, value};
    uint8_t pattern[5];
    PackTenBitPlain(four, 4, pattern);
    for (std::size_t i = 0; i + 4 <= count; i += 4, out += 5) std::memcpy(out, pattern, 5);
}

}  // namespace fmconv
