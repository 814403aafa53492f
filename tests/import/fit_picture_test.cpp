#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "import/picture_library.h"

namespace fmconv::importing {
namespace {

using Rgba = std::array<uint8_t, 4>;
const Rgba kBlue{0, 0, 255, 255}, kGreen{0, 255, 0, 255}, kRed{255, 0, 0, 255};

// Left quarter blue, middle half green, right quarter red, all opaque.
RgbaImage Bands(uint32_t w, uint32_t h) {
    RgbaImage image{w, h, false, std::vector<uint8_t>(std::size_t{w} * h * 4)};
    for (std::size_t i = 0; i < image.rgba.size(); i += 4) {
        const std::size_t x = i / 4 % w;
        const Rgba& colour = x < w / 4 ? kBlue : x < w * 3 / 4 ? kGreen : kRed;
        std::copy(colour.begin(), colour.end(), &image.rgba[i]);
    }
    return image;
}

Rgba At(const RgbaImage& image, uint32_t x, uint32_t y) {
    const uint8_t* p = &image.rgba[(std::size_t{y} * image.width + x) * 4];
    return {p[0], p[1], p[2], p[3]};
}

bool Near(const Rgba& a, const Rgba& b) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](int x, int y) { return std::abs(x - y) <= 2; });
}

TEST(FitPicture, PlacesThePictureWhereAPersonExpectsIt) {
    using Runs = std::vector<std::pair<uint32_t, Rgba>>;  // a colour from a column on
    const Runs thirds = {{0, kBlue}, {180, kGreen}, {540, kRed}};
    const struct {
        const char* what;
        uint32_t w, h;
        FitRequest request;
        int line, pixel;         // the placed picture's top-left in the frame
        uint32_t width, height;  // its size
        Runs runs;
    } cases[] = {
        // clang-format off
        {"none", 100, 50, {Fit::kNone, Align::kTopLeft, 1920, 1080}, 0, 0, 100, 50,
         {{0, kBlue}, {25, kGreen}, {75, kRed}}},
        {"none, larger, center", 400, 300, {Fit::kNone, Align::kCenter, 320, 240}, -30, -40, 400,
         300, {{0, kBlue}, {100, kGreen}, {300, kRed}}},
        {"contain", 200, 100, {Fit::kContain, Align::kTopLeft, 480, 270}, 0, 0, 480, 240,
         {{0, kBlue}, {120, kGreen}, {360, kRed}}},
        {"contain, center", 200, 100, {Fit::kContain, Align::kCenter, 480, 270}, 15, 0, 480, 240,
         {{0, kBlue}, {120, kGreen}, {360, kRed}}},
        {"contain, shrinking", 800, 500, {Fit::kContain, Align::kCenter, 400, 225}, 0, 20, 360,
         225, {{0, kBlue}, {90, kGreen}, {270, kRed}}},
        // 800 x 200 covers at 400 x 100: blue to 100, green to 300.
        {"cover, center", 800, 200, {Fit::kCover, Align::kCenter, 100, 100}, 0, 0, 100, 100,
         {{0, kGreen}}},
        {"cover, top-left", 800, 200, {Fit::kCover, Align::kTopLeft, 150, 100}, 0, 0, 150, 100,
         {{0, kBlue}, {100, kGreen}}},
        {"cover, unscaled", 400, 100, {Fit::kCover, Align::kCenter, 200, 100}, 0, 0, 200, 100,
         {{0, kGreen}}},
        {"stretch", 100, 100, {Fit::kStretch, Align::kCenter, 360, 288}, 0, 0, 360, 288,
         {{0, kBlue}, {90, kGreen}, {270, kRed}}},
        // SD: 4:3 in square pixels fills 720 x 486 at 0.9; 16:9 in 4:3 576 lines at 16/15.
        {"4:3 into 480i", 320, 240, {Fit::kContain, Align::kCenter, 720, 486, 0.9}, 0, 0, 720,
         486, thirds},
        {"16:9 into 576i", 480, 270, {Fit::kContain, Align::kCenter, 720, 576, 16.0 / 15}, 72, 0,
         720, 432, thirds},
        // clang-format on
    };
    for (const auto& c : cases) {
        const Placed placed = FitPicture(Bands(c.w, c.h), c.request);
        const RgbaImage& p = placed.picture;
        EXPECT_NEAR(placed.lineOffset, c.line, 2) << c.what;
        EXPECT_NEAR(placed.pixelOffset, c.pixel, 2) << c.what;
        EXPECT_NEAR(p.width, c.width, 2) << c.what;
        ASSERT_NEAR(p.height, c.height, 2) << c.what;
        ASSERT_EQ(p.rgba.size(), std::size_t{p.width} * p.height * 4) << c.what;
        // Flat colours in the top, middle and bottom rows, away from the colour edges: 3
        // pixels, and 2 of the picture's pixels, which scaling up blurs.
        const uint32_t margin = 3 + 2 * (p.width / c.w);
        for (const uint32_t y : {0u, p.height / 2, p.height - 1}) {
            for (uint32_t x = 0; x < p.width; ++x) {
                auto run = std::find_if(c.runs.rbegin(), c.runs.rend(),
                                        [x](const auto& r) { return r.first <= x; });
                const bool nearEdge = std::any_of(
                    c.runs.begin() + 1, c.runs.end(),
                    [&](const auto& r) { return x + margin >= r.first && x < r.first + margin; });
                if (nearEdge) continue;
                ASSERT_TRUE(Near(At(p, x, y), run->second)) << c.what << " at " << x << ", " << y;
            }
        }
    }
}

