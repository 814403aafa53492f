#include "image/picture_convert.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "base/bytes.h"
#include "picture_files.h"
#include "run/naming.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::TestPicture;

using Converter = int (*)(const std::string&, const std::string&, const std::optional<std::string>&,
                          int, int, int, const TraceSink&);

// One conversion in a fresh folder, its outputs read back.
struct Outcome {
    int result = 0;
    bool fillWritten = false, keyWritten = false;
    PictureFrame fill, key;
    std::vector<uint8_t> fillBytes;
    std::string trace;
};

struct Inputs {
    std::string fill = "MPIC.FMEM_001.SFM";
    std::optional<std::string> key = "SPIC.FMEM_002.SFM";
    int lineOffset = 0, pixelOffset = 0;
    bool sourceMissing = false;
};

Outcome Convert(Converter convert, const std::vector<uint8_t>& picture, int format,
                const Inputs& setup = {}) {
    testing::TempDir dir;
    const std::string source = dir.File("picture");
    if (!setup.sourceMissing) testing::WriteBytes(source, picture);
    const std::optional<std::string> key =
        setup.key ? std::optional(dir.File(*setup.key)) : std::nullopt;
    Outcome run;
    run.result = convert(source, dir.File(setup.fill), key, format, setup.lineOffset,
                         setup.pixelOffset, [&run](std::string_view l) { run.trace += l; });
    const FrameLayout* layout = GetFrameLayout(format);
    const auto readBack = [&](const std::string& path, PictureFrame& frame) {
        if (!testing::FileExists(path)) return false;
        const std::vector<uint8_t> bytes = testing::ReadBytes(path);
        EXPECT_EQ(bytes.size(), layout->fileSize()) << path;
        EXPECT_TRUE(DecodeSfmPicture(bytes, *layout, frame));
        if (&frame == &run.fill) run.fillBytes = bytes;
        return true;
    };
    run.fillWritten = readBack(dir.File(setup.fill), run.fill);
    run.keyWritten = key && readBack(*key, run.key);
    return run;
}

constexpr ColourMatrix kBt709 = ColourMatrix::kBt709, kBt601 = ColourMatrix::kBt601;

TEST(ColourMatrix, SpecifiedColours) {
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
        EXPECT_EQ(v.y, c.y);
        EXPECT_EQ(v.cb, c.cb);
        EXPECT_EQ(v.cr, c.cr);
    }
    for (ColourMatrix m : {kBt709, kBt601}) {
        EXPECT_EQ(ToKeyLuma(m, 0), 64);
        EXPECT_EQ(ToKeyLuma(m, 128), 504);
        EXPECT_EQ(ToKeyLuma(m, 255), 940);
    }
}

// round(num / den), halves rounded up, for any sign.
int64_t RoundHalfUp(int64_t num, int64_t den) {
    const int64_t n = 2 * num + den, d = 2 * den;
    return n >= 0 ? n / d : -((-n + d - 1) / d);
}

// The integer constants against the formulas they stand for: Y' = Kr R +
// Kg G + Kb B; Y = 64 + round(Y' 876/255); Cb = 512 + round((B - Y') 896 /
// (510 (1 - Kb))); Cr likewise with R and Kr; K = 64 + round(A 876/255).
TEST(ColourMatrix, IntegerFormsAreTheRoundedRealFormulas) {
    const struct {
        ColourMatrix matrix;
        int64_t kr, kg, kb, scale;
    } matrices[] = {{kBt709, 2126, 7152, 722, 10000}, {kBt601, 299, 587, 114, 1000}};
    for (const auto& m : matrices) {
        for (int a = 0; a < 256; ++a) {
            ASSERT_EQ(ToKeyLuma(m.matrix, static_cast<uint8_t>(a)), 64 + RoundHalfUp(876 * a, 255));
        }
        for (int r = 0; r < 256; ++r) {
            for (int g = 0; g < 256; g += (r % 5 == 0 ? 1 : 7)) {
                for (int b = 0; b < 256; ++b) {
                    const int64_t yScaled = m.kr * r + m.kg * g + m.kb * b;  // Y' * scale
                    const Pixel p{static_cast<uint8_t>(r), static_cast<uint8_t>(g),
                                  static_cast<uint8_t>(b)};
                    const YCbCr v = ToYCbCr(m.matrix, p);
                    ASSERT_EQ(v.y, 64 + RoundHalfUp(876 * yScaled, 255 * m.scale));
                    ASSERT_EQ(v.cb, 512 + RoundHalfUp(896 * (m.scale * b - yScaled),
                                                      510 * (m.scale - m.kb)));
                    ASSERT_EQ(v.cr, 512 + RoundHalfUp(896 * (m.scale * r - yScaled),
                                                      510 * (m.scale - m.kr)));
                    ASSERT_EQ(ToLuma(m.matrix, p), v.y);
                }
            }
        }
    }
}

