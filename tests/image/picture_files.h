// Small writers for the picture files the tests feed the readers and
// converters, so that every input is built by the test that uses it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
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
    TestPicture picture{width, height, {}};
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) picture.pixels.push_back(colour(x, y));
    }
    return picture;
}

// Every pixel differs from its neighbours: R = x, G = y, B = x + y, A = 255 - x.
inline TestPicture Numbered(uint32_t width, uint32_t height) {
    return MakePicture(width, height, [](uint32_t x, uint32_t y) {
        return Pixel{static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(x + y),
                     static_cast<uint8_t>(255 - x)};
    });
}

// The pixels in the order a file with that row order holds them.
inline std::vector<Pixel> FileOrder(const TestPicture& picture, bool firstRowIsTop, bool alpha) {
    std::vector<Pixel> out;
    for (uint32_t row = 0; row < picture.height; ++row) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            Pixel p = picture.at(x, firstRowIsTop ? row : picture.height - 1 - row);
            if (!alpha) p.a = 0;
            out.push_back(p);
        }
    }
    return out;
}

// 24-bit, bottom-up rows padded to four bytes, pixel data at offset 54.
inline std::vector<uint8_t> BmpFile(const TestPicture& picture) {
    std::vector<uint8_t> file(54, 0);
    file[0] = 'B', file[1] = 'M', file[10] = 54, file[14] = 40, file[26] = 1, file[28] = 24;
    WriteLe32(&file[18], picture.width);
    WriteLe32(&file[22], picture.height);
    const std::vector<Pixel> pixels = FileOrder(picture, false, false);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        file.insert(file.end(), {pixels[i].b, pixels[i].g, pixels[i].r});
        if ((i + 1) % picture.width == 0) file.resize(file.size() + picture.width % 4, 0);
    }
    return file;
}

struct TgaOptions {
    bool runLength = false;
    unsigned depth = 32;
    uint8_t descriptor = 0x28;  // top-left origin
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
    const std::vector<Pixel> stream = FileOrder(picture, o.descriptor & 0x20, true);
    for (std::size_t i = 0; i < stream.size();) {
        std::size_t n = 1;
        while (o.runLength && i + n < stream.size() && n < 128 && stream[i + n] == stream[i]) ++n;
        if (o.runLength) file.push_back(static_cast<uint8_t>(n > 1 ? 0x80 | (n - 1) : 0));
        const Pixel& p = stream[i];
        file.insert(file.end(), {p.b, p.g, p.r});
        if (o.depth == 32) file.push_back(p.a);
        i += n;
    }
    return file;
}

// A TIFF built entry by entry in either byte order: header, data, then the
// directory with the entries in the order given.
class TiffBuilder {
  public:
    static constexpr uint16_t kShort = 3, kLong = 4;
    explicit TiffBuilder(bool bigEndian) : bigEndian_(bigEndian), bytes_(8) {}
    uint32_t Append(const std::vector<uint8_t>& data) {
        bytes_.insert(bytes_.end(), data.begin(), data.end());
        return static_cast<uint32_t>(bytes_.size() - data.size());
    }
    uint32_t AppendNumbers(uint16_t type, const std::vector<uint32_t>& values) {
        std::vector<uint8_t> data;
        for (uint32_t v : values) Put(data, type, v);
        return Append(data);
    }
    // Values that do not fit in the four bytes of the field are given by
    // their offset; a SHORT value sits in the first two bytes.
    TiffBuilder& Entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
        const uint16_t field = count * (type == kLong ? 4 : 2) <= 4 ? type : kLong;
        Put(entries_, kShort, tag);
        Put(entries_, kShort, type);
        Put(entries_, kLong, count);
        Put(entries_, field, value);
        if (field == kShort) Put(entries_, kShort, 0);
        ++count_;
        return *this;
    }
    std::vector<uint8_t> Finish() {
        std::vector<uint8_t> file = bytes_, head;
        file[0] = file[1] = bigEndian_ ? 'M' : 'I';
        Put(head, kShort, 42);
        Put(head, kLong, static_cast<uint32_t>(file.size()));
        std::copy(head.begin(), head.end(), file.begin() + 2);
        Put(file, kShort, count_);
        file.insert(file.end(), entries_.begin(), entries_.end());
        file.insert(file.end(), 4, 0);  // no next directory
        return file;
    }

  private:
    void Put(std::vector<uint8_t>& out, uint16_t type, uint32_t v) const {
        for (int i = 0, n = type == kLong ? 4 : 2; i < n; ++i) {
            out.push_back(static_cast<uint8_t>(v >> 8 * (bigEndian_ ? n - 1 - i : i)));
        }
    }
    bool bigEndian_;
    std::vector<uint8_t> bytes_, entries_;
    uint16_t count_ = 0;
};

struct TiffOptions {
    bool bigEndian = false;
    unsigned samples = 3;       // 3 or 4; 0 writes no SamplesPerPixel entry
    uint32_t rowsPerStrip = 0;  // 0: one strip
};
// Chunky 8-bit RGB(A); each strip is preceded by a stray byte, so that the
// strips do not follow one another in the file.
inline std::vector<uint8_t> TiffFile(const TestPicture& picture, const TiffOptions& o = {}) {
    TiffBuilder tiff(o.bigEndian);
    const bool alpha = o.samples != 3;
    const uint32_t rows = o.rowsPerStrip ? o.rowsPerStrip : picture.height;
    const std::vector<Pixel> pixels = FileOrder(picture, true, alpha);
    std::vector<uint32_t> offsets, counts;
    for (std::size_t first = 0; first < pixels.size(); first += std::size_t{rows} * picture.width) {
        std::vector<uint8_t> strip;
        for (std::size_t i = first; i < std::min(pixels.size(), first + rows * picture.width);
             ++i) {
            strip.insert(strip.end(), {pixels[i].r, pixels[i].g, pixels[i].b});
            if (alpha) strip.push_back(pixels[i].a);
        }
        tiff.Append({0xEE});
        offsets.push_back(tiff.Append(strip));
        counts.push_back(static_cast<uint32_t>(strip.size()));
    }
    const auto n = static_cast<uint32_t>(offsets.size());
    const uint32_t bits = tiff.AppendNumbers(3, {8, 8, 8, 8});
    const uint32_t offsetsAt = n > 1 ? tiff.AppendNumbers(4, offsets) : offsets.at(0);
    const uint32_t countsAt = n > 1 ? tiff.AppendNumbers(4, counts) : counts.at(0);
    const uint16_t type = n > 1 ? 4 : 3;  // a single strip as SHORT values
    tiff.Entry(256, 4, 1, picture.width).Entry(257, 4, 1, picture.height);
    tiff.Entry(258, 3, alpha ? 4 : 3, bits).Entry(259, 3, 1, 1).Entry(262, 3, 1, 2);
    tiff.Entry(273, type, n, offsetsAt);
    if (o.samples != 0) tiff.Entry(277, 3, 1, o.samples);
    return tiff.Entry(278, 4, 1, rows).Entry(279, type, n, countsAt).Finish();
}

enum class Kind { kBmp, kTga, kTiff };

inline std::unique_ptr<PictureReader> MakeReader(Kind kind, ByteSource& source, TraceSink trace) {
    if (kind == Kind::kBmp) return std::make_unique<BmpReader>(source);
    if (kind == Kind::kTga) return std::make_unique<TgaReader>(source, std::move(trace));
    return std::make_unique<TiffReader>(source);
}

}  // namespace fmconv::testing
