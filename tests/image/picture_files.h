// Small writers for the picture files the tests feed the readers and
// converters, so that every input is built by the test that uses it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "base/bytes.h"
#include "image/bmp.h"
#include "image/tga.h"
#include "image/tiff.h"

namespace fmconv::testing {

// Pixels row by row from the top of the picture.
struct TestPicture {
    uint32_t width = 0, height = 0;
    std::vector<Pixel> pixels;
    const Pixel& at(uint32_t x, uint32_t y) const { return pixels[std::size_t{y} * width + x]; }
};

inline TestPicture MakePicture(uint32_t width, uint32_t height,
                               const std::function<Pixel(uint32_t x, uint32_t y)>& colour) {
    TestPicture p{width, height, {}};
    for (uint32_t i = 0; i < width * height; ++i) p.pixels.push_back(colour(i % width, i / width));
    return p;
}

// Every pixel differs from its neighbours: R = x, G = y, B = x + y, A = 255 - x.
inline TestPicture Numbered(uint32_t width, uint32_t height) {
    return MakePicture(width, height, [](uint32_t x, uint32_t y) {
        return Pixel{static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(x + y),
                     static_cast<uint8_t>(255 - x)};
    });
}

// 24-bit, bottom-up rows of B, G, R padded to four bytes, pixel data at offset 54.
inline std::vector<uint8_t> BmpFile(const TestPicture& picture) {
    std::vector<uint8_t> file(54, 0);
    file[0] = 'B', file[1] = 'M', file[10] = 54, file[14] = 40, file[26] = 1, file[28] = 24;
    WriteLe32(&file[18], picture.width);
    WriteLe32(&file[22], picture.height);
    for (uint32_t y = picture.height; y-- > 0;) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            const Pixel& p = picture.at(x, y);
            file.insert(file.end(), {p.b, p.g, p.r});
        }
        file.resize(54 + (file.size() - 54 + 3) / 4 * 4, 0);
    }
    return file;
}

struct TgaOptions {
    bool runLength = false;
    unsigned depth = 32;
    uint8_t descriptor = 0x28;  // top-left origin, 8 alpha bits
    uint8_t idLength = 0;
};
// Run-length data is coded over the whole picture, packets running across
// row ends: equal neighbours as run packets, single pixels as raw packets.
inline std::vector<uint8_t> TgaFile(const TestPicture& picture, const TgaOptions& o = {}) {
    std::vector<uint8_t> file(18 + o.idLength, 'I');
    std::fill_n(file.begin(), 18, 0);
    file[0] = o.idLength, file[2] = o.runLength ? 10 : 2;
    WriteLe16(&file[12], static_cast<uint16_t>(picture.width));
    WriteLe16(&file[14], static_cast<uint16_t>(picture.height));
    file[16] = static_cast<uint8_t>(o.depth), file[17] = o.descriptor;
    std::vector<Pixel> stream;
    for (uint32_t row = 0; row < picture.height; ++row) {
        const Pixel* first = &picture.at(0, o.descriptor & 0x20 ? row : picture.height - 1 - row);
        stream.insert(stream.end(), first, first + picture.width);
    }
    for (std::size_t i = 0, n = 1; i < stream.size(); i += n, n = 1) {
        while (o.runLength && i + n < stream.size() && n < 128 && stream[i + n] == stream[i]) ++n;
        if (o.runLength) file.push_back(static_cast<uint8_t>(n > 1 ? 0x80 | (n - 1) : 0));
        file.insert(file.end(), {stream[i].b, stream[i].g, stream[i].r, stream[i].a});
        file.resize(file.size() - 4 + o.depth / 8);
    }
    return file;
}

struct TiffOptions {
    bool bigEndian = false;
    unsigned samples = 3;       // 3 or 4; 0 writes no SamplesPerPixel entry
    uint32_t rowsPerStrip = 0;  // 0: one strip
};
// Chunky 8-bit RGB(A): the header, BitsPerSample at offset 8, the strips one
// after another from offset 16 on, their tables, then the entries 256, 257,
// 258, 259, 262, 273, 277 (not for samples 0), 278 and 279. Strip offsets and
// byte counts are LONGs in little-endian files and SHORTs in big-endian ones.
inline std::vector<uint8_t> TiffFile(const TestPicture& picture, const TiffOptions& o = {}) {
    const bool be = o.bigEndian, alpha = o.samples != 3;
    std::vector<uint8_t> file(2, be ? 'M' : 'I');
    const auto put = [&](uint32_t value, uint32_t bytes) {
        for (uint32_t i = 0; i < bytes; ++i) {
            file.push_back(static_cast<uint8_t>(value >> 8 * (be ? bytes - 1 - i : i)));
        }
    };
    const uint32_t rows = o.rowsPerStrip ? o.rowsPerStrip : picture.height;
    const uint32_t n = (picture.height + rows - 1) / rows, size = be ? 2 : 4, type = be ? 3 : 4;
    const auto pixelBytes = static_cast<uint32_t>(picture.pixels.size() * (3 + alpha));
    const uint32_t stripBytes = rows * picture.width * (3 + alpha), tables = 16 + pixelBytes;
    put(42, 2), put(tables + 2 * n * size, 4);
    for (int i = 0; i < 4; ++i) put(8, 2);
    for (const Pixel& p : picture.pixels) {
        file.insert(file.end(), {p.r, p.g, p.b, p.a});
        if (!alpha) file.pop_back();
    }
    for (uint32_t i = 0; i < n; ++i) put(16 + i * stripBytes, size);
    for (uint32_t i = 0; i < n; ++i) put(std::min(stripBytes, pixelBytes - i * stripBytes), size);
    put(o.samples ? 9 : 8, 2);
    const auto entry = [&](uint32_t tag, uint32_t t, uint32_t count, uint32_t value) {
        put(tag, 2), put(t, 2), put(count, 4);
        put(t == 3 && count == 1 && be ? value << 16 : value, 4);  // a single SHORT comes first
    };
    entry(256, 4, 1, picture.width), entry(257, 4, 1, picture.height);
    entry(258, 3, 3 + alpha, 8), entry(259, 3, 1, 1), entry(262, 3, 1, 2);
    entry(273, type, n, n > 1 ? tables : 16);
    if (o.samples) entry(277, 3, 1, o.samples);
    entry(278, 4, 1, rows), entry(279, type, n, n > 1 ? tables + n * size : pixelBytes);
    return file;
}

}  // namespace fmconv::testing
