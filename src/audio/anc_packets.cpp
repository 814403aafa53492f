#include "audio/anc_packets.h"

#include "audio/packed_words.h"
#include "audio/stored_raster.h"

namespace fmconv {

namespace {

constexpr uint16_t kAncFlag[3] = {0x000, 0x3FF, 0x3FF};
constexpr uint64_t kWordBits = 10;

// A double's integer part (toward zero) kept as an unsigned 8-bit value;
// values no integer type could hold count as 0.
uint8_t TruncateToByte(double value) {
    if (!(value > -1e18 && value < 1e18)) return 0;
    return static_cast<uint8_t>(static_cast<int64_t>(value));
}

// Sample `index` of an embedded channel as a 24-bit value (the buffers hold
// it most significant byte first); 0 beyond the buffer.
uint32_t EmbeddedSample(const AudioChannelSet& set, int channel, uint32_t index) {
    const std::vector<uint8_t>& samples = set.channelSamples[channel];
    const std::size_t at = std::size_t{index} * kSampleBytes;
    if (at + kSampleBytes > samples.size()) return 0;
    return static_cast<uint32_t>(samples[at]) << 16 | static_cast<uint32_t>(samples[at + 1]) << 8 |
           samples[at + 2];
}

// How many samples go into each line, so that a frame carries its share of
// the 48 kHz stream and the stream runs on into the next frame. The set's
// line clock is the time at the end of the current line; each line is given
// the samples due by then that are not yet scheduled, rounded. Lines that
// carry no samples (after the vertical switching point, and the standard-
// definition control line) hand theirs on through a deferred counter, which
// later lines below the per-line maximum take one at a time.
class LineBudget {
  public:
    LineBudget(AudioChannelSet& set, const SignalTiming& timing, uint32_t audioLines)
        : set_(set),
          lineDuration_(timing.totalSamplesPerLine / timing.sampleClockMHz),
          maxPerLine_(static_cast<uint32_t>(timing.audioSamplesPerFrame) / audioLines + 1),
          scheduled_(set.sampleCursor) {
        if (set_.lineClock == 0.0) set_.lineClock = lineDuration_;
    }

    // The samples of the next line; a line that carries none defers them.
    uint8_t Take(bool defers) {
        uint8_t count = TruncateToByte(set_.lineClock * 0.048 - scheduled_ + 0.5);
        scheduled_ += count;
        if (defers) {
            deferred_ += count;
            return 0;
        }
        if (count < maxPerLine_ && deferred_ > 0) {
            ++count;
            --deferred_;
        }
        return count;
    }

    void EndLine() { set_.lineClock += lineDuration_; }

