#include <gtest/gtest.h>

#include <array>
#include <numeric>

#include "picture_files.h"

namespace fmconv {
namespace {

using namespace testing;

enum Kind { kBmp, kTga, kTiff };

struct Decoded {
    std::string refusal, trace;
    PictureInfo info;
    std::vector<Pixel> pixels;  // file order
};

// Reads the header and then every row, as the conversion does.
Decoded Decode(Kind kind, const std::vector<uint8_t>& bytes) {
    MemoryByteSource source(bytes);
    Decoded d;
    BmpReader bmp(source);
    TgaReader tga(source, [&d](std::string_view line) { d.trace += line; });
    TiffReader tiff(source);
    PictureReader& reader = *std::array<PictureReader*, 3>{&bmp, &tga, &tiff}[kind];
    d.refusal = reader.ReadHeader();
    d.info = reader.info();
    if (!d.refusal.empty()) return d;
    reader.StartPixels();
    d.pixels.resize(std::size_t{d.info.width} * d.info.height);
    for (uint32_t row = 0; row < d.info.height; ++row) {
        reader.MoveTo(row, 0);
        reader.Read(&d.pixels[std::size_t{row} * d.info.width], d.info.width);
    }
    return d;
}

TEST(PictureReaders, AcceptedVariantsAndTheirPixels) {
    // BMP pixel data counting up from offset 54 although the header says
    // 122; rows 3 pixels wide take 12 bytes. Neither "BM" nor the high byte
    // of the bit count is read.
    std::vector<uint8_t> bmp = BmpFile(Numbered(3, 2));
    bmp[0] = 'X', bmp[10] = 122, bmp[29] = 1;
    std::iota(bmp.begin() + 54, bmp.end(), uint8_t{0});
    // TGA with an image ID of 3 bytes, skipped, and a colour map of one
    // 32-bit entry, read as the first pixel.
    std::vector<uint8_t> mapped = TgaFile(Numbered(2, 1), {.idLength = 3});
    mapped[1] = 1, mapped[5] = 1, mapped[7] = 32;
    mapped.insert(mapped.begin() + 21, {1, 2, 3, 4});
    EXPECT_EQ(Decode(kTga, mapped).trace, "fseek RGB = 21\n");
    // Bottom-left origin, the last pixel cut short: single bytes past the end read 0xFF.
    std::vector<uint8_t> cut = TgaFile(Numbered(2, 2), {.depth = 24, .descriptor = 0});
    cut.resize(cut.size() - 2);
    // Run-length 3 x 3: a run of four pixels across the first row end, a raw packet of four
    // cut short after 4 bytes (one block read: the rest stays 0), then the next packet
    // header, read past the end, makes a run of white.
    std::vector<uint8_t> rle = TgaFile({}, {.runLength = true, .depth = 24});
    rle[12] = rle[14] = 3;
    rle.insert(rle.end(), {0x83, 9, 8, 7, 0x03, 1, 2, 3, 4});
    const Pixel run{7, 8, 9}, white{255, 255, 255};
    const std::vector<uint8_t> strips = TiffFile(Numbered(1, 3000), {.rowsPerStrip = 1});
    const struct {
        Kind kind;
        std::vector<uint8_t> file;
        std::vector<uint32_t> info;  // width, height, bytes per pixel, first row is top
        std::vector<Pixel> pixels;   // file order, from pixel `from` on
        std::size_t from = 0;
    } cases[] = {
        {kBmp, bmp, {3, 2, 3, 0}, {{2, 1, 0}, {5, 4, 3}, {8, 7, 6}, {14, 13, 12}}},
        {kTga, mapped, {2, 1, 4, 1}, {{3, 2, 1, 4}, {0, 0, 0, 255}}},
        {kTga, cut, {2, 2, 3, 0}, {{0, 1, 1}, {1, 1, 2}, {0, 0, 0}, {255, 255, 1}}},
        {kTga, rle, {3, 3, 3, 1}, {run, run, run, run, {3, 2, 1}, {0, 0, 4}, {}, {}, white}},
        // TiffOptions: big-endian, samples per pixel (0: no entry), rows per strip.
        {kTiff, TiffFile(Numbered(2, 2), {true}), {2, 2, 3, 1}, {{0, 1, 1}, {1, 1, 2}}, 2},
        // RowsPerStrip is the height in big-endian files only; without
        // SamplesPerPixel, four samples.
        {kTiff, TiffFile(Numbered(2, 20), {true, 0, 16}), {2, 16, 4, 1}, {{1, 15, 16, 254}}, 31},
        {kTiff, TiffFile(Numbered(2, 20), {false, 4, 16}), {2, 20, 4, 1}, {{0, 16, 16, 255}}, 32},
        // The strip tables hold 1079 strips; after them reading goes on at offset 0.
        {kTiff, strips, {1, 3000, 3, 1}, {{0, 54, 54}, {'I', 'I', 42}}, 1078},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Decoded d = Decode(c.kind, c.file);
        ASSERT_EQ(d.refusal, "");
        const PictureInfo& i = d.info;
        EXPECT_EQ(std::vector<uint32_t>({i.width, i.height, i.bytesPerPixel, i.firstRowIsTop}),
                  c.info);
        for (std::size_t n = 0; n < c.pixels.size(); ++n) {
            EXPECT_EQ(d.pixels.at(c.from + n), c.pixels[n]) << c.from + n;
        }
    }
}

TEST(PictureReaders, Refusals) {
    const std::vector<uint8_t> bmp = BmpFile(Numbered(2, 2)), tga = TgaFile(Numbered(2, 2));
    const std::vector<uint8_t> tif = TiffFile(Numbered(2, 2));
    const auto patch = [](auto f, std::size_t at, uint8_t v) { return f[at] = v, f; };
    // The directory: its entry count, then 12 bytes for each entry k (see TiffFile).
    const std::size_t dir = ReadLe32(&tif[4]);
    const auto entry = [&](std::size_t k, std::size_t field) { return dir + 2 + 12 * k + field; };
    const struct {
        Kind kind;
        std::vector<uint8_t> file;
        std::string refusal;
    } cases[] = {
        {kBmp, patch(bmp, 28, 32), "bit count is not 24"},
        {kBmp, patch(bmp, 25, 0x80), "negative height"},
        {kTga, patch(tga, 17, 0x18), "right-hand origin"},
        {kTga, patch(tga, 17, 0x30), "right-hand origin"},
        {kTga, patch(tga, 2, 1), "image type is not 2 or 10"},
        {kTga, patch(tga, 16, 16), "pixel depth is not 24 or 32"},
        {kTiff, patch(tif, 1, 'M'), "byte order is not II or MM"},
        {kTiff, patch(tif, 8, 16), "BitsPerSample is not 8"},
        {kTiff, patch(tif, entry(2, 2), 4), "BitsPerSample is not 8"},  // LONG: 0x80008
        {kTiff, patch(tif, entry(2, 4), 1), "BitsPerSample count is not 3 or 4"},
        {kTiff, patch(tif, entry(3, 8), 5), "compressed"},  // LZW
        {kTiff, patch(tif, entry(4, 8), 1), "not RGB"},
        {kTiff, patch(tif, entry(6, 8), 5), "SamplesPerPixel is not 3 or 4"},
        {kTiff, patch(tif, entry(8, 0), 0x18), "no strip tables"},  // 279 made 280
        // 1024 entries, then 1025; those past the end of the file read as tag 0, ignored.
        {kTiff, patch(patch(tif, dir, 0), dir + 1, 4), ""},
        {kTiff, patch(patch(tif, dir, 1), dir + 1, 4), "directory too large"},
    };
    for (const auto& c : cases) EXPECT_EQ(Decode(c.kind, c.file).refusal, c.refusal) << &c - cases;
}

}  // namespace
}  // namespace fmconv
