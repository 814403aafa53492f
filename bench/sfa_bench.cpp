// A 1080i/59.94 SFA with 16 channels of audio made from an SFM file, next to
// a plain write of the same number of bytes to the same place.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "platform/output_files.h"
#include "fmfiles/sfm_file.h"
#include "platform/free_space.h"

namespace {

using namespace fmconv;

constexpr uint32_t kCode = kSignal1080i5994;
constexpr char kSfmName[] = "MBENCH.FMEM_001.SFM";
constexpr uint32_t kAudioSeconds = 20;

std::string BenchFolder() {
    const char* dir = std::getenv("FMCONV_BENCH_DIR");
    return dir ? dir : std::filesystem::temp_directory_path().string();
}

std::vector<uint8_t> VariedSfm() {
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    PictureFrame frame = MakeUncoveredFrame(layout);
    std::mt19937 random(1);
    for (uint16_t& y : frame.luma) y = static_cast<uint16_t>(64 + random() % 877);
    for (uint16_t& c : frame.chroma) c = static_cast<uint16_t>(64 + random() % 897);
    SfmHeader header;
    BuildSfmHeader(kSfmName, header, layout.lengthFrom48(), layout.planeBytes);
    return BuildSfmFile(header, layout, frame);
}

// Sixteen channels of random 24-bit samples, as the WAV reader leaves them.
AudioChannelSet SixteenChannels() {
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.sampleCount = 48000 * kAudioSeconds;
    std::mt19937 random(2);
    for (int k = 0; k < kAudioChannels; ++k) {
        set.channelSamples[k].resize(std::size_t{set.sampleCount} * 3);
        for (uint8_t& b : set.channelSamples[k]) b = static_cast<uint8_t>(random());
    }
    set.groupPresent.fill(1);
    return set;
}

// The stream starts over before it runs out, so every frame is full.
void Rewind(AudioChannelSet& set) {
    if (set.sampleCursor + 4000 > set.sampleCount) {
        set.sampleCursor = 0;
        set.lineClock = 0.0;
    }
}

void BM_WriteSfa1080i5994With16Channels(benchmark::State& state) {
    const std::string folder = BenchFolder();
    platform::WriteWholeFile(folder + "/" + kSfmName, VariedSfm());
    AudioChannelSet set = SixteenChannels();
    platform::FixedFreeSpaceProbe plenty(int64_t{1} << 40);
    ConversionContext ctx;
    ctx.freeSpace = &plenty;
    for (auto _ : state) {
        Rewind(set);
        if (WriteSfaFromSfm(folder, kSfmName, folder, set, kCode, ctx).empty()) {
            state.SkipWithError("write failed");
        }
    }
    const int64_t bytes = 64 + GetFrameByteSize(kCode, kFrameKindSfa);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
    std::filesystem::remove(folder + "/" + kSfmName);
    std::filesystem::remove(folder + "/MBENCH.FMEM_001.SFA");
}
BENCHMARK(BM_WriteSfa1080i5994With16Channels)->Unit(benchmark::kMillisecond);

void BM_PlainWriteOfTheSameBytes(benchmark::State& state) {
    const std::string path = BenchFolder() + "/plain.bin";
    const std::vector<uint8_t> bytes(64 + GetFrameByteSize(kCode, kFrameKindSfa), 0x5A);
    for (auto _ : state) {
        if (!platform::WriteWholeFile(path, bytes)) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(bytes.size()));
    std::filesystem::remove(path);
}
BENCHMARK(BM_PlainWriteOfTheSameBytes)->Unit(benchmark::kMillisecond);

void BM_BuildSfaFrameInMemory(benchmark::State& state) {
    const std::vector<uint8_t> sfm = VariedSfm();
    AudioChannelSet set = SixteenChannels();
    ConversionContext ctx;
    ctx.signalFormat = kCode;
    std::vector<uint8_t> frame(64 + GetFrameByteSize(kCode, kFrameKindSfa));
    for (auto _ : state) {
        Rewind(set);
        benchmark::DoNotOptimize(BuildSfaFrame(sfm, frame, "MBENCH.FMEM_001.SFA", set, ctx));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(frame.size()));
}
BENCHMARK(BM_BuildSfaFrameInMemory)->Unit(benchmark::kMillisecond);

void BM_SfmFromSfaWithAudioInMemory(benchmark::State& state) {
    const std::vector<uint8_t> sfm = VariedSfm();
    AudioChannelSet in = SixteenChannels();
    ConversionContext ctx;
    ctx.signalFormat = kCode;
    std::vector<uint8_t> sfa(64 + GetFrameByteSize(kCode, kFrameKindSfa));
    BuildSfaFrame(sfm, sfa, "MBENCH.FMEM_001.SFA", in, ctx);
    std::vector<uint8_t> out(64 + GetFrameByteSize(kCode, kFrameKindSfm));
    std::vector<uint8_t> work;
    AudioChannelSet set;
    for (auto _ : state) {
        state.PauseTiming();
        work = sfa;
        ResetAudioChannelSet(set);
        set.frameCount = 1;
        state.ResumeTiming();
        benchmark::DoNotOptimize(BuildSfmFromSfa(work, out, kSfmName, set, ctx));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(sfa.size()));
}
BENCHMARK(BM_SfmFromSfaWithAudioInMemory)->Unit(benchmark::kMillisecond);

}  // namespace
