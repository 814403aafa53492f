#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "base/bytes.h"
#include "image/tiff.h"
#include "picture_files.h"
#include "support/temp_dir.h"

namespace fmconv {

void PrintTo(const Pixel& p, std::ostream* os) {
    *os << "RGBA(" << int{p.r} << "," << int{p.g} << "," << int{p.b} << "," << int{p.a} << ")";
}

namespace {

using testing::Kind;
using testing::TestPicture;

struct Decoded {
    std::string refusal;
    PictureInfo info;
    std::vector<Pixel> pixels;  // file order
    std::string trace;
};

Decoded Decode(Kind kind, const std::vector<uint8_t>& bytes) {
    MemoryByteSource source(bytes);
    Decoded d;
    const TraceSink sink = [&d](std::string_view line) { d.trace += line; };
    const std::unique_ptr<PictureReader> reader = testing::MakeReader(kind, source, sink);
    d.refusal = reader->ReadHeader();
    d.info = reader->info();
    if (!d.refusal.empty()) return d;
    reader->StartPixels();
    for (uint32_t row = 0; row < d.info.height; ++row) {
        reader->MoveTo(row, 0);
        for (uint32_t x = 0; x < d.info.width; ++x) d.pixels.push_back(reader->Next());
    }
    return d;
}

// The picture's pixels in the order a file with that row order holds them.
std::vector<Pixel> InFileOrder(const TestPicture& picture, bool firstRowIsTop, bool alpha) {
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

TEST(BmpReader, RowsArePaddedToFourBytesAndStoredBottomUp) {
    const struct {
        uint32_t width, rowBytes;
    } cases[] = {{1, 4}, {2, 8}, {3, 12}, {4, 12}, {5, 16}};
    for (const auto& c : cases) {
        const TestPicture picture = testing::Numbered(c.width, 3);
        const std::vector<uint8_t> file = testing::BmpFile(picture);
        ASSERT_EQ(file.size(), 54 + 3 * c.rowBytes);
        const Decoded d = Decode(Kind::kBmp, file);
        ASSERT_EQ(d.refusal, "");
        EXPECT_FALSE(d.info.firstRowIsTop);
        EXPECT_EQ(d.pixels, InFileOrder(picture, false, false)) << c.width;
    }
}

TEST(BmpReader, PixelsAreReadFromOffset54WhateverTheHeaderSays) {
    // A 108-byte information header: the pixel data really starts at 122.
    std::vector<uint8_t> file = testing::BmpFile(testing::Numbered(4, 2));
    std::vector<uint8_t> extra(68);
    for (std::size_t i = 0; i < extra.size(); ++i) extra[i] = static_cast<uint8_t>(0xA0 + i);
    file.insert(file.begin() + 54, extra.begin(), extra.end());
    WriteLe32(&file[10], 122);
    WriteLe32(&file[14], 108);
    const Decoded d = Decode(Kind::kBmp, file);
    ASSERT_EQ(d.refusal, "");
    EXPECT_EQ(d.pixels[0], (Pixel{0xA2, 0xA1, 0xA0, 0}));
    EXPECT_EQ(d.pixels[4], (Pixel{0xAE, 0xAD, 0xAC, 0}));  // row 1 starts 12 bytes on
}

TEST(BmpReader, OnlyTheLowByteOfTheBitCountAndTheHeightSignAreChecked) {
    const struct {
        std::size_t at;
        uint32_t value;
        std::string refusal;
    } cases[] = {
        {0, 0x5858, ""},   // no "BM" signature
        {30, 1, ""},       // compression
        {28, 0x0118, ""},  // bit count 280: low byte 24
        {28, 32, "bit count is not 24"},
        {28, 8, "bit count is not 24"},
        {22, 0xFFFFFFFE, "negative height"},  // -2: top-down rows
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> file = testing::BmpFile(testing::Numbered(2, 2));
        if (c.at == 22) {
            WriteLe32(&file[c.at], c.value);
        } else {
            WriteLe16(&file[c.at], static_cast<uint16_t>(c.value));
        }
        EXPECT_EQ(Decode(Kind::kBmp, file).refusal, c.refusal) << c.at << " " << c.value;
    }
    // A file too short to hold the bit count reads it as 0.
    EXPECT_EQ(Decode(Kind::kBmp, std::vector<uint8_t>(20, 24)).refusal, "bit count is not 24");
}

TEST(TgaReader, BothOriginsDepthsAndCodings) {
    const TestPicture picture = testing::MakePicture(5, 4, [](uint32_t x, uint32_t y) {
        // Repeats within and across rows give run packets, the rest raw ones.
        const uint8_t v = static_cast<uint8_t>(x < 3 || y == 2 ? 10 * y : 100 + x);
        return Pixel{v, static_cast<uint8_t>(v + 1), static_cast<uint8_t>(v + 2),
                     static_cast<uint8_t>(v + 3)};
    });
    for (bool runLength : {false, true}) {
        for (unsigned depth : {24u, 32u}) {
            for (uint8_t descriptor : {0x00, 0x08, 0x20, 0x28}) {
                SCOPED_TRACE(::testing::Message()
                             << runLength << " " << depth << " " << +descriptor);
                const Decoded d =
                    Decode(Kind::kTga, testing::TgaFile(picture, {runLength, depth, descriptor}));
                ASSERT_EQ(d.refusal, "");
                EXPECT_EQ(d.info.bytesPerPixel, depth / 8);
                EXPECT_EQ(d.info.firstRowIsTop, (descriptor & 0x20) != 0);
                EXPECT_EQ(d.pixels, InFileOrder(picture, d.info.firstRowIsTop, depth == 32));
                EXPECT_EQ(d.trace, "fseek RGB = 18\n");
            }
        }
    }
}

TEST(TgaReader, RefusedVariants) {
    const struct {
        std::size_t at;
        uint8_t value;
        std::string refusal;
    } cases[] = {
        {17, 0x18, "right-hand origin"},        {17, 0x10, "right-hand origin"},
        {17, 0x30, "right-hand origin"},        {2, 1, "image type is not 2 or 10"},
        {2, 3, "image type is not 2 or 10"},    {2, 9, "image type is not 2 or 10"},
        {2, 11, "image type is not 2 or 10"},   {16, 16, "pixel depth is not 24 or 32"},
        {16, 8, "pixel depth is not 24 or 32"},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> file = testing::TgaFile(testing::Numbered(2, 2));
        file[c.at] = c.value;
        const Decoded d = Decode(Kind::kTga, file);
        EXPECT_EQ(d.refusal, c.refusal) << c.at << " " << +c.value;
        EXPECT_EQ(d.trace, "");
    }
}

TEST(TgaReader, RunPacketsRunAcrossRowEnds) {
    const Pixel red{255, 0, 0, 0}, blue{0, 0, 255, 0};
    // 2 x 2 pixels: a run of three red pixels, then a raw packet of one blue.
    std::vector<uint8_t> file =
        testing::TgaFile(testing::TestPicture{2, 0, {}}, {.runLength = true, .depth = 24});
    WriteLe16(&file[14], 2);
    file.insert(file.end(), {0x82, 0, 0, 255, 0x00, 255, 0, 0});
    EXPECT_EQ(Decode(Kind::kTga, file).pixels, (std::vector<Pixel>{red, red, red, blue}));
}

TEST(TgaReader, ImageIdIsSkippedButAColourMapIsReadAsPixels) {
    const TestPicture picture = testing::Numbered(2, 1);
    const Decoded withId =
        Decode(Kind::kTga, testing::TgaFile(picture, {.descriptor = 0x20, .idLength = 3}));
    EXPECT_EQ(withId.trace, "fseek RGB = 21\n");
    EXPECT_EQ(withId.pixels, InFileOrder(picture, true, true));

    // A one-entry colour map of four bytes lies between the header and the
    // pixels; it comes out as the first pixel.
    std::vector<uint8_t> file = testing::TgaFile(picture, {.descriptor = 0x20});
    file[1] = 1;
    WriteLe16(&file[5], 1);
    file[7] = 32;
    file.insert(file.begin() + 18, {1, 2, 3, 4});
    const Decoded d = Decode(Kind::kTga, file);
    EXPECT_EQ(d.trace, "fseek RGB = 18\n");
    EXPECT_EQ(d.pixels, (std::vector<Pixel>{{3, 2, 1, 4}, picture.at(0, 0)}));
}

// A single-byte read past the end gives 0xFF; a block read that comes up
// short leaves the bytes it did not get as they were (a cleared packet: 0).
TEST(TgaReader, AFileThatEndsEarlyIsReadOn) {
    const Pixel white{255, 255, 255, 0};
    std::vector<uint8_t> raw = testing::TgaFile(testing::TestPicture{3, 0, {}}, {.depth = 24});
    WriteLe16(&raw[14], 1);
    raw.insert(raw.end(), {1, 2, 3, 4});
    EXPECT_EQ(Decode(Kind::kTga, raw).pixels,
              (std::vector<Pixel>{{3, 2, 1, 0}, {255, 255, 4, 0}, white}));

    // A run of two pixels, then a raw packet of four pixels (12 bytes) of
    // which the file holds 4: its buffer was cleared, so the rest are 0.
    std::vector<uint8_t> rle = raw;
    rle[2] = 10;
    WriteLe16(&rle[12], 8);
    rle.insert(rle.begin() + 18, {0x81, 9, 8, 7, 0x03});
    const Pixel seven{7, 8, 9, 0};
    EXPECT_EQ(Decode(Kind::kTga, rle).pixels,
              (std::vector<Pixel>{seven, seven, {3, 2, 1, 0}, {0, 0, 4, 0}, {}, {}, white, white}));
}

TEST(TiffReader, BothByteOrdersStripsAndSamples) {
    const TestPicture picture = testing::Numbered(5, 7);
    for (bool bigEndian : {false, true}) {
        for (unsigned samples : {0u, 3u, 4u}) {
            for (uint32_t rowsPerStrip : {0u, 1u, 3u}) {
                SCOPED_TRACE(::testing::Message()
                             << bigEndian << " " << samples << " " << rowsPerStrip);
                const Decoded d = Decode(
                    Kind::kTiff, testing::TiffFile(picture, {bigEndian, samples, rowsPerStrip}));
                ASSERT_EQ(d.refusal, "");
                // Without a SamplesPerPixel entry a pixel is four samples.
                EXPECT_EQ(d.info.bytesPerPixel, samples == 3 ? 3u : 4u);
                // Big-endian files take RowsPerStrip as the height.
                EXPECT_EQ(d.info.height, bigEndian && rowsPerStrip ? rowsPerStrip : 7);
                const std::vector<Pixel> all = InFileOrder(picture, true, samples != 3);
                EXPECT_EQ(d.pixels,
                          std::vector<Pixel>(all.begin(), all.begin() + 5 * d.info.height));
            }
        }
    }
}

// A minimal little-endian TIFF: one 2 x 1 RGB strip and the given entries
// after the required ones (a later entry of the same tag wins).
std::vector<uint8_t> TiffWith(std::vector<std::array<uint32_t, 4>> entries, bool strips = true) {
    testing::TiffBuilder tiff(false);
    const uint32_t strip = tiff.Append({1, 2, 3, 4, 5, 6});
    tiff.Entry(256, 3, 1, 2).Entry(257, 3, 1, 1);
    if (strips) tiff.Entry(273, 4, 1, strip).Entry(279, 4, 1, 6);
    for (const auto& e : entries) {
        tiff.Entry(static_cast<uint16_t>(e[0]), static_cast<uint16_t>(e[1]), e[2], e[3]);
    }
    return tiff.Finish();
}

TEST(TiffReader, RefusedVariants) {
    testing::TiffBuilder sixteen(false);
    const uint32_t bits16 = sixteen.AppendNumbers(3, {16, 16, 16});
    const struct {
        std::vector<uint8_t> file;
        std::string refusal;
    } cases[] = {
        {TiffWith({{258, 3, 1, 8}}), "BitsPerSample count is not 3 or 4"},
        {TiffWith({{259, 3, 1, 5}}), "compressed"},  // LZW
        {TiffWith({{262, 3, 1, 1}}), "not RGB"},
        {TiffWith({{277, 3, 1, 1}}), "SamplesPerPixel is not 3 or 4"},
        {TiffWith({{277, 3, 1, 5}}), "SamplesPerPixel is not 3 or 4"},
        {TiffWith({}, false), "no strip tables"},
        {TiffWith({{273, 4, 1, 8}}, false), "no strip tables"},
        {sixteen.Entry(258, 3, 3, bits16).Entry(273, 4, 1, 8).Entry(279, 4, 1, 6).Finish(),
         "BitsPerSample is not 8"},
        {{'I', 'M', 42, 0, 8, 0, 0, 0}, "byte order is not II or MM"},
        {{'I', 'I', 42, 0, 8, 0, 0x01, 0x04}, "directory too large"},  // 1025 entries
        {{'I', 'I', 42, 0, 8, 0, 0}, "directory too large"},  // count read past the end: 0xFFFF
    };
    for (const auto& c : cases) EXPECT_EQ(Decode(Kind::kTiff, c.file).refusal, c.refusal);
    // Accepted: BitsPerSample given as LONG values, a 1024-entry directory.
    testing::TiffBuilder longBits(true);
    const uint32_t bits = longBits.AppendNumbers(4, {8, 8, 8});
    longBits.Entry(258, 4, 3, bits).Entry(273, 4, 1, 8).Entry(279, 4, 1, 0);
    for (int i = 3; i < 1024; ++i) longBits.Entry(999, 3, 1, 0);
    EXPECT_EQ(Decode(Kind::kTiff, longBits.Finish()).refusal, "");
}

TEST(TiffReader, StripTablesEndAfter1079StripsAndReadingGoesOnAtOffsetZero) {
    // 2 x 1500 pixels, each in a strip of its own, the strips in reverse order
    // in the file; SHORT offsets and counts.
    testing::TiffBuilder tiff(false);
    std::vector<uint32_t> offsets(3000), counts(3000, 3);
    for (int i = 2999; i >= 0; --i) {
        offsets[i] = tiff.Append({static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 7});
    }
    const uint32_t offsetTable = tiff.AppendNumbers(3, offsets);
    const uint32_t countTable = tiff.AppendNumbers(3, counts);
    const std::vector<uint8_t> file = tiff.Entry(256, 3, 1, 2)
                                          .Entry(257, 3, 1, 1500)
                                          .Entry(273, 3, 3000, offsetTable)
                                          .Entry(277, 3, 1, 3)
                                          .Entry(279, 3, 3000, countTable)
                                          .Finish();
    const Decoded d = Decode(Kind::kTiff, file);
    ASSERT_EQ(d.pixels.size(), 3000u);
    for (std::size_t i = 0; i < 1079; ++i) {
        ASSERT_EQ(d.pixels[i], (Pixel{static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 7}));
    }
    for (std::size_t i = 1079; i < 3000; ++i) {
        const std::size_t at = 3 * (i - 1079);
        ASSERT_EQ(d.pixels[i], (Pixel{file[at], file[at + 1], file[at + 2]})) << i;
    }
}

TEST(TiffReader, ALaterStripTableEndsWithItsOwnTerminator) {
    // StripOffsets given twice, with three strips and then two: the third
    // strip is then the terminator's, read from offset 0.
    testing::TiffBuilder tiff(false);
    const uint32_t a = tiff.Append({1, 1, 1}), b = tiff.Append({2, 2, 2});
    const uint32_t c = tiff.Append({3, 3, 3});
    const uint32_t three = tiff.AppendNumbers(4, {a, b, c}), two = tiff.AppendNumbers(4, {c, b});
    const uint32_t counts = tiff.AppendNumbers(4, {3, 3, 3});
    tiff.Entry(256, 3, 1, 3).Entry(257, 3, 1, 1).Entry(277, 3, 1, 3).Entry(279, 4, 3, counts);
    const std::vector<uint8_t> file = tiff.Entry(273, 4, 3, three).Entry(273, 4, 2, two).Finish();
    EXPECT_EQ(Decode(Kind::kTiff, file).pixels,
              (std::vector<Pixel>{{3, 3, 3, 0}, {2, 2, 2, 0}, {'I', 'I', 42, 0}}));
}

TEST(TiffReader, AStripThatRunsPastTheEndReadsOnWithEndOfFileBytes) {
    // Five entries: the file is 8 + 2 + 5 * 12 + 4 = 74 bytes and ends in the
    // four zero bytes of "no next directory". The strip starts at 72.
    testing::TiffBuilder tiff(true);
    tiff.Entry(256, 3, 1, 3).Entry(257, 3, 1, 1).Entry(277, 3, 1, 3);
    const std::vector<uint8_t> file = tiff.Entry(273, 4, 1, 72).Entry(279, 4, 1, 9).Finish();
    ASSERT_EQ(file.size(), 74u);
    const Pixel white{255, 255, 255, 0};
    EXPECT_EQ(Decode(Kind::kTiff, file).pixels, (std::vector<Pixel>{{0, 0, 255, 0}, white, white}));
}

TEST(ByteSource, FileAndMemoryReadAlike) {
    std::vector<uint8_t> bytes(200000);
    std::mt19937 random(5);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    testing::TempDir dir;
    testing::WriteBytes(dir.File("bytes"), bytes);
    const std::unique_ptr<FileByteSource> file = FileByteSource::Open(dir.File("bytes"));
    ASSERT_NE(file, nullptr);
    MemoryByteSource memory(bytes);
    for (ByteSource* source :
         {static_cast<ByteSource*>(file.get()), static_cast<ByteSource*>(&memory)}) {
        source->Seek(65530);
        std::vector<uint8_t> block(20, 0xEE);
        EXPECT_EQ(source->Read(block.data(), 10), 10u);  // across the file's buffer
        EXPECT_TRUE(std::equal(block.begin(), block.begin() + 10, &bytes[65530]));
        EXPECT_EQ(source->ReadByte(), bytes[65540]);
        source->Seek(199995);
        std::fill(block.begin(), block.end(), 0xEE);
        EXPECT_EQ(source->Read(block.data(), 20), 5u);
        EXPECT_EQ(block[5], 0xEE);  // the rest is left as it was
        EXPECT_EQ(source->ReadByte(), ByteSource::kEndOfFile);
        source->Seek(~uint64_t{0});
        EXPECT_EQ(source->ReadByte(), ByteSource::kEndOfFile);
        source->Seek(3);
        source->Skip(100000);
        EXPECT_EQ(source->ReadByte(), bytes[100003]);
    }
    EXPECT_EQ(FileByteSource::Open(dir.File("none")), nullptr);
    EXPECT_EQ(FileByteSource::Open(dir.path()), nullptr);
}

}  // namespace
}  // namespace fmconv