struct Source {
    const char* name;
    Converter convert;
    testing::Kind kind;
    std::vector<uint8_t> bytes;
    bool alpha;
};

std::vector<Source> EverySource(const TestPicture& picture) {
    using testing::Kind;
    return {
        {"BMP", ConvertBmpPicture, Kind::kBmp, testing::BmpFile(picture), false},
        {"TGA 24", ConvertTgaPicture, Kind::kTga, testing::TgaFile(picture, {.depth = 24}), false},
        {"TGA 32", ConvertTgaPicture, Kind::kTga, testing::TgaFile(picture, {.runLength = true}),
         true},
        {"TIFF 3", ConvertTiffPicture, Kind::kTiff, testing::TiffFile(picture, {.samples = 3}),
         false},
        {"TIFF 4", ConvertTiffPicture, Kind::kTiff,
         testing::TiffFile(picture, {.samples = 4, .rowsPerStrip = 2}), true},
        {"TIFF no SamplesPerPixel", ConvertTiffPicture, Kind::kTiff,
         testing::TiffFile(picture, {.bigEndian = true, .samples = 0}), true}};
}

TEST(PictureConvert, WhatIsWrittenForEachKindFormatAndKeyName) {
    const TestPicture picture = testing::Numbered(3, 2);
    int format = 0;
    for (const Source& s : EverySource(picture)) {
        for (bool keyGiven : {true, false}) {
            if (!keyGiven && !s.alpha) continue;
            format = format % 4 + 1;
            SCOPED_TRACE(::testing::Message() << s.name << " " << format << " " << keyGiven);
            Inputs inputs;
            if (!keyGiven) inputs.key.reset();
            const Outcome run = Convert(s.convert, s.bytes, format, inputs);
            const bool key = s.alpha && keyGiven;
            EXPECT_EQ(run.result, key ? 10 + format : format);
            ASSERT_TRUE(run.fillWritten);
            EXPECT_EQ(run.keyWritten, key);
            const FrameLayout& layout = *GetFrameLayout(format);
            EXPECT_EQ(ReadBe32(&run.fillBytes[52]), layout.planeBytes);
            EXPECT_EQ(ReadBe32(&run.fillBytes[36]),
                      ComputeSfmChecksum(&run.fillBytes[48], run.fillBytes.size() - 48));
            const YCbCr first = ToYCbCr(layout.matrix, picture.at(0, 0));
            EXPECT_EQ(run.fill.lumaLine(1)[2], ToLuma(layout.matrix, picture.at(2, 1)));
            EXPECT_EQ(run.fill.chromaLine(0)[0], first.cb);
            EXPECT_EQ(run.fill.chromaLine(0)[1], first.cr);
            if (key) {
                EXPECT_EQ(run.key.lumaLine(1)[2], ToKeyLuma(layout.matrix, 253));
                EXPECT_EQ(run.key.chromaLine(1)[2], kNeutralChroma);
            }
        }
    }
}

