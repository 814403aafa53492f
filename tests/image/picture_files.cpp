#include "picture_files.h"

#include "base/bytes.h"
#include "image/bmp.h"
#include "image/tga.h"
#include "image/tiff.h"

namespace fmconv::testing {

std::unique_ptr<PictureReader> MakeReader(Kind kind, ByteSource& source, const TraceSink& trace) {
    if (kind == Kind::kBmp) return std::make_unique<BmpReader>(source);
    if (kind == Kind::kTga) return std::make_unique<TgaReader>(source, trace);
    return std::make_unique<TiffReader>(source);
}

TestPicture MakePicture(uint32_t width, uint32_t height,
                        const std::function<Pixel(uint32_t x, uint32_t y)>& colour) {
    TestPicture picture{width, height, {}};
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) picture.pixels.push_back(colour(x, y));
    }
    return picture;
}

TestPicture Numbered(uint32_t width, uint32_t height) {
    return MakePicture(width, height, [](uint32_t x, uint32_t y) {
        return Pixel{static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(x + y),
                     static_cast<uint8_t>(255 - x)};
    });
}

std::vector<uint8_t> BmpFile(const TestPicture& picture) {
    std::vector<uint8_t> file(54, 0);
    file[0] = 'B';
    file[1] = 'M';
    WriteLe32(&file[10], 54);
    WriteLe32(&file[14], 40);
    WriteLe32(&file[18], picture.width);
    WriteLe32(&file[22], picture.height);
    file[26] = 1;
    file[28] = 24;
    for (uint32_t row = 0; row < picture.height; ++row) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            const Pixel& p = picture.at(x, picture.height - 1 - row);
            file.insert(file.end(), {p.b, p.g, p.r});
        }
        file.resize(file.size() + picture.width % 4, 0);
    }
    WriteLe32(&file[2], static_cast<uint32_t>(file.size()));
    return file;
}

std::vector<uint8_t> TgaFile(const TestPicture& picture, const TgaOptions& options) {
    std::vector<uint8_t> file(18 + options.idLength, 0x49);
    std::fill(file.begin(), file.begin() + 18, 0);
    file[0] = options.idLength;
    file[2] = options.runLength ? 10 : 2;
    WriteLe16(&file[12], static_cast<uint16_t>(picture.width));
    WriteLe16(&file[14], static_cast<uint16_t>(picture.height));
    file[16] = static_cast<uint8_t>(options.depth);
    file[17] = options.descriptor;
    const bool top = options.descriptor & 0x20;
    std::vector<Pixel> stream;
    for (uint32_t row = 0; row < picture.height; ++row) {
        const uint32_t y = top ? row : picture.height - 1 - row;
        for (uint32_t x = 0; x < picture.width; ++x) stream.push_back(picture.at(x, y));
    }
    auto put = [&](const Pixel& p) {
        file.insert(file.end(), {p.b, p.g, p.r});
        if (options.depth == 32) file.push_back(p.a);
    };
    auto same = [](const Pixel& a, const Pixel& b) {
        return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
    };
    for (std::size_t i = 0; i < stream.size();) {
        if (!options.runLength) {
            put(stream[i++]);
            continue;
        }
        std::size_t n = 1;
        while (i + n < stream.size() && n < 128 && same(stream[i + n], stream[i])) ++n;
        if (n > 1) {
            file.push_back(static_cast<uint8_t>(0x80 | (n - 1)));
            put(stream[i]);
        } else {
            while (i + n < stream.size() && n < 128 && !same(stream[i + n], stream[i + n - 1])) ++n;
            file.push_back(static_cast<uint8_t>(n - 1));
            for (std::size_t k = 0; k < n; ++k) put(stream[i + k]);
        }
        i += n;
    }
    return file;
}

std::vector<uint8_t> TiffBuilder::Number(uint16_t type, uint32_t value) const {
    std::vector<uint8_t> out(type == kLong ? 4 : 2);
    if (type == kLong) {
        bigEndian_ ? WriteBe32(out.data(), value) : WriteLe32(out.data(), value);
    } else {
        const auto v = static_cast<uint16_t>(value);
        bigEndian_ ? WriteBe16(out.data(), v) : WriteLe16(out.data(), v);
    }
    return out;
}

