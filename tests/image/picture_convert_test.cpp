#include "image/picture_convert.h"

#include <gtest/gtest.h>

#include <climits>

#include "picture_files.h"
#include "run/naming.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::Kind;
using testing::TestPicture;
constexpr ColourMatrix kBt709 = ColourMatrix::kBt709, kBt601 = ColourMatrix::kBt601;

TEST(ColourMatrix, SpecifiedColoursAndKeys) {
    const struct {
        ColourMatrix matrix;
        Pixel pixel;
        uint16_t y, cb, cr;
    } cases[] = {
        {kBt709, {255, 255, 255}, 940, 512, 512}, {kBt601, {255, 255, 255}, 940, 512, 512},
        {kBt709, {0, 0, 0}, 64, 512, 512},        {kBt601, {0, 0, 0}, 64, 512, 512},
        {kBt709, {255, 0, 0}, 250, 409, 960},     {kBt601, {255, 0, 0}, 326, 361, 960},
        {kBt709, {0, 0, 255}, 127, 960, 471},     {kBt601, {0, 0, 255}, 164, 960, 439},
    };
    for (const auto& c : cases) {
        const YCbCr v = ToYCbCr(c.matrix, c.pixel);
        EXPECT_EQ(std::vector<int>({v.y, v.cb, v.cr}), std::vector<int>({c.y, c.cb, c.cr}));
    }
    for (ColourMatrix m : {kBt709, kBt601}) {
        EXPECT_EQ(std::vector<int>({ToKeyLuma(m, 0), ToKeyLuma(m, 128), ToKeyLuma(m, 255)}),
                  std::vector<int>({64, 504, 940}));
    }
}

// round(num / den), halves up, for either sign of num (den > 0).
int64_t RoundHalfUp(int64_t num, int64_t den) {
    const int64_t n = 2 * num + den, d = 2 * den;
    return n >= 0 ? n / d : -((-n + d - 1) / d);
}

// The integer constants against the formulas they stand for, exactly:
// Y' = Kr R + Kg G + Kb B, Y = 64 + round(Y' 876/255), Cb = 512 +
// round((B - Y') 896 / (510 (1 - Kb))), Cr likewise, K = 64 + round(A 876/255).
TEST(ColourMatrix, IntegerFormsAreTheRoundedRealFormulas) {
    const struct {
        ColourMatrix matrix;
        int64_t kr, kg, kb, scale;
    } matrices[] = {{kBt709, 2126, 7152, 722, 10000}, {kBt601, 299, 587, 114, 1000}};
    for (const auto& m : matrices) {
        for (int64_t a = 0; a < 256; ++a) {
            ASSERT_EQ(ToKeyLuma(m.matrix, static_cast<uint8_t>(a)), 64 + RoundHalfUp(876 * a, 255));
        }
        for (int64_t r = 0; r < 256; ++r) {
            for (int64_t g = 0; g < 256; g += r % 5 ? 7 : 1) {
                for (int64_t b = 0; b < 256; ++b) {
                    const Pixel p{static_cast<uint8_t>(r), static_cast<uint8_t>(g),
                                  static_cast<uint8_t>(b)};
                    const int64_t y = m.kr * r + m.kg * g + m.kb * b;  // Y' * scale
                    const YCbCr v = ToYCbCr(m.matrix, p);
                    ASSERT_EQ(v.y, 64 + RoundHalfUp(876 * y, 255 * m.scale));
                    ASSERT_EQ(v.cb,
                              512 + RoundHalfUp(896 * (m.scale * b - y), 510 * (m.scale - m.kb)));
                    ASSERT_EQ(v.cr,
                              512 + RoundHalfUp(896 * (m.scale * r - y), 510 * (m.scale - m.kr)));
                    ASSERT_EQ(ToLuma(m.matrix, p), v.y);
                }
            }
        }
    }
}

using Converter = int (*)(const std::string&, const std::string&, const std::optional<std::string>&,
                          int, int, int, const TraceSink&);

