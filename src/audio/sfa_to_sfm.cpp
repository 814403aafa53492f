#include "audio/sfa_to_sfm.h"

#include <cstring>
#include <vector>

#include "audio/anc_packets.h"
#include "audio/packed_words.h"
#include "audio/sfa_file.h"
#include "audio/stored_raster.h"
#include "base/bytes.h"

namespace fmconv {

namespace {

constexpr std::size_t kHeaderSize = 64;
constexpr uint64_t kWordBits = 10;
constexpr std::size_t kSdLeadInBytes = 60;
constexpr std::size_t kSdFieldGapBytes = 2880;
constexpr std::size_t kSdSfmLineBytes = 960;

// Extra line slots and lead-in words of the SFM plane by code: 480i has four
// blank line slots (three between the fields, one at the end), 576i three,
// the others one; the standard-definition lines carry 48 words' worth of
// zero bytes before the picture.
struct SfmPlaneShape {
    uint32_t extraLines;
    uint32_t leadInWords;
};
SfmPlaneShape ShapeOf(uint32_t code) {
    if (code == kSignal480i5994) return {4, 48};
    if (code == kSignal576i50) return {3, 48};
    return {1, 0};
}

// The four buffers of a group, sized for the whole run from the frame count;
// the driver sets that count, and what does not fit is dropped on append.
// They start empty and grow with the samples appended; the WAV writer
// completes a short buffer with silence, as the zeros of a buffer made at
// full size would read.
void OpenGroup(AudioChannelSet& set, int group, uint32_t linesPerFrame) {
    set.groupPresent[group] = 1;
    const std::size_t bytes = std::size_t{set.frameCount} * linesPerFrame * 12;
    for (int k = group * kChannelsPerGroup; k < (group + 1) * kChannelsPerGroup; ++k) {
        set.channelSamples[k].clear();
        set.channelByteLimit[k] = bytes;
        set.channelWriteCursor[k] = 0;
    }
}

void AppendSample(AudioChannelSet& set, int channel, uint8_t b0, uint8_t b1, uint8_t b2) {
    std::vector<uint8_t>& samples = set.channelSamples[channel];
    std::size_t& cursor = set.channelWriteCursor[channel];
    const std::size_t limit = set.channelByteLimit[channel];
    if (cursor > limit || limit - cursor < kSampleBytes) return;
    if (samples.size() < cursor + kSampleBytes) samples.resize(cursor + kSampleBytes);
    samples[cursor] = b0;
    samples[cursor + 1] = b1;
    samples[cursor + 2] = b2;
    cursor += kSampleBytes;
}

int HdGroupOf(uint16_t did) {
    for (int g = 0; g < kAudioGroups; ++g) {
        if (kHdDataDid[g] == did) return g;
    }
    return -1;
}

bool IsFlag(const std::array<uint16_t, 4>& w) {
    return w[0] == 0x000 && w[1] == 0x3FF && w[2] == 0x3FF;
}

std::array<uint16_t, 4> FourWordsAt(std::span<const uint8_t> bytes, uint64_t bitPos) {
    std::array<uint16_t, 4> words{};
    UnpackWords(bytes, bitPos, words);
    return words;
}

}  // namespace

std::array<uint16_t, 4> UnpackFourWords(std::span<const uint8_t> bytes, int phase) {
    static constexpr unsigned kStartBit[4] = {0, 6, 4, 2};
    return FourWordsAt(bytes, kStartBit[phase & 3]);
}

uint32_t ExtractedSfmPlaneBytes(uint32_t code) {
    SignalTiming compact;
    if (GetCompactSignalTiming(code, compact, nullptr) != 0) return 0;
    const SfmPlaneShape shape = ShapeOf(code);
    return (compact.activeLinesField1 + compact.activeLinesField2 + shape.extraLines) *
           (compact.activeSamples + shape.leadInWords) * 10 / 8;
}

void ExtractHdAudio(AudioChannelSet& set, const SignalTiming& timing,
                    std::span<const uint8_t> payload) {
    const StoredRaster raster = MakeStoredRaster(timing);
    const uint64_t chromaBit = uint64_t{raster.planeBytes} * 8;
    const uint32_t linesPerFrame = raster.regionLines[0] + raster.regionLines[1];
    for (int region = 0; region < 2; ++region) {
        // Line 1 of a region (the vertical switching line) carries no audio.
        for (uint32_t line = 1; line < raster.regionLines[region]; ++line) {
            const uint64_t lineStart = chromaBit + raster.LineBit(region, line);
            const uint64_t lineEnd = lineStart + raster.lineBits;
            uint64_t position = lineStart + kHdAncStartWord * kWordBits;
            uint32_t packets = 0;
            // Packets are looked for only where they can start: inside the
            // line. That bounds the work of a frame full of flags.
            for (auto w = FourWordsAt(payload, position); position < lineEnd && IsFlag(w);
                 w = FourWordsAt(payload, position)) {
                // An identifier that is no data identifier counts the packet
                // to the group before it; with none before it in the run the
                // line ends.
                const int group = HdGroupOf(w[3]);
                if (group >= 0) {
                    if (!set.groupPresent[group]) OpenGroup(set, group, linesPerFrame);
                    set.lastHdGroup = group;
                } else if (set.lastHdGroup < 0) {
                    break;
                }
                const int base = set.lastHdGroup * kChannelsPerGroup;
                // Past the block number, count and two clock words: four
                // words per channel.
                for (int c = 0; c < kChannelsPerGroup; ++c) {
                    const auto s = FourWordsAt(payload, position + (8 + 4 * c) * kWordBits);
                    AppendSample(set, base + c,
                                 static_cast<uint8_t>((s[0] >> 4 & 0xF) | (s[1] & 0xF) << 4),
                                 static_cast<uint8_t>((s[1] >> 4 & 0xF) | (s[2] & 0xF) << 4),
                                 static_cast<uint8_t>((s[2] >> 4 & 0xF) | (s[3] & 0xF) << 4));
                }
                ++packets;
                position += kHdDataPacketWords * kWordBits;
            }
            if (const int groups = PresentGroupCount(set); groups > 0) {
                set.sampleCount += packets / static_cast<uint32_t>(groups);
            }
        }
    }
}

void ExtractSdAudio(AudioChannelSet& set, const SignalTiming& timing,
                    std::span<const uint8_t> payload) {
    const StoredRaster raster = MakeStoredRaster(timing);
    const uint64_t chromaBit = uint64_t{raster.planeBytes} * 8;
    const uint32_t linesPerFrame = raster.regionLines[0] + raster.regionLines[1];
    // The line's multiplexed word stream: chroma words at even and luma
    // words at odd positions. Packets start in its horizontal blanking; their
    // words are read on into the line, since the embedder writes them without
    // regard to the blanking width. Nothing is read past the line.
    const uint64_t streamWords = 2 * uint64_t{timing.totalSamplesPerLine};
    const uint32_t scanEnd = 2u * timing.hblankSamples;

    for (int region = 0; region < 2; ++region) {
        for (uint32_t line = 1; line < raster.regionLines[region]; ++line) {
            const uint64_t lineBit = raster.LineBit(region, line);
            auto word = [&](uint64_t i) -> uint16_t {
                if (i >= streamWords) return 0;
                return ReadWordAt(payload,
                                  (i % 2 == 0 ? chromaBit : 0) + lineBit + i / 2 * kWordBits);
            };
            auto classify = [&](uint64_t i) {
                const std::array<uint16_t, 4> head = {word(i), word(i + 1), word(i + 2),
                                                      word(i + 3)};
                return ClassifyAncPacket(head, 0);
            };
            uint32_t units = 0;
            for (uint64_t position = 4; position + 4 < scanEnd;) {
                const uint32_t kind = classify(position);
                const uint32_t dataCount = word(position + 5) & 0xFF;
                const uint64_t next = position + 7 + dataCount;
                if (kind == kAncControl || kind == kAncExtended) {
                    position = next;
                    continue;
                }
                if (kind != kAncData) break;
                const uint16_t group = static_cast<uint16_t>(~word(position + 3) >> 1 & 3);
                if (!set.groupPresent[group]) OpenGroup(set, group, linesPerFrame);
                // The extended packet of the same group, right behind, holds
                // the four low bits of each sample.
                const bool extended = classify(next) == kAncExtended &&
                                      word(next + 3) == GetAudioPacketDid(kAncExtended, group);
                for (uint32_t u = 0; u < dataCount / 3; ++u) {
                    const uint16_t x = word(position + 6 + 3 * u);
                    const uint16_t y = word(position + 7 + 3 * u);
                    const uint16_t z = word(position + 8 + 3 * u);
                    const int channel = x >> 1 & 3;
                    // Audio word bits 0-14 and 16-19; bit 15 (Z bit 0) is not
                    // read, Y bit 0 stands in its place.
                    const uint32_t a = (x >> 3 & 0x3Fu) | (y & 0x1FFu) << 6 | (z >> 1 & 0xFu) << 16;
                    const uint32_t bit15 = y & 1u;
                    bool hasAux = false;
                    uint32_t aux = 0;
                    if (extended) {
                        const uint16_t e = word(next + 6 + u / 2);
                        if ((e >> 8 & 1) == (channel >= 2 ? 1 : 0)) {
                            aux = (channel & 1) ? (e >> 4 & 0xF) : (e & 0xF);
                            hasAux = true;
                        }
                    }
                    if (hasAux) {
                        AppendSample(set, group * kChannelsPerGroup + channel,
                                     static_cast<uint8_t>((a & 0xF) << 4 | aux),
                                     static_cast<uint8_t>(a >> 4 & 0xFF),
                                     static_cast<uint8_t>((a >> 12 & 0x7) | bit15 << 3 |
                                                          (a >> 16 & 0xF) << 4));
                    } else {
                        AppendSample(set, group * kChannelsPerGroup + channel,
                                     static_cast<uint8_t>(a & 0xFF),
                                     static_cast<uint8_t>((a >> 8 & 0x7F) | bit15 << 7),
                                     static_cast<uint8_t>(a >> 16 & 0xF));
                    }
                    ++units;
                }
                position = next;
            }
            if (const int groups = PresentGroupCount(set); groups > 0) {
                set.sampleCount += units / 4 / static_cast<uint32_t>(groups);
            }
        }
    }
}

void RealignCompactLines(uint32_t code, std::span<uint8_t> payload) {
    if (code != kSignal480i5994 && code != kSignal720p5994 && code != kSignal1080Line23 &&
        code != kSignal1080PsF24) {
        return;
    }
    SignalTiming full, compact;
    GetSignalTiming(code, full, nullptr);
    GetCompactSignalTiming(code, compact, nullptr);
    const StoredRaster raster = MakeStoredRaster(full);
    const std::size_t compactLine = std::size_t{compact.totalSamplesPerLine} * 10 / 8;
    const std::size_t compactHblank = std::size_t{compact.hblankSamples} * 10 / 8;
    const std::size_t compactRegionStart[2] = {0, raster.regionLines[0] * compactLine};
    for (int p = 0; p < 2; ++p) {
        const std::size_t plane = static_cast<std::size_t>(p) * raster.planeBytes;
        for (int region = 0; region < 2; ++region) {
            for (uint32_t line = 0; line < raster.regionLines[region]; ++line) {
                const uint64_t from = uint64_t{plane} * 8 + raster.LineBit(region, line) +
                                      uint64_t{full.hblankSamples} * kWordBits;
                const std::size_t to =
                    plane + compactRegionStart[region] + line * compactLine + compactHblank;
                // Every compact position lies before its source, so moving
                // the lines front to back never overwrites unread picture.
                CopyBits(payload, uint64_t{to} * 8, payload, from,
                         uint64_t{full.activeSamples} * kWordBits);
            }
        }
    }
}

int BuildSfmFromSfa(std::span<uint8_t> sfa, std::span<uint8_t> sfm, std::string_view name,
                    AudioChannelSet& set, const ConversionContext& ctx) {
    const uint32_t code = ctx.signalFormat;
    SignalTiming compact;
    if (GetCompactSignalTiming(code, compact, ctx.trace) != 0) {
        Trace(ctx.trace, kFileConvertError);
        return -1;
    }
    const std::size_t plane = ExtractedSfmPlaneBytes(code);
    if (sfm.size() < kHeaderSize + 2 * plane) {
        Trace(ctx.trace, kFileConvertError);
        return -1;
    }

    uint8_t* header = sfm.data();
    std::memset(header, 0, kHeaderSize);
    CopyOrZero(header, sfa, 0, 8);
    PutFrameNameField(header + 8, name);
    CopyOrZero(header + 20, sfa, 20, 16);
    WriteBe32(header + 40, static_cast<uint32_t>(2 * plane + 16));
    header[44] = 0x24;
    CopyOrZero(header + 45, sfa, 45, 3);
    CopyOrZero(header + 50, sfa, 50, 2);  // 48 and 49 stay 0: a picture frame
    WriteBe32(header + 52, static_cast<uint32_t>(plane));
    WriteBe32(header + 56, static_cast<uint32_t>(plane));
    CopyOrZero(header + 60, sfa, 60, 4);

    const std::span<uint8_t> payload =
        sfa.size() > kHeaderSize ? sfa.subspan(kHeaderSize) : std::span<uint8_t>();
    SignalTiming full;
    GetSignalTiming(code, full, ctx.trace);
    const bool sd = IsStandardDefinition(code);
    if (sd) {
        ExtractSdAudio(set, full, payload);
    } else {
        ExtractHdAudio(set, full, payload);
    }
    RealignCompactLines(code, payload);

    // The picture, plane by plane, from the compact layout.
    const std::size_t sfaPlane = PlaneBytes(full);
    const std::size_t lineBytes = std::size_t{compact.totalSamplesPerLine} * 10 / 8;
    const std::size_t hblankBytes = std::size_t{compact.hblankSamples} * 10 / 8;
    const std::size_t activeBytes = std::size_t{compact.activeSamples} * 10 / 8;
    const std::size_t leadIn = sd ? kSdLeadInBytes : 0;
    for (int p = 0; p < 2; ++p) {
        std::size_t from = p * sfaPlane + compact.blankLinesBeforeField1 * lineBytes;
        uint8_t* to = sfm.data() + kHeaderSize + p * plane;
        auto copyField = [&](uint32_t lines) {
            for (uint32_t i = 0; i < lines; ++i) {
                std::memset(to, 0, leadIn);
                to += leadIn;
                from += hblankBytes;
                CopyOrZero(to, payload, from, activeBytes);
                from += activeBytes;
                to += activeBytes;
            }
        };
        copyField(compact.activeLinesField1);
        from += (compact.blankLinesAfterField1 + compact.blankLinesBeforeField2) * lineBytes +
                compact.padBytesAfterField1;
        if (sd) {
            // The three line slots between the fields stay zero.
            std::memset(to, 0, kSdFieldGapBytes);
            to += kSdFieldGapBytes;
        }
        copyField(compact.activeLinesField2);
        if (code != kSignal576i50) {
            // One closing line of blanking values.
            const std::span<uint8_t> last(to, sd ? kSdSfmLineBytes : activeBytes);
            FillWordPattern(last, 0, last.size(), p == 0 ? 0x040 : 0x200);
        }
    }
    SfaChecksum(header + 36, 2 * plane);
    return 0;
}

}  // namespace fmconv
