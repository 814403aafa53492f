#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

#include "cli/convert_command.h"
#include "cli/import_pictures.h"

#include "import/picture_library.h"
#include "support/temp_dir.h"

// The library's PNG reader leaks a copy of its error message when libpng
// jumps out of the read of a cut file (a short string per file, inside the
// library). Its frames carry no frame pointers, so the allocation's stack
// ends at the copy.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:OpenImageIO_v2_4::ImageInput::geterror\n";
}

namespace fmconv::importing {
namespace {

using testing::TempDir;

// Writes a picture with the library, colour kept straight unless `more` says otherwise.
void Write(const std::string& path, int w, int h, int channels, OIIO::TypeDesc type,
           const void* samples, const std::function<void(OIIO::ImageSpec&)>& more = {}) {
    const auto out = OIIO::ImageOutput::create(path);
    OIIO::ImageSpec spec(w, h, channels, type);
    spec.attribute("oiio:UnassociatedAlpha", 1);
    if (more) more(spec);
    ASSERT_TRUE(out && out->open(path, spec) && out->write_image(type, samples)) << path;
}
template <typename T>
auto Set(const char* name, T value) {
    return [=](OIIO::ImageSpec& spec) { spec.attribute(name, value); };
}

uint32_t Crc(const uint8_t* p, std::size_t n) {
    uint32_t crc = 0xFFFFFFFF;
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; ++k) crc = crc >> 1 ^ (0xEDB88320 & (0 - (crc & 1)));
    }
    return ~crc;
}

void Be32(std::vector<uint8_t>& v, uint32_t x) {
    v.insert(v.end(), {uint8_t(x >> 24), uint8_t(x >> 16), uint8_t(x >> 8), uint8_t(x)});
}

// A PNG made by hand (the library writes no palettes): 8-bit samples, rows
// stored unfiltered in one uncompressed deflate block.
std::vector<uint8_t> Png(
    uint32_t w, uint32_t h, uint8_t colourType, const std::vector<uint8_t>& rows,
    const std::vector<std::pair<std::string, std::vector<uint8_t>>>& extra = {}) {
    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    auto chunk = [&png](const std::string& type, const std::vector<uint8_t>& data) {
        Be32(png, static_cast<uint32_t>(data.size()));
        const std::size_t start = png.size();
        png.insert(png.end(), type.begin(), type.end());
        png.insert(png.end(), data.begin(), data.end());
        Be32(png, Crc(&png[start], png.size() - start));
    };
    std::vector<uint8_t> header;
    Be32(header, w), Be32(header, h);
    header.insert(header.end(), {8, colourType, 0, 0, 0});
    chunk("IHDR", header);
    for (const auto& [type, data] : extra) chunk(type, data);
    const auto n = static_cast<uint16_t>(rows.size());
    std::vector<uint8_t> z = {
        0x78, 0x01, 1, uint8_t(n), uint8_t(n >> 8), uint8_t(~n), uint8_t(~n >> 8)};
    z.insert(z.end(), rows.begin(), rows.end());
    uint32_t s1 = 1, s2 = 0;
    for (uint8_t b : rows) s1 = (s1 + b) % 65521, s2 = (s2 + s1) % 65521;
    Be32(z, s2 << 16 | s1);
    chunk("IDAT", z);
    chunk("IEND", {});
    return png;
}

// A 32-bit TGA made by hand, rows stored bottom row first or top row first.
std::vector<uint8_t> Tga(const std::vector<uint8_t>& rgba, uint8_t w, uint8_t h, bool topFirst) {
    std::vector<uint8_t> tga = {0, 0, 2, 0, 0, 0, 0, 0,  0,
                                0, 0, 0, w, 0, h, 0, 32, uint8_t(topFirst ? 0x28 : 0x08)};
    for (int row = 0; row < h; ++row) {
        const std::size_t y = topFirst ? row : h - 1 - row;
        for (std::size_t i = y * w * 4; i < (y + 1) * w * 4; i += 4) {
            tga.insert(tga.end(), {rgba[i + 2], rgba[i + 1], rgba[i], rgba[i + 3]});
        }
    }
    return tga;
}

// The samples of some channels of each RGBA pixel.
std::vector<uint8_t> Pick(const std::vector<uint8_t>& rgba, std::vector<int> channels) {
    std::vector<uint8_t> samples;
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
        for (int c : channels) samples.push_back(rgba[i + c]);
    }
    return samples;
}

// How pixels of 1 to 4 samples read: grey repeated, opaque without alpha.
std::vector<uint8_t> AsRgba(const std::vector<uint8_t>& samples, std::size_t channels) {
    std::vector<uint8_t> rgba;
    for (std::size_t i = 0; i < samples.size(); i += channels) {
        const uint8_t* s = &samples[i];
        const bool grey = channels < 3, alpha = channels % 2 == 0;
        rgba.insert(rgba.end(), {s[0], s[grey ? 0 : 1], s[grey ? 0 : 2],
                                 alpha ? s[channels - 1] : uint8_t(255)});
    }
    return rgba;
}

