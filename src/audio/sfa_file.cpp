#include "audio/sfa_file.h"

#include <sys/types.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#include "audio/anc_packets.h"
#include "audio/packed_words.h"
#include "audio/signal_format.h"
#include "audio/stored_raster.h"
#include "base/bytes.h"
#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "names/confinement.h"
#include "names/disk_space.h"
#include "names/naming.h"

namespace fmconv {

namespace {

constexpr std::size_t kHeaderSize = 64;
constexpr uint16_t kLumaBlank = 0x040;
constexpr uint16_t kChromaBlank = 0x200;
// A standard-definition SFM line starts with 60 zero bytes; its fields are
// three lines (2880 bytes) apart.
constexpr std::size_t kSdLeadInBytes = 60;
constexpr std::size_t kSdFieldGapBytes = 2880;
// The trailer and the last 48 picture bytes of an SF1 source, which the
// frame builder never needs.
constexpr uint64_t kSf1UnreadTail = 352;

// Adds eight bytes to eight bytes lane by lane, modulo 256 each: the top
// bits are added apart so that no carry crosses into the next byte.
uint64_t AddByteLanes(uint64_t a, uint64_t b) {
    constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
    constexpr uint64_t kTop = 0x8080808080808080ULL;
    return ((a & kLow7) + (b & kLow7)) ^ ((a ^ b) & kTop);
}

}  // namespace

bool IsEmbeddedAudioMark(uint8_t byte48) {
    return byte48 == 0x80 || byte48 == 0x81 || byte48 == 0x8F;
}

void PutFrameNameField(uint8_t* field12, std::string_view name) {
    constexpr std::size_t kFirst = 10;
    for (std::size_t i = 0; i < 12; ++i) {
        field12[i] = kFirst + i < name.size() ? static_cast<uint8_t>(name[kFirst + i]) : 0;
    }
}

namespace {

#if defined(__x86_64__)
// Thirty-two bytes at a time: each byte of the accumulator sums the bytes
// at its position modulo 32, which keeps every byte in its lane.
__attribute__((target("avx2"))) void LaneSumsAvx2(const uint8_t* bytes, std::size_t count,
                                                  uint8_t sum[4]) {
    __m256i acc = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        acc = _mm256_add_epi8(acc, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i)));
    }
    alignas(32) uint8_t lanes[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), acc);
    for (int k = 0; k < 32; ++k) sum[k % 4] = static_cast<uint8_t>(sum[k % 4] + lanes[k]);
    for (; i < count; ++i) sum[i % 4] = static_cast<uint8_t>(sum[i % 4] + bytes[i]);
}
#endif

// Eight bytes at a time: byte j of each chunk belongs to lane j mod 4.
void LaneSumsPlain(const uint8_t* bytes, std::size_t count, uint8_t sum[4]) {
    uint64_t lanes8 = 0;
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t chunk;
        std::memcpy(&chunk, bytes + i, 8);
        lanes8 = AddByteLanes(lanes8, chunk);
    }
    uint8_t lanes[8];
    std::memcpy(lanes, &lanes8, 8);
    for (int k = 0; k < 4; ++k) sum[k] = static_cast<uint8_t>(sum[k] + lanes[k] + lanes[k + 4]);
    for (; i < count; ++i) sum[i % 4] = static_cast<uint8_t>(sum[i % 4] + bytes[i]);
}

// Adds every byte into its lane (its offset from `bytes` modulo 4).
void AddLaneSums(const uint8_t* bytes, std::size_t count, uint8_t sum[4]) {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return LaneSumsAvx2(bytes, count, sum);
#endif
    LaneSumsPlain(bytes, count, sum);
}

}  // namespace

void SfaChecksum(uint8_t* at36, std::size_t payloadSize) {
    uint8_t sum[4] = {};
    AddLaneSums(at36 + 12, payloadSize + 16, sum);
    std::memcpy(at36, sum, 4);
}

