// Fitting a picture into a frame's picture area: the scaled size, the kept
// window, and a separable resampler that weights colour by alpha. (The
// picture library's own resize filters in two dimensions at once and takes
// seconds for a 4K picture; this takes a fraction of one.)
#include <algorithm>
#include <climits>
#include <cmath>
#include <numbers>

#include "import/picture_library.h"

namespace fmconv::importing {
namespace {

// A scaled size beyond this is cut back; only the area's window of it is
// ever made.
constexpr double kMaxScaledSide = 1 << 30;

int Centred(int64_t area, int64_t size) {
    return static_cast<int>(std::clamp<int64_t>((area - size) / 2, INT_MIN, INT_MAX));
}

uint32_t ScaledSide(double side, uint32_t atLeast, uint32_t atMost) {
    const double rounded = std::clamp(std::round(side), 1.0, kMaxScaledSide);
    return std::clamp(static_cast<uint32_t>(rounded), atLeast, atMost);
}

// The part of the picture scaled to width x height that is kept.
struct Window {
    uint32_t width = 0, height = 0;  // of the whole scaled picture
    uint32_t x = 0, y = 0, keptWidth = 0, keptHeight = 0;
};

RgbaImage Crop(const RgbaImage& in, const Window& window) {
    RgbaImage out{window.keptWidth, window.keptHeight, in.hasAlpha, {}};
    out.rgba.resize(std::size_t{out.width} * out.height * 4);
    for (uint32_t y = 0; y < out.height; ++y) {
        const std::size_t from = (std::size_t{window.y + y} * in.width + window.x) * 4;
        std::copy_n(&in.rgba[from], std::size_t{out.width} * 4,
                    &out.rgba[std::size_t{y} * out.width * 4]);
    }
    return out;
}

double Lanczos3(double x) {
    x = std::abs(x);
    if (x < 1e-9) return 1.0;
    if (x >= 3.0) return 0.0;
    const double px = std::numbers::pi * x;
    return 3.0 * std::sin(px) * std::sin(px / 3.0) / (px * px);
}

double CatmullRom(double x) {
    x = std::abs(x);
    if (x < 1.0) return (1.5 * x - 2.5) * x * x + 1.0;
    if (x < 2.0) return ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0;
    return 0.0;
}

// Along one axis, for each kept pixel of the scaled picture, the source
// pixels that make it and their weights (summing to 1). Pixel centres map
// onto pixel centres. Shrinking uses Lanczos with 3 lobes, widened to the
// scaled pixel's footprint so that fine detail averages out instead of
// aliasing; enlarging uses the Catmull-Rom cubic, which passes through the
// source pixels. Positions beyond the picture take its edge pixel. Every
// position under the filter is listed, zero weights too, so that the first
// and last source pixel of a kept pixel only move forward along the axis.
struct Taps {
    std::vector<uint32_t> start;  // per kept pixel, and one past the last
    std::vector<uint32_t> index;
    std::vector<float> weight;
};

Taps MakeTaps(uint32_t source, uint32_t scaled, uint32_t first, uint32_t count) {
    const double ratio = static_cast<double>(scaled) / source;
    const bool shrinks = ratio < 1.0;
    const double widen = shrinks ? 1.0 / ratio : 1.0;
    const double radius = (shrinks ? 3.0 : 2.0) * widen;
    Taps taps;
    taps.start.reserve(std::size_t{count} + 1);
    for (uint32_t i = first; i < first + count; ++i) {
        const std::size_t begin = taps.weight.size();
        taps.start.push_back(static_cast<uint32_t>(begin));
        const double centre = (i + 0.5) / ratio - 0.5;
        double sum = 0.0;
        for (auto k = static_cast<int64_t>(std::ceil(centre - radius));
             k <= static_cast<int64_t>(std::floor(centre + radius)); ++k) {
            const double w = shrinks ? Lanczos3((k - centre) / widen) : CatmullRom(k - centre);
            taps.index.push_back(
                static_cast<uint32_t>(std::clamp<int64_t>(k, 0, int64_t{source} - 1)));
            taps.weight.push_back(static_cast<float>(w));
            sum += w;
        }
        if (sum == 0.0) {  // no weight at all: the nearest pixel
            taps.index.push_back(static_cast<uint32_t>(
                std::clamp<int64_t>(std::llround(centre), 0, int64_t{source} - 1)));
            taps.weight.push_back(1.0f);
            continue;
        }
        for (std::size_t t = begin; t < taps.weight.size(); ++t) {
            taps.weight[t] = static_cast<float>(taps.weight[t] / sum);
        }
    }
    taps.start.push_back(static_cast<uint32_t>(taps.weight.size()));
    return taps;
}

// Scales in two passes, across the rows and then down the columns, with
// colour multiplied by alpha before the filter and divided by the filtered
// alpha after it, so that a transparent pixel adds nothing to its neighbours.
// Only the kept window is made, and only the rows that the current line
// draws on are held filtered across (in a ring: the lines move down the
// picture, and so do the rows they use).
RgbaImage Scale(const RgbaImage& in, const Window& window) {
    if (window.width == in.width && window.height == in.height) return Crop(in, window);
    const Taps columns = MakeTaps(in.width, window.width, window.x, window.keptWidth);
    const Taps lines = MakeTaps(in.height, window.height, window.y, window.keptHeight);
    const std::size_t keptRow = std::size_t{window.keptWidth} * 4;
    auto rowsOf = [&lines](uint32_t y) {
        return std::minmax_element(lines.index.begin() + lines.start[y],
                                   lines.index.begin() + lines.start[y + 1]);
    };
    std::size_t ringRows = 1;
    for (uint32_t y = 0; y < window.keptHeight; ++y) {
        const auto [lowest, highest] = rowsOf(y);
        ringRows = std::max<std::size_t>(ringRows, *highest - *lowest + 1);
    }
    std::vector<float> ring(ringRows * keptRow), weighted(std::size_t{in.width} * 4);
    int64_t nextRow = 0;  // the next source row to filter across
    auto filterAcross = [&](uint32_t row) {
        const uint8_t* source = &in.rgba[std::size_t{row} * in.width * 4];
        for (std::size_t i = 0; i < weighted.size(); i += 4) {  // colour weighted, 0..255
            const float a = source[i + 3];
            for (std::size_t c = 0; c < 3; ++c) weighted[i + c] = source[i + c] * a / 255.0f;
            weighted[i + 3] = a;
        }
        float* out = &ring[row % ringRows * keptRow];
        std::fill_n(out, keptRow, 0.0f);
        for (uint32_t x = 0; x < window.keptWidth; ++x, out += 4) {
            for (uint32_t t = columns.start[x]; t < columns.start[x + 1]; ++t) {
                const float w = columns.weight[t];
                const float* p = &weighted[std::size_t{columns.index[t]} * 4];
                out[0] += w * p[0], out[1] += w * p[1], out[2] += w * p[2], out[3] += w * p[3];
            }
        }
    };

    RgbaImage out{window.keptWidth, window.keptHeight, in.hasAlpha, {}};
    out.rgba.resize(keptRow * out.height);
    std::vector<float> line(keptRow);
    auto to8 = [](float v) { return static_cast<uint8_t>(std::clamp(v, 0.0f, 255.0f) + 0.5f); };
    for (uint32_t y = 0; y < out.height; ++y) {
        const auto [lowest, highest] = rowsOf(y);
        for (nextRow = std::max<int64_t>(nextRow, *lowest); nextRow <= *highest; ++nextRow) {
            filterAcross(static_cast<uint32_t>(nextRow));
        }
        std::fill(line.begin(), line.end(), 0.0f);
        for (uint32_t t = lines.start[y]; t < lines.start[y + 1]; ++t) {
            const float w = lines.weight[t];
            const float* p = &ring[lines.index[t] % ringRows * keptRow];
            for (std::size_t i = 0; i < keptRow; ++i) line[i] += w * p[i];
        }
        // Back to straight colour.
        uint8_t* o = &out.rgba[y * keptRow];
        for (std::size_t i = 0; i < keptRow; i += 4) {
            // Without alpha the filtered alpha is 255 give or take rounding: kept at 255.
            const float a = in.hasAlpha ? std::clamp(line[i + 3], 0.0f, 255.0f) : 255.0f;
            o[i + 3] = to8(a);
            if (o[i + 3] == 0) continue;  // colour 0 where nothing is left
            for (std::size_t c = 0; c < 3; ++c) o[i + c] = to8(line[i + c] * 255.0f / a);
        }
    }
    return out;
}

}  // namespace

Placed FitPicture(const RgbaImage& in, const FitRequest& request) {
    Placed placed;
    const uint32_t areaW = request.areaWidth, areaH = request.areaHeight;
    const bool empty =
        in.width == 0 || in.height == 0 || in.rgba.size() != std::size_t{in.width} * in.height * 4;
    if (empty || request.fit == Fit::kNone || areaW == 0 || areaH == 0) {
        placed.picture = in;
        if (!empty && request.fit == Fit::kNone && request.align == Align::kCenter) {
            placed.pixelOffset = Centred(areaW, in.width);
            placed.lineOffset = Centred(areaH, in.height);
        }
        return placed;
    }
    // Displayed shapes: a picture pixel is square, a frame pixel pixelAspect wide.
    const double aspect =
        std::isfinite(request.pixelAspect) && request.pixelAspect > 0 ? request.pixelAspect : 1.0;
    const double widthRatio = areaW * aspect / in.width,
                 heightRatio = static_cast<double>(areaH) / in.height;
    Window window;
    switch (request.fit) {
        case Fit::kContain: {
            const double k = std::min(widthRatio, heightRatio);
            window.width = ScaledSide(in.width * k / aspect, 1, areaW);
            window.height = ScaledSide(in.height * k, 1, areaH);
            break;
        }
        case Fit::kCover: {
            const double k = std::max(widthRatio, heightRatio);
            window.width = ScaledSide(in.width * k / aspect, areaW, UINT32_MAX);
            window.height = ScaledSide(in.height * k, areaH, UINT32_MAX);
            break;
        }
        case Fit::kStretch:
        case Fit::kNone:
            window.width = areaW, window.height = areaH;
            break;
    }
    window.keptWidth = std::min(window.width, areaW);
    window.keptHeight = std::min(window.height, areaH);
    if (request.align == Align::kCenter) {
        window.x = (window.width - window.keptWidth) / 2;
        window.y = (window.height - window.keptHeight) / 2;
        if (request.fit == Fit::kContain) {
            placed.pixelOffset = Centred(areaW, window.width);
            placed.lineOffset = Centred(areaH, window.height);
        }
    }
    placed.picture = Scale(in, window);
    return placed;
}

void ShapeFill(RgbaImage& image) {
    for (std::size_t i = 0; i + 3 < image.rgba.size(); i += 4) {
        const uint32_t a = image.rgba[i + 3];
        for (std::size_t c = 0; c < 3; ++c) {
            image.rgba[i + c] = static_cast<uint8_t>((image.rgba[i + c] * a + 127) / 255);
        }
    }
}

}  // namespace fmconv::importing
