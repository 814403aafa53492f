#include "audio/wav.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "base/bytes.h"
#include "base/file_io.h"
#include "base/text.h"

namespace fmconv {

namespace {

constexpr uint32_t kWavSampleRate = 48000;

// Reads a WAV file at absolute positions. Whatever lies beyond the end of the
// file reads as zero bytes, so a short or lying file gives defined values.
class WavReader {
  public:
    explicit WavReader(FilePtr file) : file_(std::move(file)) {
        if (fseeko(file_.get(), 0, SEEK_END) == 0) {
            const off_t end = ftello(file_.get());
            if (end > 0) size_ = static_cast<uint64_t>(end);
        }
    }

    uint64_t size() const { return size_; }
    uint64_t position() const { return position_; }
    void Seek(uint64_t position) { position_ = position; }
    void Skip(uint64_t count) { position_ += count; }

    void Read(uint8_t* out, std::size_t count) {
        std::size_t got = 0;
        if (position_ < size_ &&
            fseeko(file_.get(), static_cast<off_t>(position_), SEEK_SET) == 0) {
            const std::size_t want =
                static_cast<std::size_t>(std::min<uint64_t>(count, size_ - position_));
            got = std::fread(out, 1, want, file_.get());
        }
        std::memset(out + got, 0, count - got);
        position_ += count;
    }
    uint16_t ReadU16() {
        uint8_t b[2];
        Read(b, 2);
        return ReadLe16(b);
    }
    uint32_t ReadU32() {
        uint8_t b[4];
        Read(b, 4);
        return ReadLe32(b);
    }