int BuildSfaFrame(std::span<const uint8_t> source, std::span<uint8_t> dest, std::string_view name,
                  AudioChannelSet& set, const ConversionContext& ctx) {
    if (BuildSfaRaster(source, dest, name, ctx.signalFormat, ctx.trace) != 0) return -1;
    FinishSfaFrame(dest, set, ctx.signalFormat);
    return 0;
}

void EmbedSfaAudio(std::span<uint8_t> dest, AudioChannelSet& set, uint32_t code) {
    SignalTiming timing;
    GetSignalTiming(code, timing, nullptr);
    EmbedAudioInFrame(set, timing, dest.subspan(kHeaderSize, 2 * std::size_t{PlaneBytes(timing)}));
}

void FinishSfaFrame(std::span<uint8_t> dest, AudioChannelSet& set, uint32_t code) {
    EmbedSfaAudio(dest, set, code);
    SfaChecksum(dest.data() + 36, GetFrameByteSize(code, kFrameKindSfa));
}

int BuildSfaRaster(std::span<const uint8_t> source, std::span<uint8_t> dest, std::string_view name,
                   uint32_t code, const TraceSink& trace) {
    const SfaSourceBytes bytes = [source](uint64_t offset, std::size_t) {
        return offset < source.size() ? source.subspan(static_cast<std::size_t>(offset))
                                      : std::span<const uint8_t>();
    };
    return BuildSfaRaster(bytes, dest, name, code, trace);
}

int BuildSfaRaster(const SfaSourceBytes& source, std::span<uint8_t> dest, std::string_view name,
                   uint32_t code, const TraceSink& trace) {
    SignalTiming timing;
    if (GetSignalTiming(code, timing, trace) != 0) {
        Trace(trace, kFileConvertError);
        return -1;
    }
    const StoredRaster raster = MakeStoredRaster(timing);
    const std::size_t plane = raster.planeBytes;
    if (dest.size() < kHeaderSize + 2 * plane) {
        Trace(trace, kFileConvertError);
        return -1;
    }

    uint8_t* header = dest.data();
    const std::span<const uint8_t> sourceHeader = source(0, kHeaderSize);
    std::memset(header, 0, kHeaderSize);
    CopyOrZero(header, sourceHeader, 0, 8);
    PutFrameNameField(header + 8, name);
    CopyOrZero(header + 20, sourceHeader, 20, 16);
    WriteBe32(header + 40, static_cast<uint32_t>(2 * plane + 16));
    header[44] = kSfaHeaderByte44;
    CopyOrZero(header + 45, sourceHeader, 45, 7);  // 45-47, then 48-51: the mark and the code
    WriteBe32(header + 52, static_cast<uint32_t>(plane));
    WriteBe32(header + 56, static_cast<uint32_t>(plane));
    CopyOrZero(header + 60, sourceHeader, 60, 4);

    const std::span<uint8_t> payload = dest.subspan(kHeaderSize, 2 * plane);
    const bool sd = IsStandardDefinition(code);
    const std::size_t activeBytes = std::size_t{timing.activeSamples} * 10 / 8;
    const std::size_t leadIn = sd ? kSdLeadInBytes : 0;
    const uint16_t firstActive[2] = {timing.blankLinesBeforeField1, timing.blankLinesBeforeField2};
    const uint16_t activeLines[2] = {timing.activeLinesField1, timing.activeLinesField2};
    std::size_t from = kHeaderSize;  // the picture follows the source's header
    for (int p = 0; p < 2; ++p) {
        const std::span<uint8_t> planeBytes = payload.subspan(p * plane, plane);
        const uint16_t blank = p == 0 ? kLumaBlank : kChromaBlank;
        // Blanking first: each region is one word stream from its first byte,
        // its lines and then its pad bytes, so that the pad of a region whose
        // lines end in the middle of a byte follows on at that half byte;
        // the region's last half byte is rounded up.
        // Where lines and their horizontal blanking are whole groups of four
        // words, only the blanking is laid: the picture covers the rest.
        const bool wholeGroups = timing.totalSamplesPerLine % 4 == 0 && timing.hblankSamples % 4 == 0;
        for (int region = 0; region < 2; ++region) {
            const std::size_t start = raster.regionStart[region];
            const std::size_t bytes = FieldRegionBytes(timing, region + 1);
            if (!wholeGroups) {
                FillWordPattern(planeBytes, start, bytes, blank);
                continue;
            }
            const std::size_t lineBytes = raster.lineBits / 8;
            const std::size_t firstLine = start + firstActive[region] * lineBytes;
            const std::size_t afterActive = firstLine + activeLines[region] * lineBytes;
            FillWordPattern(planeBytes, start, firstLine - start, blank);
            for (std::size_t at = firstLine; at < afterActive; at += lineBytes) {
                FillWordPattern(planeBytes, at, std::size_t{timing.hblankSamples} * 10 / 8, blank);
            }
            FillWordPattern(planeBytes, afterActive, start + bytes - afterActive, blank);
        }
        // The picture: each active line's words after its horizontal
        // blanking, at their exact bits (shifted by four when the line starts
        // mid-byte).
        for (int region = 0; region < 2; ++region) {
            for (uint32_t line = 0; line < activeLines[region]; ++line) {
                from += leadIn;
                const uint64_t at = raster.LineBit(region, firstActive[region] + line) +
                                    uint64_t{timing.hblankSamples} * 10;
                CopyBits(planeBytes, at, source(from, activeBytes + 1), 0,
                         uint64_t{timing.activeSamples} * 10);
                from += activeBytes;
            }
            if (region == 0 && sd) from += kSdFieldGapBytes;
        }
        // The SFM plane ends with one more line, except in 576i.
        if (code != kSignal576i50) from += leadIn + activeBytes;
    }
    return 0;
}