TEST(PictureConvert, Failures) {
    const std::vector<uint8_t> tga = testing::TgaFile(testing::Numbered(2, 2));
    const std::vector<uint8_t> tiff = testing::TiffFile(testing::Numbered(2, 2), {.samples = 4});
    const std::vector<uint8_t> bmp = testing::BmpFile(testing::Numbered(2, 2));
    // The key name the driver forms for register 999: it ends in
    // FMEM_1000.SFM and does not read back as a frame-memory name.
    const std::string key999 = MakePictureNames("PIC.tga", 999, false).sName;
    ASSERT_EQ(key999, "SPIC.FMEM_1000.SFM");
    std::vector<uint8_t> refusedTga = tga, refusedTiff = tiff, refusedBmp = bmp;
    refusedTga[17] = 0x18;
    refusedTiff[0] = 'X';
    refusedBmp[28] = 32;
    const struct {
        const char* what;
        Converter convert;
        std::vector<uint8_t> bytes;
        Inputs setup;
        int format;
        int result;
        bool fillWritten;
    } cases[] = {
        {"no source", ConvertTgaPicture, tga, {.sourceMissing = true}, 3, -1, false},
        {"no source", ConvertTiffPicture, tiff, {.sourceMissing = true}, 3, -1, false},
        {"no source", ConvertBmpPicture, bmp, {.sourceMissing = true}, 3, -1, false},
        {"fill folder missing",
         ConvertTgaPicture,
         tga,
         {.fill = "x/MPIC.FMEM_001.SFM"},
         1,
         -2,
         false},
        {"fill folder missing",
         ConvertTiffPicture,
         tiff,
         {.fill = "x/MPIC.FMEM_001.SFM"},
         1,
         -2,
         false},
        {"output folder missing",
         ConvertBmpPicture,
         bmp,
         {.fill = "x/MPIC.FMEM_001.SFM"},
         1,
         -1,
         false},
        {"fill name",
         ConvertTgaPicture,
         tga,
         {.fill = "MPIC.SFM", .sourceMissing = true},
         2,
         -2,
         false},
        {"fill name",
         ConvertTiffPicture,
         tiff,
         {.fill = "pic.sfm", .sourceMissing = true},
         2,
         -2,
         false},
        {"fill name",
         ConvertBmpPicture,
         bmp,
         {.fill = "MPIC.FMEM_01.SFM", .sourceMissing = true},
         2,
         -2,
         false},
        {"key name",
         ConvertTgaPicture,
         tga,
         {.key = "SPIC.SFM", .sourceMissing = true},
         4,
         -5,
         false},
        {"key name",
         ConvertTiffPicture,
         tiff,
         {.key = key999, .sourceMissing = true},
         4,
         -5,
         false},
        {"key name", ConvertTgaPicture, tga, {.key = key999}, 4, -5, false},
        {"BMP has no key", ConvertBmpPicture, bmp, {.key = "SPIC.SFM"}, 4, 4, true},
        {"refused", ConvertTgaPicture, refusedTga, {}, 3, -3, false},
        {"refused", ConvertTiffPicture, refusedTiff, {}, 3, -3, false},
        {"refused", ConvertBmpPicture, refusedBmp, {}, 3, -3, false},
        {"format 0", ConvertTgaPicture, tga, {.fill = "bad", .key = "bad"}, 0, -4, false},
        {"format 5", ConvertTiffPicture, tiff, {.fill = "bad", .key = "bad"}, 5, -4, false},
        {"format 5", ConvertBmpPicture, bmp, {.fill = "bad"}, 5, -4, false},
        {"key folder missing", ConvertTgaPicture, tga, {.key = "x/SPIC.FMEM_002.SFM"}, 4, -5, true},
        {"key folder missing",
         ConvertTiffPicture,
         tiff,
         {.key = "x/SPIC.FMEM_002.SFM"},
         4,
         -5,
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome run = Convert(c.convert, c.bytes, c.format, c.setup);
        EXPECT_EQ(run.result, c.result);
        // A fill left by a failing key is complete.
        EXPECT_EQ(run.fillWritten, c.fillWritten);
        EXPECT_FALSE(run.keyWritten);
    }
}

TEST(PictureConvert, TemporaryNamesAreWrittenAsGivenWithTheirFrameHeader) {
    const Outcome run = Convert(ConvertBmpPicture, testing::BmpFile(testing::Numbered(2, 2)), 4,
                                {.fill = "MPIC.FMEM_007.SFM.TMP"});
    EXPECT_EQ(run.result, 4);
    ASSERT_TRUE(run.fillWritten);
    EXPECT_EQ(std::string(&run.fillBytes[8], &run.fillBytes[20]), "FMEM_007.SFM");
    EXPECT_EQ(run.fillBytes[63], 7);
}

TEST(PictureConvert, TheTgaReaderTracesWhereThePixelsStart) {
    const Outcome run =
        Convert(ConvertTgaPicture, testing::TgaFile(testing::Numbered(2, 2), {.idLength = 5}), 1);
    EXPECT_EQ(run.trace, "fseek RGB = 23\n");
}

TEST(PictureConvert, A720x486PictureLeavesThe480iFrameLine486Black) {
    const TestPicture white = testing::MakePicture(720, 486, [](uint32_t, uint32_t) {
        return Pixel{255, 255, 255, 255};
    });
    const Outcome run = Convert(ConvertBmpPicture, testing::BmpFile(white), 1);
    ASSERT_EQ(run.fill.lines, 487u);
    for (uint32_t line : {0u, 485u, 486u}) {
        for (uint32_t x = 0; x < 720; ++x) {
            ASSERT_EQ(run.fill.lumaLine(line)[x], line < 486 ? 940 : 64) << line << " " << x;
            ASSERT_EQ(run.fill.chromaLine(line)[x], 512);
        }
    }
}

// Where each picture pixel lands, by the placement rule: column x + pixel
// offset (raised to even), line y + line offset, kept when inside the frame.
void ExpectPlaced(const PictureFrame& fill, const PictureFrame* key, const TestPicture& picture,
                  ColourMatrix matrix, int64_t lineOffset, int64_t pixelOffset) {
    pixelOffset += pixelOffset & 1;
    PictureFrame expected = fill, expectedKey = fill;
    std::fill(expected.luma.begin(), expected.luma.end(), kBlackLuma);
    std::fill(expected.chroma.begin(), expected.chroma.end(), kNeutralChroma);
    std::fill(expectedKey.luma.begin(), expectedKey.luma.end(), kBlackLuma);
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; x += 2) {
            const int64_t line = y + lineOffset, column = x + pixelOffset;
            if (line < 0 || line >= expected.lines || column < 0 || column >= expected.width) {
                continue;
            }
            const Pixel even = picture.at(x, y);
            const Pixel odd = x + 1 < picture.width ? picture.at(x + 1, y) : Pixel{};
            const YCbCr colour = ToYCbCr(matrix, even);
            const auto l = static_cast<uint32_t>(line), c = static_cast<uint32_t>(column);
            expected.lumaLine(l)[c] = colour.y;
            expected.lumaLine(l)[c + 1] = ToLuma(matrix, odd);
            expected.chromaLine(l)[c] = colour.cb;
            expected.chromaLine(l)[c + 1] = colour.cr;
            expectedKey.lumaLine(l)[c] = ToKeyLuma(matrix, even.a);
            expectedKey.lumaLine(l)[c + 1] = ToKeyLuma(matrix, odd.a);
        }
    }
    EXPECT_EQ(fill.luma, expected.luma);
    EXPECT_EQ(fill.chroma, expected.chroma);
    if (key != nullptr) {
        EXPECT_EQ(key->luma, expectedKey.luma);
        EXPECT_EQ(key->chroma, std::vector<uint16_t>(key->chroma.size(), kNeutralChroma));
    }
}

