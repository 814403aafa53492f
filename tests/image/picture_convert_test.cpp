#include "image/picture_convert.h"

#include <gtest/gtest.h>

#include "picture_files.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using namespace testing;

using Converter = decltype(&ConvertTgaPicture);

struct Inputs {
    std::string fill = "MPIC.FMEM_001.SFM";
    std::optional<std::string> key = "SPIC.FMEM_002.SFM";
    int lineOffset = 0, pixelOffset = 0;
};
struct Outcome {
    int result = 0;
    bool fillWritten = false, keyWritten = false;
    PictureFrame fill, key;
};

// One conversion in a fresh folder (no source file for an empty picture),
// its outputs read back; each carries the name it was written under.
Outcome Convert(Converter convert, const std::vector<uint8_t>& picture, int format,
                const Inputs& in = {}) {
    TempDir dir;
    if (!picture.empty()) WriteBytes(dir.File("picture"), picture);
    const auto key = in.key ? std::optional(dir.File(*in.key)) : std::nullopt;
    Outcome out;
    out.result = convert(dir.File("picture"), dir.File(in.fill), key, format, in.lineOffset,
                         in.pixelOffset, {}, platform::SystemOutputFiles());
    const auto readBack = [&](const std::string& path, PictureFrame& frame) {
        if (!FileExists(path)) return false;
        const std::vector<uint8_t> bytes = ReadBytes(path);
        EXPECT_EQ(bytes.size(), GetFrameLayout(format)->fileSize());
        EXPECT_EQ(std::string(&bytes[8], &bytes[20]), path.substr(path.size() - 12));
        EXPECT_TRUE(DecodeSfmPicture(bytes, *GetFrameLayout(format), frame));
        return true;
    };
    out.fillWritten = readBack(dir.File(in.fill), out.fill);
    out.keyWritten = key && readBack(*key, out.key);
    return out;
}

TEST(PictureConvert, ResultCodesAndTheFilesTheyLeave) {
    const TestPicture picture = Numbered(4, 2);
    const auto tga = TgaFile(picture), tga24 = TgaFile(picture, {.depth = 24});
    const auto tif = TiffFile(picture, {.samples = 4}), bmp = BmpFile(picture);
    // Declared sizes far beyond the files: only what lands in the frame is visited.
    std::vector<uint8_t> hugeBmp = bmp, hugeTga = TgaFile(picture, {.runLength = true});
    WriteLe32(&hugeBmp[22], 0x7FFFFFFF);
    WriteLe32(&hugeTga[12], 0xFFFFFFFF);  // 65535 x 65535
    std::vector<uint8_t> hugeTif = tif;
    WriteLe32(&hugeTif[ReadLe32(&tif[4]) + 10], 0xFFFFFFFF);  // the width
    const std::string lost = "nowhere/MPIC.FMEM_001.SFM", lostKey = "nowhere/SPIC.FMEM_002.SFM";
    const struct {
        Converter convert;
        std::vector<uint8_t> bytes;
        Inputs in;
        int format, result;
        bool fillWritten;
    } cases[] = {
        {ConvertTgaPicture, tga24, {}, 1, 1, true},  // no alpha: no key although one is named
        {ConvertTiffPicture, tif, {.key = std::nullopt}, 2, 2, true},
        {ConvertBmpPicture, bmp, {.key = "SPIC.SFM"}, 3, 3, true},  // a BMP has no key
        {ConvertTiffPicture, TiffFile(picture), {}, 4, 4, true},
        {ConvertTgaPicture, tga, {}, 1, 11, true},
        {ConvertTiffPicture, tif, {}, 2, 12, true},
        {ConvertTgaPicture, hugeTga, {}, 3, 13, true},
        {ConvertTiffPicture, hugeTif, {}, 4, 14, true},
        {ConvertBmpPicture, hugeBmp, {}, 4, 4, true},
        {ConvertTiffPicture, {}, {}, 3, -1, false},
        {ConvertBmpPicture, bmp, {.fill = lost}, 1, -1, false},  // BMP: -1 for its output too
        {ConvertTgaPicture, tga, {.fill = lost}, 1, -2, false},
        {ConvertBmpPicture, {}, {.fill = "MPIC.FMEM_01.SFM"}, 2, -2, false},
        {ConvertTgaPicture, TgaFile(picture, {.descriptor = 0x18}), {}, 3, -3, false},
        {ConvertTgaPicture, tga, {.fill = "x", .key = "x"}, 0, -4, false},
        {ConvertBmpPicture, bmp, {.fill = "x"}, 5, -4, false},
        // Key names are checked before the source is opened; FMEM_1000 is none.
        {ConvertTiffPicture, {}, {.key = "SPIC.SFM"}, 4, -5, false},
        {ConvertTgaPicture, tga24, {.key = "SPIC.FMEM_1000.SFM"}, 4, -5, false},
        {ConvertTgaPicture, tga, {.key = lostKey}, 4, -5, true},  // the fill is complete
    };
    for (const auto& c : cases) {
        const Outcome out = Convert(c.convert, c.bytes, c.format, c.in);
        EXPECT_EQ(std::vector<int>({out.result, out.fillWritten, out.keyWritten}),
                  std::vector<int>({c.result, c.fillWritten, c.result > 10}))
            << &c - cases;
    }
}

