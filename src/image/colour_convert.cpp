#include "image/colour_convert.h"

#include <array>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define FMCONV_X86 1
#endif

namespace fmconv {

uint16_t ToLuma(ColourMatrix matrix, const Pixel& p) {
    const int64_t r = p.r, g = p.g, b = p.b;
    if (matrix == ColourMatrix::kBt709) {
        return static_cast<uint16_t>((931188 * r + 3132576 * g + 316236 * b + 637500) / 1275000 +
                                     64);
    }
    return static_cast<uint16_t>((261924 * r + 514212 * g + 99864 * b + 127500) / 255000 + 64);
}

YCbCr ToYCbCr(ColourMatrix matrix, const Pixel& p) {
    const int64_t r = p.r, g = p.g, b = p.b;
    if (matrix == ColourMatrix::kBt709) {
        return {
            ToLuma(matrix, p),
            static_cast<uint16_t>((2078272 * b - 476224 * r - 1602048 * g + 606259312) / 1182945),
            static_cast<uint16_t>((1763776 * r - 161728 * b - 1602048 * g + 514516687) / 1003935)};
    }
    return {ToLuma(matrix, p),
            static_cast<uint16_t>((396928 * b - 133952 * r - 262976 * g + 115789125) / 225930),
            static_cast<uint16_t>((314048 * r - 51072 * b - 262976 * g + 91611937) / 178755)};
}

uint16_t ToKeyLuma(ColourMatrix matrix, uint8_t alpha) {
    const int64_t a = alpha;
    if (matrix == ColourMatrix::kBt709) {
        return static_cast<uint16_t>((4380000 * a + 637500) / 1275000 + 64);
    }
    return static_cast<uint16_t>((876000 * a + 127500) / 255000 + 64);
}

namespace {

// floor(n / d) == (n * multiplier) >> shift for every n below 2^31: the
// reciprocal is rounded up by less than d / 2^shift, and n times that error
// stays below one unit of the quotient because 2^shift >= 2^31 * d.
struct Divisor {
    uint32_t multiplier;
    unsigned shift;
};
constexpr Divisor MakeDivisor(uint32_t d) {
    unsigned bits = 0;
    while ((uint64_t{1} << bits) < d) ++bits;
    const unsigned shift = 31 + bits;
    return {static_cast<uint32_t>((uint64_t{1} << shift) / d + 1), shift};
}
inline uint32_t Divide(uint32_t n, Divisor d) {
    return static_cast<uint32_t>((uint64_t{n} * d.multiplier) >> d.shift);
}

// One matrix: the coefficients of R, G, B in each numerator (the constant
// goes with B), its divisor, and per-channel tables of the products.
struct Formula {
    int32_t r, g, b, constant;
    uint32_t divisor;
};
struct Matrix {
    Formula y, cb, cr, key;  // key: the alpha coefficient in r
};
constexpr Matrix kBt709 = {{931188, 3132576, 316236, 637500, 1275000},
                           {-476224, -1602048, 2078272, 606259312, 1182945},
                           {1763776, -1602048, -161728, 514516687, 1003935},
                           {4380000, 0, 0, 637500, 1275000}};
constexpr Matrix kBt601 = {{261924, 514212, 99864, 127500, 255000},
                           {-133952, -262976, 396928, 115789125, 225930},
                           {314048, -262976, -51072, 91611937, 178755},
                           {876000, 0, 0, 127500, 255000}};

struct FormulaTables {
    int32_t r[256], g[256], b[256];
    Divisor divisor;
};
struct MatrixTables {
    FormulaTables y, cb, cr;
    uint16_t key[256];
};

FormulaTables MakeFormulaTables(const Formula& f) {
    FormulaTables t{};
    for (int v = 0; v < 256; ++v) {
        t.r[v] = f.r * v;
        t.g[v] = f.g * v;
        t.b[v] = f.b * v + f.constant;
    }
    t.divisor = MakeDivisor(f.divisor);
    return t;
}

const MatrixTables& TablesOf(ColourMatrix matrix) {
    static const std::array<MatrixTables, 2> tables = [] {
        std::array<MatrixTables, 2> made{};
        const Matrix* matrices[2] = {&kBt601, &kBt709};
        for (int m = 0; m < 2; ++m) {
            made[m].y = MakeFormulaTables(matrices[m]->y);
            made[m].cb = MakeFormulaTables(matrices[m]->cb);
            made[m].cr = MakeFormulaTables(matrices[m]->cr);
            const Divisor k = MakeDivisor(matrices[m]->key.divisor);
            for (uint32_t a = 0; a < 256; ++a) {
                made[m].key[a] = static_cast<uint16_t>(
                    Divide(static_cast<uint32_t>(matrices[m]->key.r) * a +
                               static_cast<uint32_t>(matrices[m]->key.constant),
                           k) +
                    64);
            }
        }
        return made;
    }();
    return tables[matrix == ColourMatrix::kBt709 ? 1 : 0];
}

inline uint32_t Apply(const FormulaTables& t, const Pixel& p) {
    return Divide(static_cast<uint32_t>(t.r[p.r] + t.g[p.g] + t.b[p.b]), t.divisor);
}

void ConvertTail(const MatrixTables& t, const Pixel* pixels, std::size_t pairs, uint16_t* y,
                 uint16_t* c, uint16_t* keyY) {
    for (std::size_t i = 0; i < pairs; ++i) {
        const Pixel& even = pixels[2 * i];
        const Pixel& odd = pixels[2 * i + 1];
        y[2 * i] = static_cast<uint16_t>(Apply(t.y, even) + 64);
        y[2 * i + 1] = static_cast<uint16_t>(Apply(t.y, odd) + 64);
        c[2 * i] = static_cast<uint16_t>(Apply(t.cb, even));
        c[2 * i + 1] = static_cast<uint16_t>(Apply(t.cr, even));
        if (keyY != nullptr) {
            keyY[2 * i] = t.key[even.a];
            keyY[2 * i + 1] = t.key[odd.a];
        }
    }
}

#ifdef FMCONV_X86

struct VectorFormula {
    __m256i r, g, b, constant, multiplier;
    __m128i shift;
};

__attribute__((target("avx2"))) VectorFormula Vectorised(const Formula& f) {
    const Divisor d = MakeDivisor(f.divisor);
    return {_mm256_set1_epi32(f.r),
            _mm256_set1_epi32(f.g),
            _mm256_set1_epi32(f.b),
            _mm256_set1_epi32(f.constant),
            _mm256_set1_epi32(static_cast<int32_t>(d.multiplier)),
            _mm_cvtsi32_si128(static_cast<int>(d.shift))};
}

// Eight numerators divided: the even and the odd 32-bit lanes are
// multiplied to 64 bits apart, shifted, and put back together.
__attribute__((target("avx2"))) inline __m256i DivideLanes(__m256i n, const VectorFormula& f) {
    const __m256i even = _mm256_srl_epi64(_mm256_mul_epu32(n, f.multiplier), f.shift);
    const __m256i odd =
        _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(n, 32), f.multiplier), f.shift);
    return _mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xAA);
}

