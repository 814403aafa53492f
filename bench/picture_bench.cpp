// Converting a 1920 x 1080 32-bit TGA into a fill and a key frame at 1080,
// next to a plain write of the same bytes (two 1080 frame files) to the same
// place.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "platform/output_files.h"
#include "fmfiles/sfm_file.h"
#include "image/picture_convert.h"

namespace {

using namespace fmconv;

std::string BenchFolder() {
    const char* dir = std::getenv("FMCONV_BENCH_DIR");
    return dir ? dir : std::filesystem::temp_directory_path().string();
}

// A 1920 x 1080 uncompressed 32-bit TGA with varied pixels.
std::vector<uint8_t> Tga1080() {
    std::vector<uint8_t> file(18, 0);
    file[2] = 2;
    WriteLe16(&file[12], 1920);
    WriteLe16(&file[14], 1080);
    file[16] = 32;
    file[17] = 0x28;
    std::mt19937 random(7);
    file.resize(18 + 1920 * 1080 * 4);
    for (std::size_t i = 18; i < file.size(); ++i) file[i] = static_cast<uint8_t>(random());
    return file;
}

void BM_ConvertTga1080FillAndKey(benchmark::State& state) {
    const std::string folder = BenchFolder();
    const std::string source = folder + "/bench_picture.tga";
    const std::string fill = folder + "/MBENCH.FMEM_001.SFM";
    const std::string key = folder + "/SBENCH.FMEM_002.SFM";
    platform::WriteWholeFile(source, Tga1080());
    for (auto _ : state) {
        const int result = ConvertTgaPicture(source, fill, key, kFrameFormat1080, 0, 0, {});
        if (result != 10 + kFrameFormat1080) state.SkipWithError("conversion failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2 *
                            GetFrameLayout(kFrameFormat1080)->fileSize());
    for (const std::string& path : {source, fill, key}) std::filesystem::remove(path);
}
BENCHMARK(BM_ConvertTga1080FillAndKey)->Unit(benchmark::kMillisecond);

void BM_PlainWriteTwo1080Frames(benchmark::State& state) {
    const std::string folder = BenchFolder();
    const std::vector<uint8_t> bytes(GetFrameLayout(kFrameFormat1080)->fileSize(), 0x5A);
    for (auto _ : state) {
        if (!platform::WriteWholeFile(folder + "/plain1.bin", bytes) ||
            !platform::WriteWholeFile(folder + "/plain2.bin", bytes)) {
            state.SkipWithError("write failed");
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2 * bytes.size());
    std::filesystem::remove(folder + "/plain1.bin");
    std::filesystem::remove(folder + "/plain2.bin");
}
BENCHMARK(BM_PlainWriteTwo1080Frames)->Unit(benchmark::kMillisecond);

}  // namespace
