// What the BMP, TGA and TIFF readers have in common: each reads its header
// from a ByteSource, describes the picture, and then hands out pixels in file
// order. The conversion asks only for the pixels that land in the frame and
// moves forward over the rest, so a reader never walks a declared size that
// the file does not hold.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "image/byte_source.h"

namespace fmconv {

struct Pixel {
    uint8_t r = 0, g = 0, b = 0, a = 0;
    bool operator==(const Pixel&) const = default;
};

struct PictureInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    unsigned bytesPerPixel = 0;  // 3, or 4 with an alpha channel
    bool firstRowIsTop = true;   // false: file row r is picture line height - 1 - r
};

// A byte as the readers take it: the end-of-file value becomes 0xFF.
inline uint8_t AsPixelByte(int value) {
    return static_cast<uint8_t>(value);
}

// Pixels stored B, G, R (3 bytes) or B, G, R, A (4 bytes) as Pixel values (a
// 3-byte pixel has alpha 0); sixteen at a time where the processor has
// AVX2.
void UnpackBgrPixels(const uint8_t* bytes, unsigned bytesPerPixel, Pixel* pixels,
                     std::size_t count);
// The same a pixel at a time (the reference of the fast path, and its fallback).
void UnpackBgrPixelsPlain(const uint8_t* bytes, unsigned bytesPerPixel, Pixel* pixels,
                          std::size_t count);

// Reads count such pixels with one block read. What lies beyond the end of
// the file reads as 0xFF, as the single-byte reads of the readers' rule give
// there.
inline void ReadBgrPixels(ByteSource& source, unsigned bytesPerPixel, Pixel* pixels,
                          std::size_t count, std::vector<uint8_t>& buffer) {
    buffer.resize(count * bytesPerPixel + 32);  // room for the last vector's loads
    const std::size_t got = source.Read(buffer.data(), count * bytesPerPixel);
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(got), buffer.end(), uint8_t{0xFF});
    UnpackBgrPixels(buffer.data(), bytesPerPixel, pixels, count);
}

class PictureReader {
  public:
    virtual ~PictureReader() = default;

    // Reads and checks the header. Empty when the picture is an accepted
    // variant; otherwise why it is not (the converters answer -3).
    virtual std::string_view ReadHeader() = 0;
    const PictureInfo& info() const { return info_; }
    // Starts a pass over the pixel data from its first pixel.
    virtual void StartPixels() = 0;
    // Moves forward to pixel `column` of file row `row`. Positions asked for
    // within one pass never go backwards.
    virtual void MoveTo(uint64_t row, uint64_t column) = 0;
    // Reads count pixels from the current position on; the position moves
    // past them.
    virtual void Read(Pixel* pixels, std::size_t count) = 0;

  protected:
    PictureInfo info_;
};

}  // namespace fmconv