PictureFrame SmallFrame(uint32_t width, uint32_t lines) {
    return {width, lines, std::vector<uint16_t>(width * lines, kBlackLuma),
            std::vector<uint16_t>(width * lines, kNeutralChroma)};
}

TEST(PlacePicture, OffsetsAndClippingForEveryKind) {
    // Odd widths: the last pair of each row ends black. The second picture
    // has runs of three equal pixels running across row ends, between
    // single ones, which gives run and raw packets.
    const TestPicture numbered = testing::Numbered(7, 5);
    const TestPicture runs = testing::MakePicture(7, 5, [](uint32_t x, uint32_t y) {
        const uint32_t i = x + 7 * y;
        const auto v = static_cast<uint8_t>(i % 11 > 7 ? 7 * i : i / 3 * 20);
        return Pixel{v, 100, static_cast<uint8_t>(v / 2), static_cast<uint8_t>(255 - v)};
    });
    const struct {
        int lineOffset, pixelOffset;
    } offsets[] = {{0, 0},  {2, 3},  {-1, -3},     {3, 5},       {-4, -6},         {4, 8},
                   {-5, 7}, {1, -7}, {INT_MIN, 0}, {0, INT_MAX}, {3, INT_MIN + 1}, {INT_MAX, 2}};
    for (const TestPicture* picture : {&numbered, &runs}) {
        for (const Source& s : EverySource(*picture)) {
            for (const auto& o : offsets) {
                SCOPED_TRACE(::testing::Message()
                             << s.name << " " << o.lineOffset << " " << o.pixelOffset);
                MemoryByteSource source(s.bytes);
                const std::unique_ptr<PictureReader> reader =
                    testing::MakeReader(s.kind, source, {});
                ASSERT_EQ(reader->ReadHeader(), "");
                PictureFrame fill = SmallFrame(8, 4), key = SmallFrame(8, 4), again = key;
                PlacePicture(*reader, o.lineOffset, o.pixelOffset, kBt601, &fill, &key);
                ExpectPlaced(fill, s.alpha ? &key : nullptr, *picture, kBt601, o.lineOffset,
                             o.pixelOffset);
                // A second pass reads the same pixels again.
                PlacePicture(*reader, o.lineOffset, o.pixelOffset, kBt601, nullptr, &again);
                EXPECT_EQ(again.luma, key.luma);
            }
        }
    }
}

