// Reading 1920 x 1080 PNGs (RGB and RGBA) with the picture library alone
// (open, then the whole picture as 8-bit samples in one call) and with
// ReadPicture on the same files; and fitting a 3840 x 2160 picture into a
// 1080 frame's picture area.
#include <OpenImageIO/imageio.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "import/picture_library.h"

namespace {

using namespace fmconv::importing;

std::string BenchFolder() {
    const char* dir = std::getenv("FMCONV_BENCH_DIR");
    return dir ? dir : std::filesystem::temp_directory_path().string();
}

// Smooth gradients with a little noise, as a graphic or photo compresses,
// alpha falling off towards the right; written once per channel count.
const std::string& Png1080(int channels) {
    static struct Written {
        std::string paths[5];
        ~Written() {
            for (const std::string& path : paths) {
                if (!path.empty()) std::filesystem::remove(path);
            }
        }
    } written;
    std::string& path = written.paths[channels];
    if (!path.empty()) return path;
    path = BenchFolder() + "/bench_import_" + std::to_string(channels) + ".png";
    const std::size_t w = 1920, h = 1080;
    std::vector<uint8_t> pixels(w * h * static_cast<std::size_t>(channels));
    std::mt19937 random(7);
    for (std::size_t y = 0; y < h; ++y) {
        for (std::size_t x = 0; x < w; ++x) {
            uint8_t* p = &pixels[(y * w + x) * static_cast<std::size_t>(channels)];
            const int noise = static_cast<int>(random() % 5);
            p[0] = static_cast<uint8_t>(x * 255 / w + noise);
            p[1] = static_cast<uint8_t>(y * 255 / h + noise);
            p[2] = static_cast<uint8_t>((x + y) / 12 + noise);
            if (channels == 4) p[3] = static_cast<uint8_t>(255 - x * 255 / w);
        }
    }
    const auto out = OIIO::ImageOutput::create(path);
    OIIO::ImageSpec spec(1920, 1080, channels, OIIO::TypeDesc::UINT8);
    spec.attribute("oiio:UnassociatedAlpha", 1);
    if (!out || !out->open(path, spec) || !out->write_image(OIIO::TypeDesc::UINT8, pixels.data())) {
        std::abort();
    }
    return path;
}

void BM_LibraryAlonePng1080(benchmark::State& state) {
    const int channels = static_cast<int>(state.range(0));
    const std::string& path = Png1080(channels);
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    std::vector<uint8_t> pixels(std::size_t{1920} * 1080 * 4);
    for (auto _ : state) {
        const auto in = OIIO::ImageInput::open(path, &config);
        if (!in || !in->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, pixels.data())) {
            state.SkipWithError("the library failed");
        }
        benchmark::DoNotOptimize(pixels.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LibraryAlonePng1080)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);

void BM_ReadPicturePng1080(benchmark::State& state) {
    const std::string& path = Png1080(static_cast<int>(state.range(0)));
    RgbaImage image;
    for (auto _ : state) {
        if (!ReadPicture(path, image).empty()) state.SkipWithError("ReadPicture failed");
        benchmark::DoNotOptimize(image.rgba.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadPicturePng1080)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);

void BM_Fit2160Into1080(benchmark::State& state) {
    RgbaImage picture{3840, 2160, true, std::vector<uint8_t>(std::size_t{3840} * 2160 * 4)};
    std::mt19937 random(7);
    for (uint8_t& sample : picture.rgba) sample = static_cast<uint8_t>(random());
    const auto fit = static_cast<Fit>(state.range(0));
    for (auto _ : state) {
        const Placed placed = FitPicture(picture, {fit, Align::kCenter, 1920, 1080});
        benchmark::DoNotOptimize(placed.picture.rgba.data());
    }
}
BENCHMARK(BM_Fit2160Into1080)
    ->Arg(static_cast<int>(Fit::kContain))
    ->Arg(static_cast<int>(Fit::kCover))
    ->Unit(benchmark::kMillisecond);

}  // namespace
