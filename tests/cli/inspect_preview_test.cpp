// `fmconv inspect` and `fmconv preview` as separate processes, on frames the
// tests make through the library and through `fmconv convert`.
#include <gtest/gtest.h>
#include <png.h>

#include <array>

#include "fmfiles/register_file.h"
#include "fmfiles/sfm_file.h"
#include "image/picture_files.h"
#include "run_fmconv.h"
#include "support/temp_dir.h"

namespace fmconv::testing {
namespace {

struct Png {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> rgb;
};

Png ReadPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Png png;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return png;
    image.format = PNG_FORMAT_RGB;
    png.rgb.resize(std::size_t{image.width} * image.height * 3);
    if (png_image_finish_read(&image, nullptr, png.rgb.data(), 0, nullptr)) {
        png.width = image.width;
        png.height = image.height;
    }
    return png;
}

void ExpectPixel(const Png& png, uint32_t x, uint32_t y, std::array<int, 3> want) {
    const uint8_t* p = &png.rgb[(std::size_t{y} * png.width + x) * 3];
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(p[k], want[k], 2) << x << "," << y << " channel " << k;
}

// The picture as dir/sfm/MPIC.FMEM_001.SFM (and SPIC.FMEM_002.SFM from alpha).
void ConvertPicture(const TempDir& dir, const TestPicture& picture, unsigned depth,
                    const std::string& sfmFormat) {
    dir.MakeDir("pics");
    dir.MakeDir("sfm");
    TgaOptions tga;
    tga.depth = depth;
    WriteBytes(dir.File("pics/PIC.tga"), TgaFile(picture, tga));
    const ProcessResult r =
        RunFmconv(dir.path(), {"convert", "--quiet", "--from", "image", "--to", "sfm",
                               "--sfm-format", sfmFormat, "pics", "sfm"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
}

TEST(Inspect, JsonLinesExitCodesAndUsage) {
    TempDir dir;
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat576i);
    SfmHeader header;
    BuildSfmHeader("MX.FMEM_007.SFM", header, layout.lengthFrom48(), layout.planeBytes);
    std::vector<uint8_t> sf1 = BuildSfmFile(header, layout, MakeUncoveredFrame(layout));
    const RegisterTrailer trailer = BuildRegisterTrailer("MX.FMEM_007.SFM");
    sf1.insert(sf1.end(), trailer.begin(), trailer.end());
    WriteBytes(dir.File("F0007.SF1"), sf1);
    ProcessResult r = RunFmconv(dir.path(), {"inspect", "--json", "F0007.SF1"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    // An uncovered frame of register 7 has the checksum 0x01000017.
    EXPECT_EQ(r.out,
              "{\"file\": \"F0007.SF1\", \"kind\": \"SF1\", \"ok\": true, \"problems\": [], "
              "\"bytes\": 1112048, \"format\": \"576i/50\", \"checksum\": {\"stored\": "
              "\"01000017\", \"computed\": \"01000017\", \"ok\": true, \"rule\": \"word-xor\"}, "
              "\"inner_name\": \"MX.FMEM_007.SFM\"}\n");

    // A flipped payload byte, a truncated file and a broken trailer.
    std::vector<uint8_t> flipped = sf1, truncated = sf1, broken = sf1;
    flipped[100000] ^= 1;
    truncated.resize(truncated.size() - 500);
    broken[broken.size() - 48] = 'X';  // the "S" of "SFM1"
    WriteBytes(dir.File("flipped"), flipped);
    WriteBytes(dir.File("truncated"), truncated);
    WriteBytes(dir.File("broken"), broken);
    r = RunFmconv(dir.path(), {"inspect", "--json", "F0007.SF1", "flipped", "truncated", "broken"});
    EXPECT_EQ(r.exitCode, 1);
    ASSERT_EQ(r.outLines.size(), 4u);
    for (int i = 1; i < 4; ++i)
        EXPECT_NE(r.outLines[i].find("\"ok\": false, \"problems\": [\""), std::string::npos);
    r = RunFmconv(dir.path(), {"inspect", "broken"});
    EXPECT_TRUE(AnyLineHas(r.outLines, {"  problem     register trailer: \"SFM1\" missing"}));

    const struct {
        std::vector<std::string> args;
        int exitCode;
        std::string errLine;  // the only line on standard error; none when empty
    } usage[] = {
        {{"inspect"}, 2, "fmconv inspect: no FILE given (see 'fmconv inspect --help')"},
        {{"preview", "x"},
         2,
         "fmconv preview: -o OUT.png is missing (see 'fmconv preview --help')"},
        {{"preview", "-o", "a.png", "truncated"},
         1,
         "fmconv preview: truncated: size: the frame has 1111744 bytes, the file holds 1111548"},
    };
    for (const auto& c : usage) {
        r = RunFmconv(dir.path(), c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.args[0];
        EXPECT_EQ(r.errLines, c.errLine.empty() ? std::vector<std::string>{}
                                                : std::vector<std::string>{c.errLine});
        EXPECT_EQ(r.out, "");
    }
}

TEST(Preview, FlatBlocksComeBackWithin2Codes) {
    // A 128 x 64 picture of 32-pixel blocks, four across and two down, at the
    // top left of a black frame.
    const Pixel colours[8] = {{255, 255, 255, 255}, {255, 255, 0, 255}, {0, 255, 255, 255},
                              {0, 0, 0, 255},       {255, 0, 0, 255},   {0, 0, 255, 255},
                              {200, 100, 50, 255},  {30, 60, 90, 255}};
    const auto colour = [&colours](uint32_t x, uint32_t y) { return colours[x / 32 + y / 32 * 4]; };
    const struct {
        std::string sfmFormat, sfaFormat;  // through an SF3 of sfaFormat, when given
        uint32_t width, height;
    } cases[] = {{"1080i/1080PsF", "", 1920, 1080},
                 {"720P", "", 1280, 720},
                 {"576i/50", "", 720, 576},
                 {"480i/59.94", "", 720, 486},
                 {"480i/59.94", "480i/59.94", 720, 486},
                 {"1080i/1080PsF", "1080i/50", 1920, 1080}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sfmFormat + " " + c.sfaFormat);
        TempDir dir;
        ConvertPicture(dir, MakePicture(128, 64, colour), 24, c.sfmFormat);
        std::string frame = "sfm/MPIC.FMEM_001.SFM";
        if (!c.sfaFormat.empty()) {
            dir.MakeDir("sf3");
            RunFmconv(dir.path(), {"convert", "--quiet", "--from", "sfm", "--to", "sf3",
                                   "--sfa-format", c.sfaFormat, "sfm", "sf3"});
            frame = "sf3/F0001.SF3";
        }
        const ProcessResult r = RunFmconv(dir.path(), {"preview", "-o", "out.png", frame});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const Png png = ReadPng(dir.File("out.png"));
        ASSERT_EQ(png.width, c.width);
        ASSERT_EQ(png.height, c.height);
        // The middle of each block on two lines, one of each field; black below.
        for (uint32_t x = 16; x < 128; x += 32) {
            for (uint32_t y : {15u, 16u, 47u, 48u}) {
                const Pixel p = colour(x, y);
                ExpectPixel(png, x, y, {p.r, p.g, p.b});
            }
            ExpectPixel(png, x, c.height - 1, {0, 0, 0});
        }
    }
}

TEST(Preview, KeyCompositesTheFillOverTheCheckerboard) {
    // Three bands of 32 pixels with alpha 0, 128 and 255 over a colour; the
    // checkerboard has light grey (204) 16-pixel squares where x / 16 + y / 16
    // is even and white ones where it is odd.
    const auto bands = [](uint32_t x, uint32_t) {
        return Pixel{200, 100, 50, static_cast<uint8_t>(x < 32 ? 0 : x < 64 ? 128 : 255)};
    };
    TempDir dir;
    ConvertPicture(dir, MakePicture(96, 32, bands), 32, "720P");
    const ProcessResult r = RunFmconv(dir.path(), {"preview", "--key", "sfm/SPIC.FMEM_002.SFM",
                                                   "-o", "out.png", "sfm/MPIC.FMEM_001.SFM"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const Png png = ReadPng(dir.File("out.png"));
    ASSERT_EQ(png.width, 1280u);
    const std::pair<uint32_t, std::array<int, 3>>
        expected[] = {{0, {204, 204, 204}},  {16, {255, 255, 255}}, {32, {202, 152, 127}},
                      {48, {227, 177, 152}}, {64, {200, 100, 50}},  {80, {200, 100, 50}},
                      {200, {204, 204, 204}}};  // beyond the picture the key is Y 64: transparent
    for (const auto& [x, rgb] : expected) ExpectPixel(png, x, 0, rgb);
}

}  // namespace
}  // namespace fmconv::testing