struct Source {
    const char* name;
    Converter convert;
    Kind kind;
    std::vector<uint8_t> bytes;
    bool alpha;
};

std::vector<Source> EverySource(const TestPicture& p) {
    return {{"BMP", ConvertBmpPicture, Kind::kBmp, testing::BmpFile(p), false},
            {"TGA 24", ConvertTgaPicture, Kind::kTga, testing::TgaFile(p, {.depth = 24}), false},
            {"TGA 32 RLE bottom-up", ConvertTgaPicture, Kind::kTga,
             testing::TgaFile(p, {.runLength = true, .descriptor = 0}), true},
            {"TIFF 3", ConvertTiffPicture, Kind::kTiff, testing::TiffFile(p), false},
            {"TIFF 4 strips", ConvertTiffPicture, Kind::kTiff,
             testing::TiffFile(p, {.samples = 4, .rowsPerStrip = 2}), true},
            {"TIFF MM without SamplesPerPixel", ConvertTiffPicture, Kind::kTiff,
             testing::TiffFile(p, {.bigEndian = true, .samples = 0}), true}};
}

// One conversion in a fresh folder, its outputs read back.
struct Inputs {
    std::string fill = "MPIC.FMEM_001.SFM";
    std::optional<std::string> key = "SPIC.FMEM_002.SFM";
    int lineOffset = 0, pixelOffset = 0;
    bool sourceMissing = false;
};
struct Outcome {
    int result = 0;
    bool fillWritten = false, keyWritten = false;
    PictureFrame fill, key;
    std::vector<uint8_t> fillBytes;
    std::string trace;
};

Outcome Convert(Converter convert, const std::vector<uint8_t>& picture, int format,
                const Inputs& in = {}) {
    testing::TempDir dir;
    if (!in.sourceMissing) testing::WriteBytes(dir.File("picture"), picture);
    const auto key = in.key ? std::optional(dir.File(*in.key)) : std::nullopt;
    Outcome out;
    out.result = convert(dir.File("picture"), dir.File(in.fill), key, format, in.lineOffset,
                         in.pixelOffset, [&out](std::string_view line) { out.trace += line; });
    const auto readBack = [&](const std::string& path, PictureFrame& frame) {
        if (!testing::FileExists(path)) return false;
        const std::vector<uint8_t> bytes = testing::ReadBytes(path);
        EXPECT_TRUE(DecodeSfmPicture(bytes, *GetFrameLayout(format), frame));
        EXPECT_EQ(bytes.size(), GetFrameLayout(format)->fileSize());
        if (&frame == &out.fill) out.fillBytes = bytes;
        return true;
    };
    out.fillWritten = readBack(dir.File(in.fill), out.fill);
    out.keyWritten = key && readBack(*key, out.key);
    return out;
}

// Where each picture pixel lands, by the placement rule: column x + pixel
// offset (raised to even), line y + line offset, kept when inside the frame.
void ExpectPlaced(const PictureFrame& fill, const PictureFrame* key, const TestPicture& picture,
                  ColourMatrix matrix, int64_t lineOffset, int64_t pixelOffset) {
    pixelOffset += pixelOffset & 1;
    std::vector<uint16_t> luma(fill.luma.size(), 64), chroma(luma.size(), 512), keyLuma = luma;
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; x += 2) {
            const int64_t l = y + lineOffset, c = x + pixelOffset;
            if (l < 0 || l >= fill.lines || c < 0 || c >= fill.width) continue;
            const Pixel even = picture.at(x, y);
            const Pixel odd = x + 1 < picture.width ? picture.at(x + 1, y) : Pixel{};
            const auto at = static_cast<std::size_t>(l * fill.width + c);
            const YCbCr colour = ToYCbCr(matrix, even);
            luma[at] = colour.y, luma[at + 1] = ToLuma(matrix, odd);
            chroma[at] = colour.cb, chroma[at + 1] = colour.cr;
            keyLuma[at] = ToKeyLuma(matrix, even.a), keyLuma[at + 1] = ToKeyLuma(matrix, odd.a);
        }
    }
    EXPECT_EQ(fill.luma, luma);
    EXPECT_EQ(fill.chroma, chroma);
    if (key) {
        EXPECT_EQ(key->luma, keyLuma);
        EXPECT_EQ(key->chroma, std::vector<uint16_t>(luma.size(), 512));
    }
}

