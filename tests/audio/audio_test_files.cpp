#include "audio_test_files.h"

#include <cstring>
#include <random>

#include "base/bytes.h"
#include "support/temp_dir.h"

namespace fmconv::testing {

std::vector<uint8_t> MakeWav(uint16_t channels, uint16_t bits, uint32_t rate,
                             const std::vector<uint32_t>& interleaved) {
    const uint32_t bytesPerSample = bits / 8u;
    const uint32_t dataBytes = static_cast<uint32_t>(interleaved.size()) * bytesPerSample;
    std::vector<uint8_t> file(44 + dataBytes);
    std::memcpy(&file[0], "RIFF\0\0\0\0WAVEfmt ", 16);
    WriteLe32(&file[4], 36 + dataBytes);
    WriteLe32(&file[16], 16);
    WriteLe16(&file[20], 1);
    WriteLe16(&file[22], channels);
    WriteLe32(&file[24], rate);
    WriteLe32(&file[28], rate * channels * bytesPerSample);
    WriteLe16(&file[32], static_cast<uint16_t>(channels * bytesPerSample));
    WriteLe16(&file[34], bits);
    std::memcpy(&file[36], "data", 4);
    WriteLe32(&file[40], dataBytes);
    uint8_t* out = &file[44];
    for (uint32_t sample : interleaved) {
        for (uint32_t b = 0; b < bytesPerSample; ++b)
            *out++ = static_cast<uint8_t>(sample >> 8 * b);
    }
    return file;
}

std::vector<uint32_t> ReadMono24Wav(const std::string& path) {
    const std::vector<uint8_t> file = ReadBytes(path);
    std::vector<uint32_t> samples;
    for (std::size_t at = 44; at + 3 <= file.size(); at += 3) {
        samples.push_back(file[at] | file[at + 1] << 8 | static_cast<uint32_t>(file[at + 2]) << 16);
    }
    return samples;
}

uint16_t PlainWordAt(const std::vector<uint8_t>& bytes, uint64_t bitPos) {
    uint16_t word = 0;
    for (uint64_t b = bitPos; b < bitPos + 10; ++b) {
        const uint8_t byte = b / 8 < bytes.size() ? bytes[b / 8] : 0;
        word = static_cast<uint16_t>(word << 1 | (byte >> (7 - b % 8) & 1));
    }
    return word;
}

std::vector<uint8_t> MakeVariedSfm(const FrameLayout& layout, const std::string& name,
                                   uint32_t seed) {
    PictureFrame frame = MakeUncoveredFrame(layout);
    std::mt19937 random(seed);
    for (uint16_t& y : frame.luma) y = static_cast<uint16_t>(64 + random() % 877);
    for (uint16_t& c : frame.chroma) c = static_cast<uint16_t>(64 + random() % 897);
    SfmHeader header;
    if (!BuildSfmHeader(name, header, layout.lengthFrom48(), layout.planeBytes)) return {};
    return BuildSfmFile(header, layout, frame);
}

int FrameFormatOf(uint32_t code) {
    if (code <= 1) return code == 0 ? kFrameFormat480i : kFrameFormat576i;
    return code == 2 || code == 11 ? kFrameFormat720p : kFrameFormat1080;
}

}  // namespace fmconv::testing