// The formula on eight pixels (R, G, B, A bytes in each 32-bit lane).
__attribute__((target("avx2"))) inline __m256i ApplyLanes(__m256i pixels,
                                                          const VectorFormula& f) {
    const __m256i byte = _mm256_set1_epi32(0xFF);
    const __m256i r = _mm256_and_si256(pixels, byte);
    const __m256i g = _mm256_and_si256(_mm256_srli_epi32(pixels, 8), byte);
    const __m256i b = _mm256_and_si256(_mm256_srli_epi32(pixels, 16), byte);
    const __m256i n = _mm256_add_epi32(
        _mm256_add_epi32(_mm256_mullo_epi32(r, f.r), _mm256_mullo_epi32(g, f.g)),
        _mm256_add_epi32(_mm256_mullo_epi32(b, f.b), f.constant));
    return DivideLanes(n, f);
}

__attribute__((target("avx2"))) void ConvertAvx2(ColourMatrix matrix, const Pixel* pixels,
                                                 std::size_t pairs, uint16_t* y, uint16_t* c,
                                                 uint16_t* keyY) {
    const Matrix& m = matrix == ColourMatrix::kBt709 ? kBt709 : kBt601;
    const VectorFormula fy = Vectorised(m.y), fcb = Vectorised(m.cb), fcr = Vectorised(m.cr);
    const VectorFormula fk = Vectorised(m.key);
    const __m256i sixtyFour = _mm256_set1_epi32(64);
    const __m256i evens = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    std::size_t i = 0;
    for (; i + 8 <= pairs; i += 8) {  // sixteen pixels
        const __m256i* in = reinterpret_cast<const __m256i*>(pixels + 2 * i);
        const __m256i p0 = _mm256_loadu_si256(in);
        const __m256i p1 = _mm256_loadu_si256(in + 1);
        const __m256i y0 = _mm256_add_epi32(ApplyLanes(p0, fy), sixtyFour);
        const __m256i y1 = _mm256_add_epi32(ApplyLanes(p1, fy), sixtyFour);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(y + 2 * i),
                            _mm256_permute4x64_epi64(_mm256_packus_epi32(y0, y1), 0xD8));
        // Chroma from the even pixel of each pair, Cb and Cr alternating.
        const __m256i even = _mm256_permute2x128_si256(_mm256_permutevar8x32_epi32(p0, evens),
                                                       _mm256_permutevar8x32_epi32(p1, evens), 0x20);
        const __m256i cb = ApplyLanes(even, fcb);
        const __m256i cr = ApplyLanes(even, fcr);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(c + 2 * i),
                            _mm256_packus_epi32(_mm256_unpacklo_epi32(cb, cr),
                                                _mm256_unpackhi_epi32(cb, cr)));
        if (keyY != nullptr) {
            const __m256i k0 = _mm256_add_epi32(
                DivideLanes(_mm256_add_epi32(_mm256_mullo_epi32(_mm256_srli_epi32(p0, 24), fk.r),
                                             fk.constant),
                            fk),
                sixtyFour);
            const __m256i k1 = _mm256_add_epi32(
                DivideLanes(_mm256_add_epi32(_mm256_mullo_epi32(_mm256_srli_epi32(p1, 24), fk.r),
                                             fk.constant),
                            fk),
                sixtyFour);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(keyY + 2 * i),
                                _mm256_permute4x64_epi64(_mm256_packus_epi32(k0, k1), 0xD8));
        }
    }
    ConvertTail(TablesOf(matrix), pixels + 2 * i, pairs - i, y + 2 * i, c + 2 * i,
                keyY != nullptr ? keyY + 2 * i : nullptr);
}