// A pattern of four shades reappears from the given frame line and column on (an odd pixel
// offset raised to even), clipped, the rest black. Each pair takes its chroma from the even
// pixel; an odd width ends each row in a black, transparent pixel, not the file's next one.
TEST(PictureConvert, PlacementColoursAndKeys) {
    // Black, white, red at alpha 128, blue; their Y, Cb, Cr and key Y in BT.601 and BT.709.
    const Pixel shades[] = {{0, 0, 0, 0}, {255, 255, 255, 255}, {255, 0, 0, 128}, {0, 0, 255, 255}};
    const uint16_t values[2][4][4] = {
        {{64, 512, 512, 64}, {940, 512, 512, 940}, {326, 361, 960, 504}, {164, 960, 439, 940}},
        {{64, 512, 512, 64}, {940, 512, 512, 940}, {250, 409, 960, 504}, {127, 960, 471, 940}}};
    const auto shade = [](int64_t x, int64_t y) { return (x * x + 3 * y) % 7 % 4; };
    const auto pattern = [&](uint32_t w, uint32_t h) {
        return MakePicture(w, h, [&](uint32_t x, uint32_t y) { return shades[shade(x, y)]; });
    };
    const struct {
        Converter convert;
        std::vector<uint8_t> bytes;
        int64_t width, height;
        int format, lineOffset, pixelOffset;
        int64_t column;  // where picture column 0 lands
    } cases[] = {
        // 720x486 into 480i leaves frame line 486 black.
        {ConvertBmpPicture, BmpFile(pattern(720, 486)), 720, 486, 1, 0, 0, 0},
        // 1920x1080 into 720P keeps its top-left 1280x720.
        {ConvertTgaPicture, TgaFile(pattern(1920, 1080), {true, 32, 0x08}), 1920, 1080, 4, 0, 0, 0},
        {ConvertTiffPicture, TiffFile(pattern(7, 5), {false, 4, 2}), 7, 5, 2, -2, -3, -2},
        {ConvertTgaPicture, TgaFile(pattern(9, 6), {false, 24, 0}), 9, 6, 1, 483, 709, 710},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Outcome out = Convert(c.convert, c.bytes, c.format,
                                    {.lineOffset = c.lineOffset, .pixelOffset = c.pixelOffset});
        ASSERT_TRUE(out.fillWritten);
        const auto& v = values[c.format > 2];  // 1080 and 720P: BT.709
        for (int64_t line = 0, i = 0; line < out.fill.lines; ++line) {
            for (int64_t column = 0; column < out.fill.width; ++column, ++i) {
                const auto at = [&](int64_t col) {  // the shade at a frame column
                    const int64_t x = col - c.column, y = line - c.lineOffset;
                    return x >= 0 && x < c.width && y >= 0 && y < c.height ? shade(x, y) : 0;
                };
                ASSERT_EQ(out.fill.luma[i], v[at(column)][0]) << line << " " << column;
                ASSERT_EQ(out.fill.chroma[i], v[at(column & ~1)][1 + (column & 1)]) << i;
                if (!out.keyWritten) continue;
                ASSERT_EQ(out.key.luma[i], v[at(column)][3]) << line << " " << column;
                ASSERT_EQ(out.key.chroma[i], 512) << line << " " << column;
            }
        }
    }
}

}  // namespace
}  // namespace fmconv
