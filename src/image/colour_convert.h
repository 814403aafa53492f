// The colour conversion of picture frames: 8-bit R, G, B (and alpha for the
// key) into 10-bit Y, Cb, Cr with the exact integer formulas of the two
// matrices, rounding half up:
//
//   BT.709  Y  = (931188 R + 3132576 G + 316236 B + 637500) / 1275000 + 64
//           Cb = (2078272 B - 476224 R - 1602048 G + 606259312) / 1182945
//           Cr = (1763776 R - 161728 B - 1602048 G + 514516687) / 1003935
//           K  = (4380000 A + 637500) / 1275000 + 64
//   BT.601  Y  = (261924 R + 514212 G + 99864 B + 127500) / 255000 + 64
//           Cb = (396928 B - 133952 R - 262976 G + 115789125) / 225930
//           Cr = (314048 R - 51072 B - 262976 G + 91611937) / 178755
//           K  = (876000 A + 127500) / 255000 + 64
//
// Every numerator lies in [0, 2^31) for R, G, B, A in 0..255, so division
// truncates as the formulas mean, and the results never need clipping. The
// plain functions compute the formulas as written and are the reference; the
// row converter computes them without division (a multiply by the divisor's
// reciprocal, exact for every numerator below 2^31) and, where the processor
// has AVX2, eight pixels at a time. Tests hold it equal to the reference for
// all 2^24 colours in both matrices.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fmfiles/sfm_file.h"
#include "image/picture_reader.h"

namespace fmconv {

struct YCbCr {
    uint16_t y, cb, cr;
};

// The formulas as written, one pixel at a time.
YCbCr ToYCbCr(ColourMatrix matrix, const Pixel& pixel);
uint16_t ToLuma(ColourMatrix matrix, const Pixel& pixel);
// Alpha 0..255 as key luminance 64..940.
uint16_t ToKeyLuma(ColourMatrix matrix, uint8_t alpha);

// Converts `pairs` pixel pairs (2 x pairs pixels) into the samples of their
// frame columns: y gets the Y of every pixel; c gets Cb and Cr of each pair's
// even pixel (chroma sited on it, the odd pixel gives its Y only); keyY,
// when not null, gets the key luminance of every pixel's alpha.
void ConvertPixelPairs(ColourMatrix matrix, const Pixel* pixels, std::size_t pairs, uint16_t* y,
                       uint16_t* c, uint16_t* keyY);

// The same without the processor's vector instructions, whatever the
// processor has (the reference of the fast path, and its fallback).
void ConvertPixelPairsPlain(ColourMatrix matrix, const Pixel* pixels, std::size_t pairs,
                            uint16_t* y, uint16_t* c, uint16_t* keyY);

}  // namespace fmconv