uint32_t TiffBuilder::Append(const std::vector<uint8_t>& data) {
    const auto at = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), data.begin(), data.end());
    return at;
}

uint32_t TiffBuilder::AppendNumbers(uint16_t type, const std::vector<uint32_t>& values) {
    std::vector<uint8_t> data;
    for (uint32_t v : values) {
        const std::vector<uint8_t> n = Number(type, v);
        data.insert(data.end(), n.begin(), n.end());
    }
    return Append(data);
}

TiffBuilder& TiffBuilder::Entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
    // Values that do not fit the four bytes of the field are elsewhere, and
    // the field holds their offset.
    const bool fits = count * (type == kLong ? 4u : 2u) <= 4;
    const uint16_t fieldType = fits ? type : kLong;
    for (const std::vector<uint8_t>& part : {Number(kShort, tag), Number(kShort, type),
                                             Number(kLong, count), Number(fieldType, value)}) {
        entries_.insert(entries_.end(), part.begin(), part.end());
    }
    entries_.resize(entries_.size() + (fieldType == kLong ? 0 : 2), 0);
    ++count_;
    return *this;
}

std::vector<uint8_t> TiffBuilder::Finish() {
    std::vector<uint8_t> file = bytes_;
    file[0] = file[1] = bigEndian_ ? 'M' : 'I';
    const std::vector<uint8_t> version = Number(kShort, 42);
    const std::vector<uint8_t> directory = Number(kLong, static_cast<uint32_t>(file.size()));
    std::copy(version.begin(), version.end(), &file[2]);
    std::copy(directory.begin(), directory.end(), &file[4]);
    const std::vector<uint8_t> count = Number(kShort, count_);
    file.insert(file.end(), count.begin(), count.end());
    file.insert(file.end(), entries_.begin(), entries_.end());
    file.insert(file.end(), 4, 0);  // no next directory
    return file;
}

std::vector<uint8_t> TiffFile(const TestPicture& picture, const TiffOptions& options) {
    TiffBuilder tiff(options.bigEndian);
    const unsigned samples = options.samples == 3 ? 3 : 4;
    const uint32_t rowsPerStrip = options.rowsPerStrip ? options.rowsPerStrip : picture.height;
    std::vector<uint32_t> offsets, counts;
    for (uint32_t first = 0; first < picture.height; first += rowsPerStrip) {
        std::vector<uint8_t> strip;
        for (uint32_t y = first; y < std::min(picture.height, first + rowsPerStrip); ++y) {
            for (uint32_t x = 0; x < picture.width; ++x) {
                const Pixel& p = picture.at(x, y);
                strip.insert(strip.end(), {p.r, p.g, p.b});
                if (samples == 4) strip.push_back(p.a);
            }
        }
        tiff.Append({0xEE});  // strips apart from one another
        offsets.push_back(tiff.Append(strip));
        counts.push_back(static_cast<uint32_t>(strip.size()));
    }
    const uint32_t bits = tiff.AppendNumbers(TiffBuilder::kShort, {8, 8, 8, 8});
    const auto strips = static_cast<uint32_t>(offsets.size());
    const uint32_t offsetTable = strips > 1 ? tiff.AppendNumbers(TiffBuilder::kLong, offsets) : 0;
    const uint32_t countTable = strips > 1 ? tiff.AppendNumbers(TiffBuilder::kLong, counts) : 0;
    tiff.Entry(256, TiffBuilder::kLong, 1, picture.width)
        .Entry(257, TiffBuilder::kLong, 1, picture.height)
        .Entry(258, TiffBuilder::kShort, samples, bits)
        .Entry(259, TiffBuilder::kShort, 1, 1)
        .Entry(262, TiffBuilder::kShort, 1, 2)
        .Entry(273, TiffBuilder::kLong, strips, strips > 1 ? offsetTable : offsets.at(0));
    if (options.samples != 0) tiff.Entry(277, TiffBuilder::kShort, 1, samples);
    tiff.Entry(278, TiffBuilder::kLong, 1, rowsPerStrip)
        .Entry(279, TiffBuilder::kLong, strips, strips > 1 ? countTable : counts.at(0));
    return tiff.Finish();
}

}  // namespace fmconv::testing