// A key for TGA and TIFF pictures with alpha when a key name is given; the
// fill's header from its name (".TMP" ignored), its plane size and checksum;
// the offsets reach the placement.
TEST(PictureConvert, WhatIsWrittenForEachKindAndFormat) {
    const TestPicture picture = testing::Numbered(7, 5);
    int format = 0;
    for (const Source& s : EverySource(picture)) {
        for (bool keyGiven : {true, false}) {
            format = format % 4 + 1;
            SCOPED_TRACE(::testing::Message() << s.name << " " << format << " " << keyGiven);
            Inputs in{.fill = "MPIC.FMEM_007.SFM.TMP", .lineOffset = 2, .pixelOffset = 3};
            if (!keyGiven) in.key.reset();
            const Outcome out = Convert(s.convert, s.bytes, format, in);
            const bool key = s.alpha && keyGiven;
            EXPECT_EQ(out.result, key ? 10 + format : format);
            EXPECT_EQ(out.keyWritten, key);
            ASSERT_TRUE(out.fillWritten);
            EXPECT_EQ(std::string(&out.fillBytes[8], &out.fillBytes[20]), "FMEM_007.SFM");
            const FrameLayout& layout = *GetFrameLayout(format);
            EXPECT_EQ(ReadBe32(&out.fillBytes[52]), layout.planeBytes);
            EXPECT_EQ(ReadBe32(&out.fillBytes[36]),
                      ComputeSfmChecksum(&out.fillBytes[48], out.fillBytes.size() - 48));
            ExpectPlaced(out.fill, key ? &out.key : nullptr, picture, layout.matrix, 2, 3);
            EXPECT_EQ(out.trace, s.kind == Kind::kTga ? "fseek RGB = 18\n" : "");
        }
    }
}