// A run of `fmconv import` on a picture gives, under the same names, the very
// bytes that `fmconv convert --from image` gives for a TGA of the pixels
// expected from it (32-bit with alpha, else 24-bit); `shaped` imports with a
// shaped fill, and compares with the TGA of the colour multiplied by alpha.
void ExpectRunsAgree(const std::string& picture, std::vector<uint8_t> rgba, uint32_t w,
                     uint32_t h, bool alpha, bool shaped = false, bool keyNever = false) {
    // Both runs write into the same folder: a frame's header reads its name
    // back from the full path, where a capital M or S of a short folder may
    // stand in for the letter.
    TempDir tga, dest;
    const std::string file = picture.substr(picture.rfind('/') + 1);
    const std::string stem = file.substr(0, file.rfind('.'));
    if (shaped) {
        RgbaImage image{w, h, true, rgba};
        ShapeFill(image);
        rgba = image.rgba;
    }
    std::vector<uint8_t> bytes = Tga(rgba, uint8_t(w), uint8_t(h), true);
    if (!alpha) {  // 24-bit: the same without the alpha bytes
        bytes = {bytes.begin(), bytes.begin() + 18};
        bytes[16] = 24;
        for (std::size_t i = 0; i < rgba.size(); i += 4) {
            bytes.insert(bytes.end(), {rgba[i + 2], rgba[i + 1], rgba[i]});
        }
    }
    testing::WriteBytes(tga.File(stem + ".tga"), bytes);
    const auto run = [&](bool import) {
        std::ostringstream out, err;
        cli::ConvertRequest request;
        request.from = "image", request.to = "sfm", request.sfmFormat = "576i/50";
        request.sourceDir = tga.path(), request.destDir = dest.path();
        request.pictures = {picture};
        request.fill = shaped ? "shaped" : "straight";
        request.key = keyNever ? "never" : "auto";
        const PictureReaderModule reader{&ReadPicture};
        cli::LibraryPictures pictures(request, reader);
        if (import) request.import = &pictures;
        EXPECT_EQ(cli::RunConvert(request, out, err), 0) << picture << ": " << err.str();
        std::map<std::string, std::vector<uint8_t>> files;
        for (const auto& entry : std::filesystem::directory_iterator(dest.path())) {
            files[entry.path().filename().string()] = testing::ReadBytes(entry.path().string());
            std::filesystem::remove(entry.path());
        }
        return files;
    };
    const auto viaImport = run(true), viaTga = run(false);
    EXPECT_EQ(viaTga.size(), alpha ? 2u : 1u) << picture;
    EXPECT_TRUE(viaImport == viaTga) << picture;
}