TEST(FitPicture, TransparentColourDoesNotBleedIntoEdges) {
    // Opaque red on the left half, fully transparent green on the right.
    RgbaImage image{100, 100, true, std::vector<uint8_t>(100 * 100 * 4)};
    for (std::size_t i = 0; i < image.rgba.size(); i += 4) {
        const Rgba colour = i / 4 % 100 < 50 ? kRed : Rgba{0, 255, 0, 0};
        std::copy(colour.begin(), colour.end(), &image.rgba[i]);
    }
    for (const uint32_t size : {37u, 250u}) {
        const RgbaImage p = FitPicture(image, {Fit::kStretch, Align::kTopLeft, size, size}).picture;
        ASSERT_EQ(p.width, size);
        bool filteredEdge = false;
        for (uint32_t x = 0; x < size; ++x) {
            const Rgba pixel = At(p, x, size / 2);
            filteredEdge = filteredEdge || (pixel[3] > 10 && pixel[3] < 245);
            if (pixel[3] > 0) {
                EXPECT_TRUE(pixel[0] >= 253 && pixel[1] <= 2)
                    << size << " at " << x << ": " << +pixel[0] << " " << +pixel[1];
            }
        }
        EXPECT_TRUE(filteredEdge) << size;
        EXPECT_EQ(At(p, 0, 0), kRed) << size;
        EXPECT_EQ(At(p, size - 1, 0)[3], 0) << size;
    }
}

TEST(ShapeFill, MultipliesColourByAlpha) {
    // (R x A + 127) / 255 for R, G and B; alpha unchanged.
    RgbaImage image{6, 1, true, {255, 255, 255, 255, 255, 100, 2, 128, 1,   0,   0,   127,
                                 7,   7,   7,   0,   0,   0,   0, 9,   200, 201, 202, 254}};
    ShapeFill(image);
    EXPECT_EQ(image.rgba,
              (std::vector<uint8_t>{255, 255, 255, 255, 128, 50, 1, 128, 0,   0,   0,   127,
                                    0,   0,   0,   0,   0,   0,  0, 9,   199, 200, 201, 254}));
}

}  // namespace
}  // namespace fmconv::importing