  private:
    AudioChannelSet& set_;
    double lineDuration_;
    uint32_t maxPerLine_;
    uint32_t scheduled_;
    uint32_t deferred_ = 0;
};

bool HasAudioTiming(const SignalTiming& timing) {
    return timing.sampleClockMHz > 0.0 && timing.audioSamplesPerFrame >= 0.0 &&
           timing.audioSamplesPerFrame < 1e9;
}

void AppendFlag(std::vector<uint16_t>& words) {
    words.insert(words.end(), std::begin(kAncFlag), std::end(kAncFlag));
}

// Closes the packet that starts at words[start] with its checksum.
void CloseSdPacket(std::vector<uint16_t>& words, std::size_t start) {
    words.push_back(SdChecksum(std::span<const uint16_t>(words).subspan(start)));
}

}  // namespace

std::array<uint16_t, 4> HdSampleWords(uint32_t sample) {
    return {static_cast<uint16_t>((sample & 0xF) << 4), static_cast<uint16_t>(sample >> 4 & 0xFF),
            static_cast<uint16_t>(sample >> 12 & 0xFF), static_cast<uint16_t>(sample >> 20 & 0xF)};
}

uint16_t HdControlChecksum(std::span<const uint16_t, kHdControlPacketWords> packet) {
    uint32_t sum = 0;
    for (std::size_t i = 3; i <= 16; ++i) sum += packet[i] & 0x1FF;
    sum &= 0x1FF;
    return static_cast<uint16_t>(sum | (~sum >> 8 & 1) << 9);
}

std::array<uint16_t, 3> SdSampleWords(uint32_t sample, int channel) {
    const uint32_t a = sample >> 4 & 0xFFFFF;  // the 20-bit audio word
    uint32_t x = static_cast<uint32_t>(channel & 3) << 1 | (a & 0x3F) << 3;
    x |= (~x >> 8 & 1) << 9;
    uint32_t y = a >> 6 & 0x1FF;
    y |= (~y >> 8 & 1) << 9;
    const uint32_t z = (a >> 15 & 0x1F) | 0x200;
    return {static_cast<uint16_t>(x), static_cast<uint16_t>(y), static_cast<uint16_t>(z)};
}

uint16_t SdExtendedWord(uint32_t first, uint32_t second, int pair) {
    return static_cast<uint16_t>((first & 0xF) | (second & 0xF) << 4 |
                                 (pair == 0 ? 0x200u : 0x100u));
}

uint16_t SdChecksum(std::span<const uint16_t> packet) {
    // From the identifier (word 3) to the last user word; bit 8 is forced
    // to 0, which is this system's rule rather than a computed parity.
    uint32_t sum = 0;
    for (std::size_t i = 3; i < packet.size(); ++i) sum += packet[i];
    return static_cast<uint16_t>(sum & 0x2FF);
}

void AppendSdControlPackets(const AudioChannelSet& set, std::vector<uint16_t>& words) {
    for (uint16_t g = 0; g < kAudioGroups; ++g) {
        if (!set.groupPresent[g]) continue;
        const std::size_t start = words.size();
        AppendFlag(words);
        words.push_back(GetAudioPacketDid(kAncControl, g));
        words.push_back(0x200);
        words.push_back(0x212);  // 18 user words
        words.insert(words.end(), {0x205, 0x205, 0x200, 0x20F});
        words.insert(words.end(), 14, 0x200);
        CloseSdPacket(words, start);
    }
}

void AppendSdDataPackets(const AudioChannelSet& set, uint32_t first, uint32_t count,
                         std::vector<uint16_t>& words) {
    for (uint16_t g = 0; g < kAudioGroups; ++g) {
        if (!set.groupPresent[g]) continue;
        const int base = g * kChannelsPerGroup;
        std::size_t start = words.size();
        AppendFlag(words);
        words.push_back(GetAudioPacketDid(kAncData, g));
        words.push_back(0x200);
        // The data counts carry bit 9 set and no computed parity.
        words.push_back(static_cast<uint16_t>((0x200 | 12 * count) & 0x3FF));
        for (uint32_t i = 0; i < count; ++i) {
            for (int c = 0; c < kChannelsPerGroup; ++c) {
                const auto xyz = SdSampleWords(EmbeddedSample(set, base + c, first + i), c);
                words.insert(words.end(), xyz.begin(), xyz.end());
            }
        }
        CloseSdPacket(words, start);

        start = words.size();
        AppendFlag(words);
        words.push_back(GetAudioPacketDid(kAncExtended, g));
        words.push_back(0x200);
        words.push_back(static_cast<uint16_t>((0x200 | 2 * count) & 0x3FF));
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t s[kChannelsPerGroup];
            for (int c = 0; c < kChannelsPerGroup; ++c)
                s[c] = EmbeddedSample(set, base + c, first + i);
            words.push_back(SdExtendedWord(s[0], s[1], 0));
            words.push_back(SdExtendedWord(s[2], s[3], 1));
        }
        CloseSdPacket(words, start);
    }
}