TEST(PictureConvert, Failures) {
    const std::vector<uint8_t> tga = testing::TgaFile(testing::Numbered(2, 2));
    const std::vector<uint8_t> tif = testing::TiffFile(testing::Numbered(2, 2), {.samples = 4});
    const std::vector<uint8_t> bmp = testing::BmpFile(testing::Numbered(2, 2));
    std::vector<uint8_t> badTga = tga, badTif = tif, badBmp = bmp;
    badTga[17] = 0x18, badTif[0] = 'X', badBmp[28] = 32;
    // The driver's key name at register 999 does not read back as a name.
    const std::string key999 = MakePictureNames("PIC.tga", 999, false).sName;
    ASSERT_EQ(key999, "SPIC.FMEM_1000.SFM");
    const std::string lost = "nowhere/MPIC.FMEM_001.SFM", lostKey = "nowhere/SPIC.FMEM_002.SFM";
    const struct {
        Converter convert;
        std::vector<uint8_t> bytes;
        Inputs in;
        int format, result;
        bool fillWritten;
    } cases[] = {
        {ConvertTgaPicture, tga, {.sourceMissing = true}, 3, -1, false},
        {ConvertTiffPicture, tif, {.sourceMissing = true}, 3, -1, false},
        {ConvertBmpPicture, bmp, {.sourceMissing = true}, 3, -1, false},
        {ConvertTgaPicture, tga, {.fill = lost}, 1, -2, false},
        {ConvertTiffPicture, tif, {.fill = lost}, 1, -2, false},
        {ConvertBmpPicture, bmp, {.fill = lost}, 1, -1, false},  // BMP: -1 for its output too
        {ConvertTgaPicture, tga, {.fill = "MPIC.SFM", .sourceMissing = true}, 2, -2, false},
        {ConvertTiffPicture, tif, {.fill = "pic.sfm", .sourceMissing = true}, 2, -2, false},
        {ConvertBmpPicture, bmp, {.fill = "MPIC.FMEM_01.SFM", .sourceMissing = true}, 2, -2, false},
        {ConvertTgaPicture, tga, {.key = "SPIC.SFM", .sourceMissing = true}, 4, -5, false},
        {ConvertTiffPicture, tif, {.key = key999, .sourceMissing = true}, 4, -5, false},
        {ConvertTgaPicture, tga, {.key = key999}, 4, -5, false},
        {ConvertBmpPicture, bmp, {.key = "SPIC.SFM"}, 4, 4, true},  // no key for a BMP
        {ConvertTgaPicture, badTga, {}, 3, -3, false},
        {ConvertTiffPicture, badTif, {}, 3, -3, false},
        {ConvertBmpPicture, badBmp, {}, 3, -3, false},
        {ConvertTgaPicture, tga, {.fill = "x", .key = "x"}, 0, -4, false},
        {ConvertTiffPicture, tif, {.fill = "x", .key = "x"}, 5, -4, false},
        {ConvertBmpPicture, bmp, {.fill = "x"}, 5, -4, false},
        {ConvertTgaPicture, tga, {.key = lostKey}, 4, -5, true},  // the fill is complete
        {ConvertTiffPicture, tif, {.key = lostKey}, 4, -5, true},
    };
    for (const auto& c : cases) {
        const Outcome out = Convert(c.convert, c.bytes, c.format, c.in);
        EXPECT_EQ(out.result, c.result) << &c - cases;
        EXPECT_EQ(out.fillWritten, c.fillWritten) << &c - cases;
        EXPECT_FALSE(out.keyWritten);
    }
}

TEST(PictureConvert, A720x486PictureLeavesThe480iFrameLine486Black) {
    const TestPicture white = testing::MakePicture(720, 486, [](uint32_t, uint32_t) {
        return Pixel{255, 255, 255};
    });
    const Outcome out = Convert(ConvertBmpPicture, testing::BmpFile(white), 1);
    for (uint32_t line : {0u, 485u, 486u}) {
        EXPECT_EQ(std::vector<uint16_t>(out.fill.lumaLine(line), out.fill.lumaLine(line) + 720),
                  std::vector<uint16_t>(720, line < 486 ? 940 : 64));
    }
    EXPECT_EQ(out.fill.chroma, std::vector<uint16_t>(out.fill.chroma.size(), 512));
}

// Offsets are honoured although the driver passes 0; an odd width ends each
// row with a black, transparent pixel. A second pass (the TIFF key) reads the
// same pixels again.
TEST(PlacePicture, OffsetsAndClippingForEveryKind) {
    const TestPicture picture = testing::Numbered(7, 5);
    const int offsets[][2] = {{0, 0},       {2, 3},       {-1, -3},         {3, 5},
                              {-4, -6},     {4, 8},       {-5, 7},          {1, -7},
                              {INT_MIN, 0}, {0, INT_MAX}, {3, INT_MIN + 1}, {INT_MAX, 2}};
    for (const Source& s : EverySource(picture)) {
        for (const auto& [lineOffset, pixelOffset] : offsets) {
            SCOPED_TRACE(::testing::Message() << s.name << " " << lineOffset << " " << pixelOffset);
            MemoryByteSource source(s.bytes);
            const auto reader = testing::MakeReader(s.kind, source, {});
            ASSERT_EQ(reader->ReadHeader(), "");
            PictureFrame fill{8, 4, std::vector<uint16_t>(32, 64), std::vector<uint16_t>(32, 512)};
            PictureFrame key = fill, again = fill;
            PlacePicture(*reader, lineOffset, pixelOffset, kBt601, &fill, &key);
            ExpectPlaced(fill, s.alpha ? &key : nullptr, picture, kBt601, lineOffset, pixelOffset);
            PlacePicture(*reader, lineOffset, pixelOffset, kBt601, nullptr, &again);
            EXPECT_EQ(again.luma, key.luma);
        }
    }
}