namespace {
// The parts one after the other. Built by appending: a string prepended with
// operator+ trips a false -Wrestrict in GCC 12 at -O3.
std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string name;
    for (std::string_view part : parts) name.append(part);
    return name;
}
}  // namespace

std::string SfaNameFromSfm(std::string_view sfmName) {
    return Joined({StemOf(StripTempSuffix(sfmName)), ".SFA"});
}

std::string SfaNameFromInnerName(std::string_view innerName) {
    return Joined({StemOf(innerName), ".SFA"});
}

std::string Sf3NameFromSfaName(std::string_view sfaName) {
    const std::string_view stem = StemOf(sfaName);
    const std::string_view last4 = LastChars(stem, 4);
    if (last4.empty() || last4[0] != '_') return Joined({"F", last4, ".SF3"});
    return Joined({"F0", LastChars(stem, 3), ".SF3"});
}

std::string Sf3NameFromSf1Name(std::string_view sf1Name) {
    return Joined({StemOf(sf1Name), ".SF3"});
}

namespace {

uint64_t OpenFileLength(std::FILE* file) {
    if (fseeko(file, 0, SEEK_END) != 0) return 0;
    const off_t end = ftello(file);
    return end > 0 ? static_cast<uint64_t>(end) : 0;
}

// Up to `count` bytes from `offset` into bytes (reused); fewer when the file
// ends sooner.
void ReadAt(std::FILE* file, uint64_t offset, std::size_t count, std::vector<uint8_t>& bytes) {
    bytes.resize(count);
    std::size_t got = 0;
    if (count > 0 && fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0) {
        got = std::fread(bytes.data(), 1, count, file);
    }
    bytes.resize(got);
}

// The frame without its audio, for the prepared code, read from the source
// file as it is built.
void BuildPreparedRaster(PreparedSfa& out) {
    out.built = false;
    const uint32_t payload = GetFrameByteSize(out.code, kFrameKindSfa);
    if (payload == 0) return;
    if (!out.window.Open(out.sourcePath, out.sourceLimit)) return;
    out.frame.resize(kHeaderSize + payload);
    const TraceSink keep = [&out](std::string_view line) { out.traces.emplace_back(line); };
    const SfaSourceBytes source = [&out](uint64_t offset, std::size_t count) {
        return out.window.From(offset, count);
    };
    out.built = BuildSfaRaster(source, out.frame,
                               out.from == SfaSource::kSfm ? out.sfaName : out.sourceName,
                               out.code, keep) == 0;
    out.window.Close();
    if (out.built) {
        out.frame[48] = kSfaHeaderMark;
        out.frame[49] = static_cast<uint8_t>(out.code);
    }
}

}  // namespace