TEST(ReadPicture, EightBitPicturesComeOutAsStoredAndConvertAsTheirTga) {
    // 4 x 2 pixels, varied, with colour under alpha 0 in the first.
    TempDir dir;
    const uint32_t w = 4, h = 2;
    std::vector<uint8_t> rgba(w * h * 4), rows;
    for (std::size_t i = 0; i < rgba.size(); ++i) rgba[i] = uint8_t(i * 37 + 11);
    rgba[3] = 0, rgba[7] = 255;
    const std::vector<uint8_t> rgb = Pick(rgba, {0, 1, 2}), grey = Pick(rgba, {0});
    const std::vector<uint8_t> greyAlpha = Pick(rgba, {0, 3});
    // Palette: pixel i is entry 7 - i.
    std::vector<uint8_t> palette, transparency;
    for (std::size_t p = 28; p < 32; p -= 4) {
        palette.insert(palette.end(), {rgba[p], rgba[p + 1], rgba[p + 2]});
        transparency.push_back(rgba[p + 3]);
    }
    for (uint8_t y = 0; y < h; ++y) {
        rows.push_back(0);  // no filter
        for (uint8_t x = 0; x < w; ++x) rows.push_back(uint8_t(7 - 4 * y - x));
    }
    auto library = [&](const char* name, const std::vector<uint8_t>& samples, int channels,
                       const char* compression = "none") {
        Write(dir.File(name), w, h, channels, OIIO::TypeDesc::UINT8, samples.data(),
              Set("compression", compression));
    };
    library("rgb.png", rgb, 3), library("rgba.png", rgba, 4), library("grey.png", grey, 1);
    library("grey-alpha.png", greyAlpha, 2), library("rgba.bmp", rgba, 4);
    library("deflate.tif", rgba, 4, "zip"), library("packbits.tif", rgba, 4, "packbits");
    library("photo.jpg", rgb, 3);
    std::vector<uint8_t> decoded(rgb.size());  // JPEG: as the library decodes it
    const auto in = OIIO::ImageInput::open(dir.File("photo.jpg"));
    ASSERT_TRUE(in && in->read_image(0, 0, 0, 3, OIIO::TypeDesc::UINT8, decoded.data()));
    testing::WriteBytes(dir.File("palette.png"), Png(w, h, 3, rows, {{"PLTE", palette}}));
    testing::WriteBytes(dir.File("palette-trns.png"),
                        Png(w, h, 3, rows, {{"PLTE", palette}, {"tRNS", transparency}}));
    testing::WriteBytes(dir.File("bottom-left.tga"), Tga(rgba, w, h, false));
    testing::WriteBytes(dir.File("top-left.tga"), Tga(rgba, w, h, true));
    testing::WriteBytes(dir.File("png-named.tif"), testing::ReadBytes(dir.File("rgba.png")));
    const struct {
        std::string name;
        const std::vector<uint8_t>& samples;  // as the pixels read
        std::size_t channels;
    } cases[] = {
        {"rgb.png", rgb, 3},          {"rgba.png", rgba, 4},
        {"grey.png", grey, 1},        {"grey-alpha.png", greyAlpha, 2},
        {"palette.png", rgb, 3},      {"palette-trns.png", rgba, 4},
        {"photo.jpg", decoded, 3},    {"deflate.tif", rgba, 4},
        {"packbits.tif", rgba, 4},    {"rgba.bmp", rgba, 4},
        {"bottom-left.tga", rgba, 4}, {"top-left.tga", rgba, 4},
        {"png-named.tif", rgba, 4},
    };
    for (const auto& c : cases) {
        RgbaImage image;
        ASSERT_EQ(ReadPicture(dir.File(c.name), image), "") << c.name;
        EXPECT_EQ(image.width, w) << c.name;
        EXPECT_EQ(image.height, h) << c.name;
        EXPECT_EQ(image.hasAlpha, c.channels % 2 == 0) << c.name;
        EXPECT_EQ(image.rgba, AsRgba(c.samples, c.channels)) << c.name;
        ExpectRunsAgree(dir.File(c.name), AsRgba(c.samples, c.channels), w, h,
                        c.channels % 2 == 0);
    }
    ExpectRunsAgree(dir.File("rgba.png"), rgba, w, h, true, true);         // a shaped fill
    ExpectRunsAgree(dir.File("rgba.png"), rgba, w, h, false, false, true);  // no key
}

TEST(ReadPicture, DeeperAssociatedAndTurnedPictures) {
    TempDir dir;
    // 16 bit: (v x 255 + 32767) / 65535, the halfway points of 0/1, 127/128 and 100/101.
    const uint16_t deep[] = {0, 128, 129, 65535, 32767, 32768, 25828, 25829};
    Write(dir.File("deep.png"), 2, 1, 4, OIIO::TypeDesc::UINT16, deep);
    // 12 bit (given as 16): (v x 255 + 2047) / 4095 for 265, 538, 4095, 0, 2048, 8.
    const uint16_t twelve[] = {265 << 4, 538 << 4, 65535, 0, 2048 << 4, 8 << 4};
    Write(dir.File("twelve.tif"), 2, 1, 3, OIIO::TypeDesc::UINT16, twelve,
          Set("oiio:BitsPerSample", 12));
    // Colour stored multiplied by alpha: 8-bit TIFF, and half floats in EXR.
    const uint8_t associated[] = {100, 50, 0, 128, 7, 0, 0, 0};
    auto associate = [](OIIO::ImageSpec& spec) { spec.attribute("oiio:UnassociatedAlpha", 0); };
    Write(dir.File("associated.tif"), 2, 1, 4, OIIO::TypeDesc::UINT8, associated, associate);
    const float linear[] = {0.25f, 0.5f, 0.0f, 0.5f, 2.0f, -1.0f, 0.2f, 1.0f};
    Write(dir.File("linear.exr"), 2, 1, 4, OIIO::TypeDesc::FLOAT, linear, associate);
    // 3 x 2 stored, shown turned a quarter clockwise (Exif orientation 6).
    const uint8_t grey[] = {1, 2, 3, 4, 5, 6};
    Write(dir.File("turned.tif"), 3, 2, 1, OIIO::TypeDesc::UINT8, grey, Set("Orientation", 6));
    const struct {
        std::string name;
        uint32_t w, h;
        std::vector<uint8_t> expected;
    } cases[] = {
        {"deep.png", 2, 1, {0, 0, 1, 255, 127, 128, 100, 101}},
        {"twelve.tif", 2, 1, {17, 34, 255, 255, 0, 128, 0, 255}},
        {"associated.tif", 2, 1, {199, 100, 0, 128, 7, 0, 0, 0}},
        {"linear.exr", 2, 1, {128, 255, 0, 128, 255, 0, 51, 255}},
        {"turned.tif", 2, 3, {4, 4, 4, 255, 1, 1, 1, 255, 5, 5, 5, 255,
                              2, 2, 2, 255, 6, 6, 6, 255, 3, 3, 3, 255}},
    };
    for (const auto& c : cases) {
        RgbaImage image;
        ASSERT_EQ(ReadPicture(dir.File(c.name), image), "") << c.name;
        EXPECT_EQ(image.width, c.w) << c.name;
        EXPECT_EQ(image.height, c.h) << c.name;
        EXPECT_EQ(image.rgba, c.expected) << c.name;
    }
    ExpectRunsAgree(dir.File("deep.png"), {0, 0, 1, 255, 127, 128, 100, 101}, 2, 1, true);
}