TEST(PictureConvert, A1920x1080PictureKeepsItsTopLeft1280x720In720P) {
    const TestPicture picture = testing::Numbered(1920, 1080);
    const Outcome out = Convert(ConvertTgaPicture, testing::TgaFile(picture, {.descriptor = 0}), 4);
    EXPECT_EQ(out.result, 14);
    ExpectPlaced(out.fill, &out.key, picture, kBt709, 0, 0);
}

// A red/blue pair stores the red pixel's chroma for both; alpha 0, 128, 255
// give key luminance 64, 504, 940; the odd width ends in a black pixel.
TEST(PictureConvert, PairsTakeTheEvenPixelsChromaAndAlphaBecomesKey) {
    const Pixel pixels[] = {{255, 0, 0, 0}, {0, 0, 255, 128}, {255, 255, 255, 255}};
    const TestPicture picture =
        testing::MakePicture(3, 1, [&](uint32_t x, uint32_t) { return pixels[x]; });
    for (const Source& s : EverySource(picture)) {
        if (!s.alpha) continue;
        const Outcome out = Convert(s.convert, s.bytes, 4);
        const auto first4 = [](const std::vector<uint16_t>& v) {
            return std::vector<int>(v.begin(), v.begin() + 4);
        };
        EXPECT_EQ(first4(out.fill.luma), std::vector<int>({250, 127, 940, 64})) << s.name;
        EXPECT_EQ(first4(out.fill.chroma), std::vector<int>({409, 960, 512, 512})) << s.name;
        EXPECT_EQ(first4(out.key.luma), std::vector<int>({64, 504, 940, 64})) << s.name;
    }
}

// Sizes the files do not hold: only what lands in the frame is visited, and
// everything past the end of the file reads as 0xFF bytes (white, opaque).
// With pixel offset 4, columns 0 to 3 take the picture's last two pairs
// (positions wrap round at 2^32); a width of 2^32 - 1 ends in a black pixel.
TEST(PictureConvert, HugeDeclaredSizesReadOnlyWhatLands) {
    std::vector<uint8_t> bmp = testing::BmpFile(testing::Numbered(2, 1));
    WriteLe32(&bmp[18], 0xFFFFFFFF);
    WriteLe32(&bmp[22], 0x7FFFFFFF);
    std::vector<uint8_t> tga = testing::TgaFile(testing::Numbered(2, 1), {.runLength = true});
    WriteLe32(&tga[12], 0xFFFFFFFF);  // 65535 x 65535
    testing::TiffBuilder tiff(false);
    tiff.Entry(256, 4, 1, 0xFFFFFFFF).Entry(257, 4, 1, 0xFFFFFFFF);
    const std::vector<uint8_t> tif = tiff.Entry(273, 4, 1, 0).Entry(279, 4, 1, 0).Finish();
    const struct {
        Converter convert;
        std::vector<uint8_t> bytes;
        std::vector<uint16_t> firstFour;
    } cases[] = {{ConvertBmpPicture, bmp, {940, 940, 940, 64}},
                 {ConvertTgaPicture, tga, {64, 64, 64, 64}},
                 {ConvertTiffPicture, tif, {940, 940, 940, 64}}};
    for (const auto& c : cases) {
        const Outcome out =
            Convert(c.convert, c.bytes, 1, {.lineOffset = -65000, .pixelOffset = 4});
        EXPECT_GT(out.result, 0);
        EXPECT_EQ(std::vector<uint16_t>(out.fill.luma.begin(), out.fill.luma.begin() + 4),
                  c.firstFour);
        EXPECT_EQ(out.fill.lumaLine(486)[719], 940);
        if (out.keyWritten) {
            EXPECT_EQ(out.key.lumaLine(486)[719], 940);
        }
    }
}

}  // namespace
}  // namespace fmconv
