// Writing a 1080 SFM frame with varied samples, next to a plain write of the
// same number of bytes to the same place.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "platform/output_files.h"
#include "fmfiles/sfm_file.h"

namespace {

using namespace fmconv;

std::string BenchFolder() {
    const char* dir = std::getenv("FMCONV_BENCH_DIR");
    return dir ? dir : std::filesystem::temp_directory_path().string();
}

PictureFrame VariedFrame(const FrameLayout& layout) {
    PictureFrame frame = MakeUncoveredFrame(layout);
    std::mt19937 random(1);
    for (uint16_t& y : frame.luma) y = static_cast<uint16_t>(64 + random() % 877);
    for (uint16_t& c : frame.chroma) c = static_cast<uint16_t>(64 + random() % 897);
    return frame;
}

void BM_WriteSfm1080(benchmark::State& state) {
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    const std::string path = BenchFolder() + "/MBENCH.FMEM_001.SFM";
    const PictureFrame frame = VariedFrame(layout);
    SfmHeader header;
    BuildSfmHeader(path, header, layout.lengthFrom48(), layout.planeBytes);
    for (auto _ : state) {
        if (!WriteSfmFile(path, header, layout, frame)) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * layout.fileSize());
    std::filesystem::remove(path);
}
BENCHMARK(BM_WriteSfm1080)->Unit(benchmark::kMillisecond);

void BM_PlainWrite1080Bytes(benchmark::State& state) {
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    const std::string path = BenchFolder() + "/plain.bin";
    const std::vector<uint8_t> bytes(layout.fileSize(), 0x5A);
    for (auto _ : state) {
        if (!platform::WriteWholeFile(path, bytes)) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * layout.fileSize());
    std::filesystem::remove(path);
}
BENCHMARK(BM_PlainWrite1080Bytes)->Unit(benchmark::kMillisecond);

void BM_BuildSfm1080InMemory(benchmark::State& state) {
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    const PictureFrame frame = VariedFrame(layout);
    SfmHeader header;
    BuildSfmHeader("MBENCH.FMEM_001.SFM", header, layout.lengthFrom48(), layout.planeBytes);
    for (auto _ : state) benchmark::DoNotOptimize(BuildSfmFile(header, layout, frame));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * layout.fileSize());
}
BENCHMARK(BM_BuildSfm1080InMemory)->Unit(benchmark::kMillisecond);

}  // namespace