TEST(ReadPicture, HostileFilesAreRefusedInOneLine) {
    TempDir dir;
    const std::vector<uint8_t> good = Png(4, 4, 0, std::vector<uint8_t>(20, 0));
    // A multi-scan JPEG reserves all its coefficients when opened: 65000 x 65000.
    const uint8_t small[16 * 16 * 3] = {};
    const std::string progressive = dir.File("progressive.jpg");
    Write(progressive, 16, 16, 3, OIIO::TypeDesc::UINT8, small, Set("jpeg:progressive", 1));
    std::vector<uint8_t> bomb = testing::ReadBytes(progressive);
    for (std::size_t i = 0; i + 9 < bomb.size(); ++i) {
        if (bomb[i] == 0xFF && bomb[i + 1] == 0xC2)
            bomb[i + 5] = bomb[i + 7] = 0xFD, bomb[i + 6] = bomb[i + 8] = 0xE8;
    }
    // Noise as JPEG and TIFF (pixel data after the directory), each cut in half.
    std::vector<uint8_t> noise(64 * 64 * 3);
    for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = uint8_t(i * 2654435761u >> 13);
    Write(dir.File("noise.jpg"), 64, 64, 3, OIIO::TypeDesc::UINT8, noise.data());
    Write(dir.File("noise.tif"), 64, 64, 3, OIIO::TypeDesc::UINT8, noise.data(),
          Set("compression", "none"));
    const std::vector<uint8_t> jpeg = testing::ReadBytes(dir.File("noise.jpg"));
    const std::vector<uint8_t> tiff = testing::ReadBytes(dir.File("noise.tif"));
    const struct {
        std::string name;
        std::vector<uint8_t> bytes;
        std::string reason;  // a part of it
    } cases[] = {
        {"huge.png", Png(60000, 60000, 0, {}),
         "60000 x 60000 pixels, more than the limit of 32768 pixels a side"},
        {"many.png", Png(20000, 20000, 0, {}),
         "400000000 pixels, more than the limit of 67108864 pixels"},
        {"bomb.jpg", bomb, "65000 x 65000 pixels"},
        // An OpenEXR header entry "c" of type string claiming 1.5 GiB.
        {"overrun.exr",
         {0x76, 0x2f, 0x31, 1,   2,   0, 0, 0, 'c', 0,    's',
          't',  'r',  'i',  'n', 'g', 0, 0, 0, 0,   0x60, 'x'},
         "claims more bytes than the file holds"},
        {"cut.png", {good.begin(), good.end() - 30}, ""},
        {"cut.jpg", {jpeg.begin(), jpeg.begin() + jpeg.size() / 2}, "Premature end"},
        {"cut.tif", {tiff.begin(), tiff.begin() + tiff.size() / 2}, "cut short"},
        {"garbage.png", std::vector<uint8_t>(300, 0xA5), ""},
        {"empty.tif", {}, ""},
        {"text.jpg", {'h', 'e', 'l', 'l', 'o', '\n', 'x', '\n'}, ""},
    };
    for (const auto& c : cases) {
        testing::WriteBytes(dir.File(c.name), c.bytes);
        RgbaImage image;
        const std::string reason = ReadPicture(dir.File(c.name), image);
        EXPECT_NE(reason, "") << c.name;
        EXPECT_NE(reason.find(c.reason), std::string::npos) << c.name << ": " << reason;
        EXPECT_EQ(reason.find('\n'), std::string::npos) << c.name << ": " << reason;
        EXPECT_TRUE(image.rgba.empty()) << c.name;
    }
    RgbaImage image;
    EXPECT_EQ(ReadPicture(dir.File("missing.png"), image), "the file cannot be opened");
}

}  // namespace
}  // namespace fmconv::importing
