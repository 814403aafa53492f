// Fuzzes the SFA frame to SFM frame conversion and its audio extraction.
//
// Byte 0 picks the stored signal format and how the rest is used; byte 1 the
// run's frame count. Either the rest is the SFA file itself (usually far
// shorter than a frame, so everything beyond it reads as zero), or it is a
// list of 10-bit words (two bytes each) placed where packets are looked for:
// the ancillary space of a few lines of a full-size blank frame. Two frames
// are converted in a row, and the channels written out as WAV files when the
// run found audio.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz_work_folder.h"
#include "audio/packed_words.h"
#include "audio/sfa_to_sfm.h"
#include "audio/stored_raster.h"
#include "audio/wav.h"

namespace {

using namespace fmconv;

constexpr uint32_t kCodes[] = {0, 1, 2, 3, 4, 7, 11};

const std::string& WorkFolder() {
    static const fmconv::fuzz::WorkFolder folder("sfa");
    return folder.path();
}

// Puts the words where a line's packets start: word 8 of the chroma line in
// high definition, multiplex word 4 (plane word 2, even words in chroma and
// odd ones in luma) in standard definition.
void PlaceWords(std::span<uint8_t> payload, const SignalTiming& timing, int region, uint32_t line,
                const std::vector<uint16_t>& words) {
    const StoredRaster raster = MakeStoredRaster(timing);
    if (line >= raster.regionLines[region]) return;
    const uint64_t lineBit = raster.LineBit(region, line);
    const uint64_t chroma = uint64_t{raster.planeBytes} * 8;
    if (IsStandardDefinition(timing.signalFormat)) {
        std::vector<uint16_t> even, odd;
        for (std::size_t i = 0; i < words.size(); ++i) (i % 2 ? odd : even).push_back(words[i]);
        PackWords(payload, chroma + lineBit + 20, even);
        PackWords(payload, lineBit + 20, odd);
    } else {
        PackWords(payload, chroma + lineBit + 80, words);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint32_t code = kCodes[data[0] % 7];
    const bool placed = (data[0] / 7) % 2 == 1;
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.frameCount = data[1] % 4;
    data += 2;
    size -= 2;

    SignalTiming timing;
    GetSignalTiming(code, timing, nullptr);
    std::vector<uint8_t> sfa;
    if (placed) {
        sfa.assign(64 + GetFrameByteSize(code, kFrameKindSfa), 0);
        std::vector<uint16_t> words(size / 2);
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i] = static_cast<uint16_t>((data[2 * i] | data[2 * i + 1] << 8) & 0x3FF);
        }
        const std::span<uint8_t> payload = std::span<uint8_t>(sfa).subspan(64);
        for (uint32_t line : {1u, 2u, 3u}) PlaceWords(payload, timing, 0, line, words);
        PlaceWords(payload, timing, 1, 2, words);
    } else {
        sfa.assign(data, data + size);
    }

    static std::vector<uint8_t> sfm(64 + 5188800);
    ConversionContext ctx;
    ctx.signalFormat = code;
    for (int frame = 0; frame < 2; ++frame) {
        std::vector<uint8_t> copy = sfa;  // the conversion realigns it in place
        if (BuildSfmFromSfa(copy, sfm, "MFUZZ.FMEM_001.SFM", set, ctx) != 0) __builtin_trap();
    }
    for (int k = 0; k < kAudioChannels; ++k) {
        if (set.channelWriteCursor[k] > set.channelSamples[k].size()) __builtin_trap();
    }
    if (PresentGroupCount(set) > 0 && set.sampleCount <= 100000) {
        WriteChannelWavFiles(WorkFolder(), set, platform::SystemOutputFiles());
    }
    return 0;
}
