// Small writers for the picture files the tests feed the converters, so that
// every input is built by the test that uses it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/trace.h"
#include "image/picture_reader.h"

namespace fmconv::testing {

enum class Kind { kBmp, kTga, kTiff };
std::unique_ptr<PictureReader> MakeReader(Kind kind, ByteSource& source, const TraceSink& trace);

// Pixels row by row from the top of the picture.
struct TestPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<Pixel> pixels;

    const Pixel& at(uint32_t x, uint32_t y) const { return pixels[std::size_t{y} * width + x]; }
};
TestPicture MakePicture(uint32_t width, uint32_t height,
                        const std::function<Pixel(uint32_t x, uint32_t y)>& colour);
// A picture whose every pixel differs from its neighbours: R = x, G = y,
// B = x + y, A = 255 - x (all modulo 256).
TestPicture Numbered(uint32_t width, uint32_t height);

// 24-bit bottom-up rows padded to four bytes, pixel data at offset 54.
std::vector<uint8_t> BmpFile(const TestPicture& picture);

struct TgaOptions {
    bool runLength = false;
    unsigned depth = 32;        // 24 or 32
    uint8_t descriptor = 0x28;  // 0x20: rows from the top
    uint8_t idLength = 0;       // that many bytes of ID before the pixels
};
// Run-length data is coded over the whole picture, packets running across
// row ends: equal neighbours as run packets, the rest as raw packets.
std::vector<uint8_t> TgaFile(const TestPicture& picture, const TgaOptions& options = {});

// A TIFF built entry by entry in either byte order.
class TiffBuilder {
  public:
    static constexpr uint16_t kShort = 3, kLong = 4;
    explicit TiffBuilder(bool bigEndian) : bigEndian_(bigEndian) { bytes_.resize(8); }

    // Appends data to the file; returns its offset.
    uint32_t Append(const std::vector<uint8_t>& data);
    uint32_t AppendNumbers(uint16_t type, const std::vector<uint32_t>& values);
    // A SHORT value sits in the first two bytes of the field; values that
    // do not fit in four bytes are given by their offset.
    TiffBuilder& Entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t value);
    // Header, data, then the directory of every entry in the order given.
    std::vector<uint8_t> Finish();

  private:
    std::vector<uint8_t> Number(uint16_t type, uint32_t value) const;
    bool bigEndian_;
    std::vector<uint8_t> bytes_;
    std::vector<uint8_t> entries_;
    uint16_t count_ = 0;
};

struct TiffOptions {
    bool bigEndian = false;
    unsigned samples = 3;       // 3 or 4; 0 writes no SamplesPerPixel entry
    uint32_t rowsPerStrip = 0;  // 0: the whole picture in one strip
};
// Chunky 8-bit RGB(A) in strips, entries in the usual order.
std::vector<uint8_t> TiffFile(const TestPicture& picture, const TiffOptions& options = {});

}  // namespace fmconv::testing
