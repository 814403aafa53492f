#include <gtest/gtest.h>

#include "picture_files.h"

namespace fmconv {

void PrintTo(const Pixel& p, std::ostream* os) {
    *os << "RGBA(" << +p.r << "," << +p.g << "," << +p.b << "," << +p.a << ")";
}

namespace {

using testing::Kind;
using testing::TestPicture;

struct Decoded {
    std::string refusal, trace;
    PictureInfo info;
    std::vector<Pixel> pixels;  // file order
};

Decoded Decode(Kind kind, const std::vector<uint8_t>& bytes) {
    MemoryByteSource source(bytes);
    Decoded d;
    const auto reader =
        testing::MakeReader(kind, source, [&d](std::string_view line) { d.trace += line; });
    d.refusal = reader->ReadHeader();
    d.info = reader->info();
    if (!d.refusal.empty()) return d;
    reader->StartPixels();
    for (uint32_t row = 0; row < d.info.height; ++row) {
        reader->MoveTo(row, 0);
        d.pixels.resize(d.pixels.size() + d.info.width);
        reader->Read(&d.pixels[d.pixels.size() - d.info.width], d.info.width);
    }
    return d;
}

TEST(PictureReaders, ReadWhatTheWritersWrote) {
    for (uint32_t width = 1; width <= 5; ++width) {
        const TestPicture picture = testing::Numbered(width, 3);
        const std::vector<uint8_t> bmp = testing::BmpFile(picture);
        const uint32_t rowBytes[] = {4, 8, 12, 12, 16};  // 3 x width padded to 4
        EXPECT_EQ(bmp.size(), 54 + 3 * rowBytes[width - 1]);
        EXPECT_EQ(Decode(Kind::kBmp, bmp).pixels, testing::FileOrder(picture, false, false));
    }
    // Runs of three equal pixels crossing row ends, between single pixels.
    const TestPicture picture = testing::MakePicture(5, 4, [](uint32_t x, uint32_t y) {
        const uint32_t i = x + 5 * y;
        const auto v = static_cast<uint8_t>(i % 7 > 4 ? 9 * i : i / 3 * 20);
        return Pixel{v, 100, static_cast<uint8_t>(v / 2), static_cast<uint8_t>(255 - v)};
    });
    for (int variant = 0; variant < 16; ++variant) {
        const bool runLength = variant & 1, top = variant & 2, alpha = variant & 4;
        const uint8_t descriptor = (top ? 0x20 : 0) | (variant & 8);  // bit 3: alpha bits
        const Decoded d = Decode(
            Kind::kTga, testing::TgaFile(picture, {runLength, alpha ? 32u : 24u, descriptor}));
        EXPECT_EQ(d.info.firstRowIsTop, top) << variant;
        EXPECT_EQ(d.info.bytesPerPixel, alpha ? 4u : 3u);
        EXPECT_EQ(d.pixels, testing::FileOrder(picture, top, alpha)) << variant;
        EXPECT_EQ(d.trace, "fseek RGB = 18\n");
    }
    for (int variant = 0; variant < 18; ++variant) {
        const bool bigEndian = variant & 1;
        const unsigned s = std::array{0u, 3u, 4u}[variant / 2 % 3];  // 0: no entry
        const uint32_t rowsPerStrip = variant / 6;                   // 0: one strip
        const Decoded d =
            Decode(Kind::kTiff, testing::TiffFile(picture, {bigEndian, s, rowsPerStrip}));
        ASSERT_EQ(d.refusal, "") << variant;
        // No SamplesPerPixel entry reads four samples; big-endian files take
        // RowsPerStrip as the height.
        EXPECT_EQ(d.info.bytesPerPixel, s == 3 ? 3u : 4u);
        EXPECT_EQ(d.info.height, bigEndian && rowsPerStrip ? rowsPerStrip : 4) << variant;
        const std::vector<Pixel> all = testing::FileOrder(picture, true, s != 3);
        EXPECT_EQ(d.pixels, std::vector<Pixel>(all.begin(), all.begin() + 5 * d.info.height));
    }
}

// Returns the file with one byte (or a little-endian 16- or 32-bit value) changed.
std::vector<uint8_t> With(std::vector<uint8_t> file, std::size_t at, uint32_t value, int size = 1) {
    for (int i = 0; i < size; ++i) file[at + i] = static_cast<uint8_t>(value >> 8 * i);
    return file;
}

// A little-endian 2 x 1 TIFF: width, height, one strip, then the entries given.
std::vector<uint8_t> TiffWith(std::vector<std::array<uint32_t, 4>> entries, bool strip = true) {
    testing::TiffBuilder tiff(false);
    tiff.Append({1, 2, 3, 4, 5, 6});
    tiff.Entry(256, 3, 1, 2).Entry(257, 3, 1, 1);
    if (strip) tiff.Entry(273, 4, 1, 8).Entry(279, 4, 1, 6);
    for (const auto& e : entries) {
        tiff.Entry(static_cast<uint16_t>(e[0]), static_cast<uint16_t>(e[1]), e[2], e[3]);
    }
    return tiff.Finish();
}

TEST(PictureReaders, WhatIsRefusedAndWhatIsNot) {
    const std::vector<uint8_t> bmp = testing::BmpFile(testing::Numbered(2, 2));
    const std::vector<uint8_t> tga = testing::TgaFile(testing::Numbered(2, 2));
    const std::vector<std::array<uint32_t, 4>> unknownTags(1020, {999, 3, 1, 0});
    testing::TiffBuilder wide(false), longBits(true);
    const uint32_t bits16 = wide.AppendNumbers(3, {16, 16, 16});
    const uint32_t bits8 = longBits.AppendNumbers(4, {8, 8, 8});
    const struct {
        Kind kind;
        std::vector<uint8_t> file;
        std::string refusal;
    } cases[] = {
        // BMP: only the low byte of the bit count and the height's sign count.
        {Kind::kBmp, With(bmp, 0, 0x5858, 2), ""},
        {Kind::kBmp, With(bmp, 28, 0x0118, 2), ""},
        {Kind::kBmp, With(bmp, 28, 32), "bit count is not 24"},
        {Kind::kBmp, With(bmp, 22, 0xFFFFFFFE, 4), "negative height"},
        {Kind::kBmp, std::vector<uint8_t>(20, 24), "bit count is not 24"},
        // TGA: descriptor 0x28 (top-left, 8 alpha bits) is read above.
        {Kind::kTga, With(tga, 17, 0x18), "right-hand origin"},
        {Kind::kTga, With(tga, 17, 0x30), "right-hand origin"},
        {Kind::kTga, With(tga, 2, 1), "image type is not 2 or 10"},
        {Kind::kTga, With(tga, 2, 11), "image type is not 2 or 10"},
        {Kind::kTga, With(tga, 16, 16), "pixel depth is not 24 or 32"},
        // TIFF.
        {Kind::kTiff, TiffWith({{258, 3, 1, 8}}), "BitsPerSample count is not 3 or 4"},
        // LONG BitsPerSample values are read whole and pass; no byte counts.
        {Kind::kTiff, longBits.Entry(258, 4, 3, bits8).Entry(273, 4, 1, 8).Finish(),
         "no strip tables"},
        {Kind::kTiff,
         wide.Entry(258, 3, 3, bits16).Entry(273, 4, 1, 8).Entry(279, 4, 1, 6).Finish(),
         "BitsPerSample is not 8"},
        {Kind::kTiff, TiffWith({{259, 3, 1, 5}}), "compressed"},  // LZW
        {Kind::kTiff, TiffWith({{262, 3, 1, 1}}), "not RGB"},
        {Kind::kTiff, TiffWith({{277, 3, 1, 5}}), "SamplesPerPixel is not 3 or 4"},
        {Kind::kTiff, TiffWith({}, false), "no strip tables"},
        {Kind::kTiff, TiffWith({{273, 4, 1, 8}}, false), "no strip tables"},
        {Kind::kTiff, {'I', 'M', 42, 0, 8, 0, 0, 0}, "byte order is not II or MM"},
        {Kind::kTiff, TiffWith(unknownTags), ""},                                   // 1024
        {Kind::kTiff, {'I', 'I', 42, 0, 8, 0, 0x01, 0x04}, "directory too large"},  // 1025
        {Kind::kTiff, {'I', 'I', 42, 0, 8, 0, 0}, "directory too large"},           // count 0xFFFF
    };
    for (const auto& c : cases) EXPECT_EQ(Decode(c.kind, c.file).refusal, c.refusal) << c.refusal;
}

TEST(BmpReader, PixelsAreReadFromOffset54WhateverTheHeaderSays) {
    // A 108-byte information header: the pixel data really starts at 122.
    std::vector<uint8_t> file = With(testing::BmpFile(testing::Numbered(4, 2)), 10, 122);
    const std::vector<uint8_t> extra = {0xA0, 0xA1, 0xA2, 0xA3};
    for (int i = 0; i < 17; ++i) file.insert(file.begin() + 54, extra.begin(), extra.end());
    const Decoded d = Decode(Kind::kBmp, file);
    EXPECT_EQ(d.pixels[0], (Pixel{0xA2, 0xA1, 0xA0, 0}));
    EXPECT_EQ(d.pixels[4], (Pixel{0xA2, 0xA1, 0xA0, 0}));  // row 1: 12 bytes on
    EXPECT_EQ(d.pixels[5], (Pixel{0xA1, 0xA0, 0xA3, 0}));
}

TEST(TgaReader, TheImageIdIsSkippedButAColourMapIsReadAsPixels) {
    const TestPicture picture = testing::Numbered(2, 1);
    const Decoded withId = Decode(Kind::kTga, testing::TgaFile(picture, {.idLength = 3}));
    EXPECT_EQ(withId.trace, "fseek RGB = 21\n");
    EXPECT_EQ(withId.pixels, testing::FileOrder(picture, true, true));
    // A one-entry colour map of four bytes between the header and the pixels.
    std::vector<uint8_t> file = With(With(testing::TgaFile(picture), 1, 1), 5, 1);
    file[7] = 32;
    file.insert(file.begin() + 18, {1, 2, 3, 4});
    EXPECT_EQ(Decode(Kind::kTga, file).pixels,
              (std::vector<Pixel>{{3, 2, 1, 4}, picture.at(0, 0)}));
}

// Reading past the end: a single-byte read gives 0xFF; a block read that
// comes up short (a raw packet) leaves the bytes it did not get as they were,
// and the packet buffer was cleared to 0 before.
TEST(TgaReader, RunsCrossRowEndsAndAFileThatEndsEarlyIsReadOn) {
    const Pixel white{255, 255, 255, 0}, seven{7, 8, 9, 0};
    std::vector<uint8_t> file = testing::TgaFile({}, {.runLength = true, .depth = 24});
    file = With(With(file, 12, 3, 2), 14, 3, 2);  // 3 x 3
    // A run of four pixels, then a raw packet of four (12 bytes), 4 present.
    file.insert(file.end(), {0x83, 9, 8, 7, 0x03, 1, 2, 3, 4});
    EXPECT_EQ(Decode(Kind::kTga, file).pixels,
              (std::vector<Pixel>{
                  seven, seven, seven, seven, {3, 2, 1, 0}, {0, 0, 4, 0}, {}, {}, white}));
    // Uncompressed: the pixel cut short ends in 0xFF, the next is all 0xFF.
    file = With(file, 2, 2);
    file.resize(18 + 4);
    const std::vector<Pixel> pixels = Decode(Kind::kTga, file).pixels;
    EXPECT_EQ(std::vector<Pixel>(pixels.begin(), pixels.begin() + 3),
              (std::vector<Pixel>{{8, 9, 0x83, 0}, {255, 255, 7, 0}, white}));
}

TEST(TiffReader, StripsEndAfter1079AndTheReaderGoesOnAtOffsetZero) {
    // 2 x 1500 pixels, each in a strip of its own, the strips in reverse
    // order in the file, SHORT offsets and counts.
    testing::TiffBuilder tiff(false);
    std::vector<uint32_t> offsets(3000), counts(3000, 3);
    for (int i = 2999; i >= 0; --i) {
        offsets[i] = tiff.Append({static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 7});
    }
    const uint32_t offsetTable = tiff.AppendNumbers(3, offsets);
    const uint32_t countTable = tiff.AppendNumbers(3, counts);
    tiff.Entry(256, 3, 1, 2).Entry(257, 3, 1, 1500).Entry(273, 3, 3000, offsetTable);
    const std::vector<uint8_t> file =
        tiff.Entry(277, 3, 1, 3).Entry(279, 3, 3000, countTable).Finish();
    const Decoded d = Decode(Kind::kTiff, file);
    ASSERT_EQ(d.pixels.size(), 3000u);
    for (std::size_t i = 0; i < 3000; ++i) {
        const std::size_t at = 3 * (i - 1079);  // from the terminator on
        const Pixel expected = i < 1079
                                   ? Pixel{static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 7}
                                   : Pixel{file[at], file[at + 1], file[at + 2]};
        ASSERT_EQ(d.pixels[i], expected) << i;
    }
}

}  // namespace
}  // namespace fmconv