void EmbedHdAudio(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame) {
    const StoredRaster raster = MakeStoredRaster(timing);
    const uint32_t audioLines = raster.AudioLines(0) + raster.AudioLines(1);
    if (audioLines == 0 || !HasAudioTiming(timing)) return;
    const uint64_t chromaBit = uint64_t{raster.planeBytes} * 8;
    const uint64_t ancOffset = kHdAncStartWord * kWordBits;

    // The frame number goes into the control packet's word 6 without its
    // parity bits being recomputed: the word keeps bit 9 set and bit 8 clear
    // for every number.
    std::array<uint16_t, kHdControlPacketWords> control;
    UnpackWords(set.hdControlPacket, 0, control);
    control[6] = static_cast<uint16_t>((control[6] & ~7u) | (set.audioFrameNumber & 7u));
    set.audioFrameNumber = set.audioFrameNumber >= 5 ? 1 : set.audioFrameNumber + 1;

    // Control packets, one per present group, on the line after each
    // vertical switching point. A progressive format has no second field:
    // its second set lands on line 2 of the chroma plane, where that line's
    // data packets overwrite it below.
    const uint64_t controlPositions[2] = {raster.LineBit(0, 1) + ancOffset,
                                          timing.activeLinesField2 == 0
                                              ? chromaBit + raster.LineBit(0, 1) + ancOffset
                                              : raster.LineBit(1, 1) + ancOffset};
    for (uint64_t position : controlPositions) {
        for (int g = 0; g < kAudioGroups; ++g) {
            if (!set.groupPresent[g]) continue;
            control[3] = kHdControlDid[g];
            control[17] = HdControlChecksum(control);
            PackWords(frame, position, control);
            position += kHdControlPacketWords * kWordBits;
        }
    }
    PackWords(set.hdControlPacket, 0, control);

    // Data packets in the chroma plane: sample by sample, the present groups
    // in order within each sample.
    std::array<uint16_t, kHdDataPacketWords> data;
    UnpackWords(set.hdDataPacket, 0, data);
    LineBudget budget(set, timing, audioLines);
    for (int region = 0; region < 2; ++region) {
        for (uint32_t line = 0; line < raster.AudioLines(region); ++line) {
            const uint8_t count = budget.Take(line == 0);
            uint64_t position = chromaBit + raster.LineBit(region, line) + ancOffset;
            for (uint32_t s = 0; s < count && set.sampleCursor < set.sampleCount; ++s) {
                for (int g = 0; g < kAudioGroups; ++g) {
                    if (!set.groupPresent[g]) continue;
                    data[3] = kHdDataDid[g];
                    for (int c = 0; c < kChannelsPerGroup; ++c) {
                        const auto w = HdSampleWords(
                            EmbeddedSample(set, g * kChannelsPerGroup + c, set.sampleCursor));
                        for (int j = 0; j < 4; ++j) data[8 + 4 * c + j] = w[j];
                    }
                    PackWords(frame, position, data);
                    position += kHdDataPacketWords * kWordBits;
                }
                ++set.sampleCursor;
            }
            budget.EndLine();
        }
    }
    PackWords(set.hdDataPacket, 0, data);
}

void EmbedSdAudio(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame) {
    const StoredRaster raster = MakeStoredRaster(timing);
    const uint32_t audioLines = raster.AudioLines(0) + raster.AudioLines(1);
    if (audioLines == 0 || !HasAudioTiming(timing)) return;
    const uint64_t chromaBit = uint64_t{raster.planeBytes} * 8;
    const uint64_t ancOffset = kSdAncStartWord * kWordBits;

    // The two planes together are the multiplexed 4:2:2 stream, chroma words
    // at even and luma words at odd positions; a packet's word list is split
    // the same way. Nothing limits the packets to the blanking width.
    std::vector<uint16_t> words, even, odd;
    auto place = [&](int region, uint32_t line) {
        even.clear();
        odd.clear();
        for (std::size_t i = 0; i < words.size(); ++i)
            (i % 2 == 0 ? even : odd).push_back(words[i]);
        const uint64_t lineBit = raster.LineBit(region, line) + ancOffset;
        PackWords(frame, chromaBit + lineBit, even);
        PackWords(frame, lineBit, odd);
    };

    LineBudget budget(set, timing, audioLines);
    for (int region = 0; region < 2; ++region) {
        for (uint32_t line = 0; line < raster.AudioLines(region); ++line) {
            uint8_t count = budget.Take(line <= 1);
            if (line == 1) {
                words.clear();
                AppendSdControlPackets(set, words);
                place(region, line);
            } else if (line > 1) {
                // The end of the audio ends the frame's packets.
                if (uint64_t{set.sampleCursor} + count >= set.sampleCount) {
                    count = static_cast<uint8_t>(set.sampleCount - set.sampleCursor);
                }
                if (count == 0) return;
                words.clear();
                AppendSdDataPackets(set, set.sampleCursor, count, words);
                place(region, line);
                set.sampleCursor += count;
            }
            budget.EndLine();
        }
    }
}

void EmbedAudioInFrame(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame) {
    if (IsStandardDefinition(timing.signalFormat)) {
        EmbedSdAudio(set, timing, frame);
    } else {
        EmbedHdAudio(set, timing, frame);
    }
}

}  // namespace fmconv