  private:
    FilePtr file_;
    uint64_t size_ = 0;
    uint64_t position_ = 0;
};

bool IsTag(const uint8_t* bytes, const char* tag) {
    return std::memcmp(bytes, tag, 4) == 0;
}

// Stores one little-endian input sample as 24 bits, most significant byte
// first: 8-bit samples are unsigned (0x80 is silence), 16-bit samples gain a
// zero low byte.
void StoreSample(const uint8_t* in, uint16_t bits, uint8_t* out) {
    switch (bits) {
        case 8:
            out[0] = static_cast<uint8_t>(in[0] ^ 0x80);
            out[1] = 0;
            out[2] = 0;
            break;
        case 16:
            out[0] = in[1];
            out[1] = in[0];
            out[2] = 0;
            break;
        default:
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            break;
    }
}

// Reads one file into the channels from channelBase on. Returns "" or the
// message that ends the reading.
std::string ReadWavFile(AudioChannelSet& set, const std::string& path, int& channelBase,
                        std::array<uint32_t, kAudioChannels>& counts) {
    FilePtr file = OpenFile(path, "rb");
    if (!file) return kWavReadError;
    WavReader in(std::move(file));

    uint8_t tag[4];
    in.Read(tag, 4);
    if (!IsTag(tag, "RIFF")) return kWavUnrecognized;
    const uint32_t riffSize = in.ReadU32();
    in.Read(tag, 4);
    if (!IsTag(tag, "WAVE")) return kWavUnrecognized;

    // The chunk walk counts the bytes after the 12-byte RIFF header and takes
    // every chunk size as it stands: after an odd-sized chunk the next
    // identifier is read at once, without skipping a pad byte. A chunk's
    // position is the count just after its identifier, so the fields below
    // are read at fixed distances from it.
    uint64_t counter = 0;
    uint64_t fmtPosition = 0;
    uint64_t dataPosition = 0;
    bool fmtSeen = false;
    bool dataSeen = false;
    while ((!fmtSeen || !dataSeen) && counter < riffSize) {
        // From the end of the file on, identifiers and sizes read as zero and
        // nothing more can be found; the walk would only count up.
        if (in.position() >= in.size()) break;
        in.Read(tag, 4);
        counter += 4;
        if (IsTag(tag, "fmt ")) {
            fmtPosition = counter;
            fmtSeen = true;
        } else if (IsTag(tag, "data")) {
            dataPosition = counter;
            dataSeen = true;
        }
        const uint32_t chunkSize = in.ReadU32();
        counter += 4;
        in.Skip(chunkSize);
        counter += chunkSize;
    }

    // A missing chunk keeps position 0: its fields are then read at offsets
    // 18 and 12 of the file. The format tag, byte rate and block alignment
    // are never looked at.
    in.Seek(fmtPosition + 18);
    const uint16_t channels = in.ReadU16();
    // A frame of no channels or no bits has no size to count frames by.
    if (channels == 0) return kWavUnrecognized;
    if (channelBase + channels > kAudioChannels) return kWavTooManyChannels;
    if (in.ReadU32() != kWavSampleRate) return kWavRateNotSupported;
    in.Skip(6);
    const uint16_t bits = in.ReadU16();
    if (bits == 0) return kWavUnrecognized;
    if (bits != 8 && bits != 16 && bits != 24) return kWavDepthNotSupported;

    in.Seek(dataPosition + 12);
    const uint32_t dataSize = in.ReadU32();
    const uint64_t sampleStart = in.position();
    // Only the frames the file really holds are taken: a data size larger
    // than the rest of the file would otherwise make up samples (and
    // buffers) out of nothing.
    const uint64_t held = in.size() > sampleStart ? in.size() - sampleStart : 0;
    const std::size_t bytesPerSample = bits / 8u;
    const std::size_t frameBytes = channels * bytesPerSample;
    const uint32_t frames = static_cast<uint32_t>(std::min<uint64_t>(
        std::min<uint64_t>(dataSize, held) / frameBytes, set.sampleLimit));

    for (int c = 0; c < channels; ++c) {
        const int k = channelBase + c;
        set.channelSamples[k].assign(std::size_t{frames} * kSampleBytes, 0);
        set.groupPresent[k / kChannelsPerGroup] = 1;
    }
    constexpr uint32_t kChunkFrames = 4096;
    std::vector<uint8_t> chunk(kChunkFrames * frameBytes);
    for (uint32_t first = 0; first < frames;) {
        const uint32_t n = std::min(kChunkFrames, frames - first);
        in.Read(chunk.data(), n * frameBytes);
        for (int c = 0; c < channels; ++c) {
            uint8_t* out = set.channelSamples[channelBase + c].data() + first * kSampleBytes;
            const uint8_t* sample = chunk.data() + c * bytesPerSample;
            for (uint32_t i = 0; i < n; ++i, sample += frameBytes, out += kSampleBytes) {
                StoreSample(sample, bits, out);
            }
        }
        first += n;
    }

    for (int c = 0; c < channels; ++c) counts[channelBase + c] = frames;
    set.sampleCount = std::max(set.sampleCount, frames);
    channelBase += channels;
    return "";
}

}  // namespace

namespace {
std::string ReadAllWavFiles(AudioChannelSet& set);
}  // namespace

std::string ReadWavFiles(AudioChannelSet& set) {
    // However large a file (or its declared size), memory that cannot be had
    // is a refusal, never the end of the program.
    try {
        return ReadAllWavFiles(set);
    } catch (const std::bad_alloc&) {
        return kWavOutOfMemory;
    }
}

namespace {

std::string ReadAllWavFiles(AudioChannelSet& set) {
    int channelBase = 0;
    std::array<uint32_t, kAudioChannels> counts{};
    for (int slot = 0; slot < kAudioChannels; ++slot) {
        const std::string& path = set.wavPath[slot];
        if (path.empty() || path[0] == '\0') break;
        std::string message = ReadWavFile(set, path, channelBase, counts);
        if (!message.empty()) return message;
    }
    // Every channel of a used group runs to the longest input: shorter
    // inputs, and channels that no file filled, end in silence.
    const std::size_t total = std::size_t{set.sampleCount} * kSampleBytes;
    for (int g = 0; g < kAudioGroups; ++g) {
        if (!set.groupPresent[g]) continue;
        for (int k = g * kChannelsPerGroup; k < (g + 1) * kChannelsPerGroup; ++k) {
            std::vector<uint8_t>& samples = set.channelSamples[k];
            samples.resize(total);
            std::fill(samples.begin() + static_cast<std::ptrdiff_t>(counts[k] * kSampleBytes),
                      samples.end(), uint8_t{0});
        }
    }
    return kWavOk;
}

}  // namespace

namespace {

bool WriteChannelFile(platform::OutputFiles& files, const std::string& path,
                      const std::vector<uint8_t>& samples, uint32_t sampleCount) {
    const uint32_t dataBytes = sampleCount * 3;
    uint8_t header[44] = {};
    std::memcpy(&header[0], "RIFF", 4);
    WriteLe32(&header[4], dataBytes + 36);
    std::memcpy(&header[8], "WAVE", 4);
    std::memcpy(&header[12], "fmt ", 4);
    WriteLe32(&header[16], 16);
    WriteLe16(&header[20], 1);  // PCM
    WriteLe16(&header[22], 1);  // mono
    WriteLe32(&header[24], kWavSampleRate);
    WriteLe32(&header[28], kWavSampleRate * 3);
    WriteLe16(&header[32], 3);
    WriteLe16(&header[34], 24);
    std::memcpy(&header[36], "data", 4);
    WriteLe32(&header[40], dataBytes);

    const std::unique_ptr<platform::OutputFile> file = files.Create(path);
    if (!file || !file->Write(header, sizeof header)) return false;
    const uint64_t wanted = uint64_t{sampleCount} * kSampleBytes;
    const std::size_t held = static_cast<std::size_t>(std::min<uint64_t>(samples.size(), wanted));
    if (held > 0 && !file->Write(samples.data(), held)) return false;
    // A buffer shorter than the sample count (a channel that got fewer
    // samples than the run counted) is completed with silence.
    static const uint8_t kSilence[4096] = {};
    for (uint64_t left = wanted - held; left > 0;) {
        const std::size_t n = static_cast<std::size_t>(std::min<uint64_t>(left, sizeof kSilence));
        if (!file->Write(kSilence, n)) return false;
        left -= n;
    }
    return file->Commit();
}

}  // namespace

std::string WriteChannelWavFiles(const std::string& directory, const AudioChannelSet& set,
                                 platform::OutputFiles& files, std::vector<std::string>* written) {
    // The two digits advance by one after every file, except after channel 9
    // (by position in the set): there the units digit drops by nine and the
    // tens digit rises by one. With all groups present this counts 01 to 16;
    // with a group missing before channel 9 the names after it leave decimal
    // order, as the switcher's files always have.
    std::string name = "Channel_01.wav";
    constexpr std::size_t kTens = 8;
    constexpr std::size_t kUnits = 9;
    for (int g = 0; g < kAudioGroups; ++g) {
        if (!set.groupPresent[g]) continue;
        for (int k = g * kChannelsPerGroup; k < (g + 1) * kChannelsPerGroup; ++k) {
            const std::string path = JoinPath(directory, name);
            if (!WriteChannelFile(files, path, set.channelSamples[k], set.sampleCount)) {
                return path;
            }
            if (written) written->push_back(path);
            if (k == 8) {
                name[kUnits] = static_cast<char>(name[kUnits] - 9);
                name[kTens] = static_cast<char>(name[kTens] + 1);
            } else {
                name[kUnits] = static_cast<char>(name[kUnits] + 1);
            }
        }
    }
    return {};
}

}  // namespace fmconv