bool HasAvx2() {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

// Sixteen pixels a round: each 128-bit half takes four pixels' bytes and
// shuffles them into R, G, B, A order (A zero for 3-byte pixels). The loads
// reach up to 32 bytes past the pixels read, which the caller provides.
__attribute__((target("avx2"))) void UnpackBgrAvx2(const uint8_t* bytes, unsigned bytesPerPixel,
                                                   Pixel* pixels, std::size_t count) {
    const __m256i order3 = _mm256_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1,  //
                                            2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const __m256i order4 = _mm256_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15,  //
                                            2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
    const __m256i order = bytesPerPixel == 4 ? order4 : order3;
    const std::size_t step = 4 * bytesPerPixel;  // the bytes of four pixels
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const uint8_t* in = bytes + i * bytesPerPixel;
        const __m256i both = _mm256_setr_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)),
                                               _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + step)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + i), _mm256_shuffle_epi8(both, order));
    }
    for (; i < count; ++i) {
        const uint8_t* in = bytes + i * bytesPerPixel;
        pixels[i] = Pixel{in[2], in[1], in[0], bytesPerPixel == 4 ? in[3] : uint8_t{0}};
    }
}

#endif

}  // namespace

void UnpackBgrPixels(const uint8_t* bytes, unsigned bytesPerPixel, Pixel* pixels,
                     std::size_t count) {
#ifdef FMCONV_X86
    if (HasAvx2()) return UnpackBgrAvx2(bytes, bytesPerPixel, pixels, count);
#endif
    UnpackBgrPixelsPlain(bytes, bytesPerPixel, pixels, count);
}

void UnpackBgrPixelsPlain(const uint8_t* bytes, unsigned bytesPerPixel, Pixel* pixels,
                          std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, bytes += bytesPerPixel) {
        pixels[i] = Pixel{bytes[2], bytes[1], bytes[0], bytesPerPixel == 4 ? bytes[3] : uint8_t{0}};
    }
}

void ConvertPixelPairsPlain(ColourMatrix matrix, const Pixel* pixels, std::size_t pairs,
                            uint16_t* y, uint16_t* c, uint16_t* keyY) {
    ConvertTail(TablesOf(matrix), pixels, pairs, y, c, keyY);
}

void ConvertPixelPairs(ColourMatrix matrix, const Pixel* pixels, std::size_t pairs, uint16_t* y,
                       uint16_t* c, uint16_t* keyY) {
#ifdef FMCONV_X86
    if (HasAvx2()) return ConvertAvx2(matrix, pixels, pairs, y, c, keyY);
#endif
    ConvertPixelPairsPlain(matrix, pixels, pairs, y, c, keyY);
}

}  // namespace fmconv
