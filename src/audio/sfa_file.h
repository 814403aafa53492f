// The SFA file: one frame-memory frame with audio. A 64-byte header in the
// SFM header's layout, then the full stored raster of the signal format, luma
// plane then chroma plane, with the picture of an SFM frame laid into it and
// the next frame's worth of the run's audio embedded in its blanking. The SF3
// form is the same file followed by the 304-byte register trailer.
//
// Header fields that differ from an SFM header (big-endian numbers):
//    8  12 characters of the frame's name from its 11th character on
//   36   4 byte-lane checksum (SfaChecksum)
//   40   4 2 x plane + 16, the bytes from offset 48 to the end
//   44   1 0x36
//   48   1 0x81 (a frame with embedded audio)
//   49   1 the signal-format code
//   52   8 the plane size, twice
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_channel_set.h"
#include "base/file_window.h"
#include "fmfiles/conversion_context.h"
#include "fmfiles/register_file.h"

namespace fmconv {

inline constexpr char kFileConvertError[] = "File Convert Error!\n";

// How much of a source file the writers read at most.
constexpr std::size_t kSfaSourceLimit = 8 * 1024 * 1024;

constexpr uint8_t kSfaHeaderMark = 0x81;  // header byte 48 of an SFA file
constexpr uint8_t kSfaHeaderByte44 = 0x36;

// True for the header byte 48 values that mark a frame with embedded audio
// (0x80, 0x81, 0x8F).
bool IsEmbeddedAudioMark(uint8_t byte48);

// Header bytes 8-19 as the SFA and extracted-SFM builders store them: the
// name's characters from the 11th (index 10) on, twelve of them, zero bytes
// beyond its end. For "S" + eight characters + ".FMEM0001.SFA" that is the
// part from FMEM on; shorter names shift it.
void PutFrameNameField(uint8_t* field12, std::string_view name);

// Builds the SFA frame of the context's current signal format into dest
// (64 + payload bytes): the header from the source's SFM header (whose bytes
// 48 and 49 the caller has set to 0x81 and the code), the full raster with
// blanking values (0x040 luma, 0x200 chroma) and the source picture, the
// run's next frame of audio, and the checksum. The source is the SFM file's
// bytes from its start; what lies beyond them reads as zero. Returns 0, or -1
// after tracing "File Convert Error!\n" when the format is not supported (or
// when dest is too small for the frame).
int BuildSfaFrame(std::span<const uint8_t> source, std::span<uint8_t> dest, std::string_view name,
                  AudioChannelSet& set, const ConversionContext& ctx);

// BuildSfaFrame in two steps: the frame of `code` without its audio (the
// header, the raster's blanking and the picture; 0, or -1 after the trace),
// and then the run's next frame of audio and the checksum.
int BuildSfaRaster(std::span<const uint8_t> source, std::span<uint8_t> dest, std::string_view name,
                   uint32_t code, const TraceSink& trace);
void FinishSfaFrame(std::span<uint8_t> dest, AudioChannelSet& set, uint32_t code);
// The source as BuildSfaRaster reads it, front to back: the bytes from an
// offset on, at least `count` of them unless the source ends sooner.
using SfaSourceBytes = std::function<std::span<const uint8_t>(uint64_t offset, std::size_t count)>;
int BuildSfaRaster(const SfaSourceBytes& source, std::span<uint8_t> dest, std::string_view name,
                   uint32_t code, const TraceSink& trace);
// The run's next frame of audio alone (FinishSfaFrame without the checksum).
void EmbedSfaAudio(std::span<uint8_t> dest, AudioChannelSet& set, uint32_t code);

// Byte k (0..3) at `at36` becomes the low byte of the sum of every fourth byte
// from offset 48 + k, over the payloadSize + 16 bytes from offset 48 on.
void SfaChecksum(uint8_t* at36, std::size_t payloadSize);

// Names.
// The SFA name of an SFM source: a ".TMP" suffix (any case) dropped, then the
// name up to its last "." and ".SFA" (Sname.FMEM0001.SFM.TMP -> Sname.FMEM0001.SFA).
std::string SfaNameFromSfm(std::string_view sfmName);
// The SFA name of an SF1 source: its trailer's inner name up to its last "."
// and ".SFA".
std::string SfaNameFromInnerName(std::string_view innerName);
// The SF3 name of an SFA name: "F" + the last four characters of its stem,
// or "F0" + the last three when the fourth-last is "_" (FMEM0001 and
// FMEM_001 both give F0001.SF3).
std::string Sf3NameFromSfaName(std::string_view sfaName);
// The SF3 name of an SF1 source: its name up to its last "." and ".SF3".
std::string Sf3NameFromSf1Name(std::string_view sf1Name);

// An SFA writer in two steps. Preparing reads the source and builds the
// frame without its audio, touching no output: a run prepares files ahead
// on worker threads. Committing makes the destination, adds the audio in the
// run's order and writes, with the writer's result; it rebuilds the frame
// when the chosen format is not the one it was prepared for.
enum class SfaSource { kSfm, kSf1 };
enum class SfaDestination { kSfa, kSf3 };
struct PreparedSfa {
    SfaSource from = SfaSource::kSfm;
    SfaDestination to = SfaDestination::kSfa;
    std::string sourceName;
    bool sourceRead = false;  // the source could be opened
    std::string sfaName, sf3Name;
    RegisterTrailer sourceTrailer{};
    uint32_t code = 0;    // the signal format the frame was built for
    bool built = false;   // the frame was built
    std::string sourcePath;
    uint64_t sourceLimit = 0;  // how many of the source's bytes the frame takes
    std::vector<uint8_t> sourceHeader;
    FileWindow window;           // the source, read while the frame is built
    std::vector<uint8_t> frame;  // header and payload; reused from file to file
    std::vector<std::string> traces;
};
void PrepareSfa(SfaSource from, SfaDestination to, const std::string& sourceDir,
                const std::string& sourceName, uint32_t code, PreparedSfa& out);
std::string CommitSfa(PreparedSfa& prepared, const std::string& destDir, AudioChannelSet& set,
                      std::optional<uint32_t> chosenFormat, ConversionContext& ctx);

// The four SFA writers. Each reads the source (directory + name), builds one
// SFA frame of the chosen signal format with the next frame of the set's
// audio, and writes it. chosenFormat is the code of the checked "SFA Format /
// Audio Source" radio; without one, the context's current code is kept. The
// chosen code becomes the context's current signal format.
//
// Result: the SFA name (SFA writers) or SF3 name + "(" + SFA name + ")" (SF3
// writers) on success; "HDD memory is not sufficient!" when the free space is
// below the frame's size; "" on any other failure. The destination is
// created before the checks, so a failure after that leaves it, possibly
// empty.
std::string WriteSfaFromSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx);
std::string WriteSf3FromSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx);
std::string WriteSfaFromSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx);
std::string WriteSf3FromSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            std::optional<uint32_t> chosenFormat, ConversionContext& ctx);

}  // namespace fmconv