TEST(PictureConvert, OffsetsReachThePlacement) {
    const TestPicture picture = testing::Numbered(7, 5);
    for (const Source& s : EverySource(picture)) {
        SCOPED_TRACE(s.name);
        const Outcome run = Convert(s.convert, s.bytes, 1, {.lineOffset = 2, .pixelOffset = 3});
        ExpectPlaced(run.fill, run.keyWritten ? &run.key : nullptr, picture, kBt601, 2, 3);
        EXPECT_EQ(run.keyWritten, s.alpha);
    }
}

TEST(PictureConvert, A1920x1080PictureKeepsItsTopLeft1280x720In720P) {
    const TestPicture picture = testing::Numbered(1920, 1080);
    const Outcome run = Convert(ConvertTgaPicture, testing::TgaFile(picture, {.descriptor = 0}), 4);
    EXPECT_EQ(run.result, 14);
    ExpectPlaced(run.fill, &run.key, picture, kBt709, 0, 0);
}

TEST(PictureConvert, ChromaComesFromTheEvenPixelOfAPair) {
    const TestPicture redBlue = testing::MakePicture(2, 1, [](uint32_t x, uint32_t) {
        return x == 0 ? Pixel{255, 0, 0, 0} : Pixel{0, 0, 255, 0};
    });
    const Outcome run = Convert(ConvertTiffPicture, testing::TiffFile(redBlue), 3);
    const uint16_t* y = run.fill.lumaLine(0);
    const uint16_t* c = run.fill.chromaLine(0);
    EXPECT_EQ(std::vector<uint16_t>(y, y + 3), (std::vector<uint16_t>{250, 127, 64}));
    EXPECT_EQ(std::vector<uint16_t>(c, c + 3), (std::vector<uint16_t>{409, 960, 512}));
}

TEST(PictureConvert, KeyLuminanceOfAlpha0_128_255) {
    const TestPicture picture = testing::MakePicture(6, 1, [](uint32_t x, uint32_t) {
        const uint8_t alpha[] = {0, 128, 255, 255, 128, 0};
        return Pixel{10, 20, 30, alpha[x]};
    });
    for (const Source& s : EverySource(picture)) {
        if (!s.alpha) continue;
        const Outcome run = Convert(s.convert, s.bytes, 2);
        ASSERT_TRUE(run.keyWritten) << s.name;
        const uint16_t* y = run.key.lumaLine(0);
        EXPECT_EQ(std::vector<uint16_t>(y, y + 7),
                  (std::vector<uint16_t>{64, 504, 940, 940, 504, 64, 64}))
            << s.name;
        EXPECT_EQ(run.key.chroma, std::vector<uint16_t>(run.key.chroma.size(), 512));
    }
}

// Sizes the files do not hold: only what lands in the frame is visited, and
// everything past the end of the file reads as 0xFF bytes (white, opaque).
TEST(PictureConvert, HugeDeclaredSizesReadOnlyWhatLands) {
    std::vector<uint8_t> bmp = testing::BmpFile(testing::Numbered(2, 1));
    WriteLe32(&bmp[18], 0xFFFFFFFF);
    WriteLe32(&bmp[22], 0x7FFFFFFF);
    std::vector<uint8_t> tga = testing::TgaFile(testing::Numbered(2, 1), {.runLength = true});
    WriteLe16(&tga[12], 0xFFFF);
    WriteLe16(&tga[14], 0xFFFF);
    testing::TiffBuilder tiff(false);
    tiff.Entry(256, 4, 1, 0xFFFFFFFF).Entry(257, 4, 1, 0xFFFFFFFF);
    const std::vector<uint8_t> tif = tiff.Entry(273, 4, 1, 0).Entry(279, 4, 1, 0).Finish();
    const struct {
        Converter convert;
        std::vector<uint8_t> bytes;
        uint16_t luma;
    } cases[] = {{ConvertBmpPicture, bmp, 940},
                 {ConvertTgaPicture, tga, 940},
                 {ConvertTiffPicture, tif, 940}};
    for (const auto& c : cases) {
        const Outcome run =
            Convert(c.convert, c.bytes, 1, {.lineOffset = -5, .pixelOffset = -1000});
        EXPECT_GT(run.result, 0);
        EXPECT_EQ(run.fill.lumaLine(486)[719], c.luma);
        if (run.keyWritten) {
            EXPECT_EQ(run.key.lumaLine(486)[719], 940);
        }
    }
}

}  // namespace
}  // namespace fmconv
