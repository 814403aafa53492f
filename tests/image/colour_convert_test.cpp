// The colour formulas: the integer forms against the real formulas they
// stand for, and the fast row converters against the plain formulas, on
// every colour. (Built optimised even in debug builds: 2 x 2^24 colours.)
#include "image/colour_convert.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace fmconv {
namespace {

// Every constant against the formula it stands for, on every colour, halves rounded
// up: Y' = Kr R + Kg G + Kb B (scaled by s), Y = 64 + round(Y' 876/255), Cb = 512 +
// round((B - Y') 896 / (510 (1 - Kb))), Cr likewise, K = 64 + round(A 876/255). The row
// converters, fast (AVX2 where there is one) and plain, give the same on every colour.
TEST(ColourMatrix, IntegerFormsAreTheRoundedRealFormulasAndTheFastPathsEqualThem) {
    const auto round = [](int64_t num, int64_t den) { return (2 * num + den) / (2 * den); };
    const struct {
        ColourMatrix matrix;
        int64_t kr, kg, kb, s;
    } matrices[] = {{ColourMatrix::kBt709, 2126, 7152, 722, 10000},
                    {ColourMatrix::kBt601, 299, 587, 114, 1000}};
    constexpr int kBlock = 4096;  // colours a row: each one as the even pixel of a pair
    std::vector<Pixel> row(2 * kBlock);
    std::vector<uint16_t> y(2 * kBlock), c(2 * kBlock), key(2 * kBlock);
    for (const auto& [matrix, kr, kg, kb, s] : matrices) {
        for (int64_t first = 0; first < (1 << 24); first += kBlock) {
            for (int i = 0; i < kBlock; ++i) {
                const int64_t colour = first + i;
                row[2 * i] = {static_cast<uint8_t>(colour >> 16), static_cast<uint8_t>(colour >> 8),
                              static_cast<uint8_t>(colour), static_cast<uint8_t>(colour)};
                row[2 * i + 1] = row[(2 * i + 2) % (2 * kBlock)];  // another colour, for its Y
            }
            for (const auto convert : {&ConvertPixelPairs, &ConvertPixelPairsPlain}) {
                convert(matrix, row.data(), kBlock, y.data(), c.data(), key.data());
                for (int i = 0; i < kBlock; ++i) {
                    const Pixel& p = row[2 * i];
                    const YCbCr v = ToYCbCr(matrix, p);
                    ASSERT_EQ(y[2 * i], v.y);
                    ASSERT_EQ(y[2 * i + 1], ToLuma(matrix, row[2 * i + 1]));
                    ASSERT_EQ(c[2 * i], v.cb);
                    ASSERT_EQ(c[2 * i + 1], v.cr);
                    ASSERT_EQ(key[2 * i], ToKeyLuma(matrix, p.a));
                }
            }
            if (first % (1 << 16) != 0) continue;  // the real formulas on every 16th block
            for (int i = 0; i < kBlock; ++i) {
                const Pixel& p = row[2 * i];
                const int64_t r = p.r, g = p.g, b = p.b, yy = kr * r + kg * g + kb * b;
                const YCbCr v = ToYCbCr(matrix, p);
                ASSERT_EQ(v.y, round(876 * yy + 64 * 255 * s, 255 * s));
                ASSERT_EQ(v.cb, round(896 * (s * b - yy) + 512 * 510 * (s - kb), 510 * (s - kb)));
                ASSERT_EQ(v.cr, round(896 * (s * r - yy) + 512 * 510 * (s - kr), 510 * (s - kr)));
                ASSERT_EQ(ToKeyLuma(matrix, p.a), round(876 * p.a + 64 * 255, 255));
            }
        }
    }
}

// Rows of random pixels of every length: the fast converter's vector loop and
// its tail agree with the plain one and write nothing beyond the row; so does
// the unpacking of stored pixel bytes.
TEST(ColourMatrix, TheFastRowConverterEqualsThePlainOneOnRandomRows) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 200; ++trial) {
        const std::size_t pairs = random() % 70;
        std::vector<Pixel> row(2 * pairs);
        for (Pixel& p : row) {
            const uint32_t v = random();
            p = {static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v >> 16),
                 static_cast<uint8_t>(v >> 24)};
        }
        const ColourMatrix matrix = trial % 2 ? ColourMatrix::kBt709 : ColourMatrix::kBt601;
        std::vector<uint16_t> out[2][3];
        for (int way = 0; way < 2; ++way) {
            for (auto& o : out[way]) o.assign(2 * pairs + 4, 0xDEAD);
            (way ? ConvertPixelPairsPlain : ConvertPixelPairs)(
                matrix, row.data(), pairs, out[way][0].data(), out[way][1].data(), out[way][2].data());
            for (auto& o : out[way]) EXPECT_EQ(o.back(), 0xDEAD);
        }
        for (int k = 0; k < 3; ++k) EXPECT_EQ(out[0][k], out[1][k]) << pairs;

        // The file's pixel bytes read into pixels the same both ways.
        const unsigned depth = trial % 3 ? 3 : 4;
        std::vector<uint8_t> bytes(2 * pairs * depth + 32);
        for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
        std::vector<Pixel> fast(2 * pairs + 1), plain(2 * pairs + 1);
        UnpackBgrPixels(bytes.data(), depth, fast.data(), 2 * pairs);
        UnpackBgrPixelsPlain(bytes.data(), depth, plain.data(), 2 * pairs);
        EXPECT_EQ(fast, plain);
    }
}

}  // namespace
}  // namespace fmconv
