// Fuzzes the WAV reader: the input is read as a WAV file named in two slots
// (so that its channels are counted twice), and what was read is written out
// as per-channel WAV files again.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz_work_folder.h"
#include "audio/wav.h"
#include "platform/output_files.h"

namespace {

const std::string& WorkFolder() {
    static const fmconv::fuzz::WorkFolder folder("wav");
    return folder.path();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fmconv;
    const std::string input = WorkFolder() + "/in.wav";
    if (!platform::WriteWholeFile(platform::SystemOutputFiles(), input, data, size)) return 0;

    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.wavPath[0] = input;
    set.wavPath[1] = input;
    const std::string result = ReadWavFiles(set);
    if (result != kWavOk) return 0;

    // Every channel of a present group runs to the sample count.
    for (int k = 0; k < kAudioChannels; ++k) {
        if (set.groupPresent[k / kChannelsPerGroup] &&
            set.channelSamples[k].size() != std::size_t{set.sampleCount} * kSampleBytes) {
            __builtin_trap();
        }
    }
    WriteChannelWavFiles(WorkFolder(), set, platform::SystemOutputFiles());
    return 0;
}