void PrepareSfa(SfaSource from, SfaDestination to, const std::string& sourceDir,
                const std::string& sourceName, uint32_t code, PreparedSfa& out) {
    out.from = from;
    out.to = to;
    out.sourceName = sourceName;
    out.sourcePath = JoinPath(sourceDir, sourceName);
    out.sourceRead = false;
    out.code = code;
    out.built = false;
    out.traces.clear();
    out.sourceTrailer = {};
    FilePtr source = OpenFile(out.sourcePath, "rb");
    if (!source) return;
    out.sourceRead = true;
    const uint64_t length = OpenFileLength(source.get());

    // An SF1 source names its frame in its trailer. A file shorter than a
    // trailer gives what it has, the rest zero.
    std::string innerName;
    if (from == SfaSource::kSf1) {
        std::vector<uint8_t> trailer;
        ReadAt(source.get(), length >= kRegisterTrailerSize ? length - kRegisterTrailerSize : 0,
               kRegisterTrailerSize, trailer);
        std::copy(trailer.begin(), trailer.end(), out.sourceTrailer.begin());
        innerName = TrailerInnerName(out.sourceTrailer);
    }
    out.sfaName =
        from == SfaSource::kSfm ? SfaNameFromSfm(sourceName) : SfaNameFromInnerName(innerName);
    out.sf3Name =
        from == SfaSource::kSfm ? Sf3NameFromSfaName(out.sfaName) : Sf3NameFromSf1Name(sourceName);

    // The SFM bytes: up to 8 MiB of an SFM file; of an SF1 file all but its
    // trailer and the last 48 picture bytes. Whatever is missing reads as
    // zero when the frame is built.
    uint64_t wanted = kSfaSourceLimit;
    if (from == SfaSource::kSf1) wanted = length >= kSf1UnreadTail ? length - kSf1UnreadTail : 0;
    out.sourceLimit = std::min({wanted, length, uint64_t{kSfaSourceLimit}});
    ReadAt(source.get(), 0, kHeaderSize, out.sourceHeader);
    source.reset();
    BuildPreparedRaster(out);
}

namespace {

// Writes the frame a piece at a time, each piece summed into the checksum
// while it is in the processor's cache, and then the checksum into its
// header: the bytes on disk are the finished frame's.
bool WriteSummingSfa(platform::OutputFile& dest, std::span<const uint8_t> frame) {
    constexpr std::size_t kPiece = std::size_t{1} << 18;
    constexpr std::size_t kSummedFrom = 48;
    uint8_t sum[4] = {};
    for (std::size_t at = 0; at < frame.size(); at += kPiece) {
        const std::size_t size = std::min(kPiece, frame.size() - at);
        const std::size_t skip = at < kSummedFrom ? std::min(size, kSummedFrom - at) : 0;
        AddLaneSums(frame.data() + at + skip, size - skip, sum);
        if (!dest.Write(frame.data() + at, size)) return false;
    }
    return dest.WriteAt(36, sum, 4);
}

}  // namespace

std::string CommitSfa(PreparedSfa& prepared, const std::string& destDir, AudioChannelSet& set,
                      std::optional<uint32_t> chosenFormat, ConversionContext& ctx) {
    if (!prepared.sourceRead) return "";
    // A name from the trailer that would lead out of the destination folder
    // is refused like a source that cannot be read.
    if (prepared.from == SfaSource::kSf1 && !IsConfinedName(prepared.sfaName)) return "";

    // The destination is made here, before the frame is built and the space
    // tested: every failure from now on leaves it behind as an empty file.
    // It is written under a temporary name, so that until it is whole (or
    // given up empty) an existing file of that name stays as it was.
    const bool toSf3 = prepared.to == SfaDestination::kSf3;
    const std::string destPath = JoinPath(destDir, toSf3 ? prepared.sf3Name : prepared.sfaName);
    const std::unique_ptr<platform::OutputFile> dest = ctx.files->Create(destPath);
    if (!dest) return "";
    const auto giveUp = [&dest](std::string result) {
        dest->Commit();
        return result;
    };

    // Kept for what a later reader may want; nothing reads it.
    ctx.embeddedAudioFlag =
        prepared.sourceHeader.size() > 48 && IsEmbeddedAudioMark(prepared.sourceHeader[48]);
    if (chosenFormat) ctx.signalFormat = *chosenFormat;
    const uint32_t code = ctx.signalFormat;
    const uint32_t payload = GetFrameByteSize(code, kFrameKindSfa);
    if (payload == 0) return giveUp("");
    if (code != prepared.code) {  // the format changed since the frame was prepared
        prepared.code = code;
        prepared.traces.clear();
        BuildPreparedRaster(prepared);
    }
    for (const std::string& line : prepared.traces) Trace(ctx.trace, line);
    if (!prepared.built) return giveUp("");
    const std::size_t frameSize = kHeaderSize + payload;
    // The audio in the run's order; the checksum over all of it is summed
    // as the frame is written.
    EmbedSfaAudio(prepared.frame, set, code);

    const int64_t freeBytes = ctx.freeSpace ? ctx.freeSpace->FreeBytes(destDir) : -1;
    switch (TestSpace(static_cast<int64_t>(frameSize), freeBytes)) {
        case SpaceVerdict::kUnknown:
            return giveUp("");
        case SpaceVerdict::kInsufficient:
            return giveUp(kHddMemoryNotSufficient);
        case SpaceVerdict::kProceed:
            break;
    }
    bool written = WriteSummingSfa(*dest, std::span(prepared.frame).first(frameSize));
    if (toSf3) {
        // The trailer names the SFA; an SF1 source's own trailer lends its
        // other bytes.
        RegisterTrailer trailer = BuildRegisterTrailer(prepared.sfaName);
        if (prepared.from == SfaSource::kSf1) {
            const RegisterTrailer& own = prepared.sourceTrailer;
            std::copy_n(own.begin(), kTrailerMarkerOffset, trailer.begin());
            std::copy_n(own.begin() + 260, 4, trailer.begin() + 260);
            std::copy_n(own.begin() + 296, 4, trailer.begin() + 296);
        }
        written = written && dest->Write(trailer.data(), trailer.size());
    }
    // A write that fails (a full disk) is a failure like the others: the
    // partial frame goes, the empty destination stays.
    if (!written || !dest->Commit()) {
        platform::CreateEmptyFile(*ctx.files, destPath);
        return "";
    }
    return toSf3 ? RegisterListItem(prepared.sf3Name, prepared.sfaName) : prepared.sfaName;
}

namespace {

std::string WriteSfa(SfaSource from, SfaDestination to, const std::string& sourceDir,
                     const std::string& sourceName, const std::string& destDir,
                     AudioChannelSet& set, std::optional<uint32_t> chosenFormat,
                     ConversionContext& ctx) {
    PreparedSfa prepared;
    PrepareSfa(from, to, sourceDir, sourceName, chosenFormat.value_or(ctx.signalFormat), prepared);
    return CommitSfa(prepared, destDir, set, chosenFormat, ctx);
}

}  // namespace

std::string WriteSfaFromSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx) {
    return WriteSfa(SfaSource::kSfm, SfaDestination::kSfa, sourceDir, sourceName, destDir, set,
                    chosenFormat, ctx);
}

std::string WriteSf3FromSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx) {
    return WriteSfa(SfaSource::kSfm, SfaDestination::kSf3, sourceDir, sourceName, destDir, set,
                    chosenFormat, ctx);
}

std::string WriteSfaFromSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx) {
    return WriteSfa(SfaSource::kSf1, SfaDestination::kSfa, sourceDir, sourceName, destDir, set,
                    chosenFormat, ctx);
}

std::string WriteSf3FromSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx) {
    return WriteSfa(SfaSource::kSf1, SfaDestination::kSf3, sourceDir, sourceName, destDir, set,
                    chosenFormat, ctx);
}

}  // namespace fmconv
