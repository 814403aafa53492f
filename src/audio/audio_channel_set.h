// The audio working set of one conversion run: up to 16 WAV channels going
// into SFA frames, or the channels taken back out of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace fmconv {

constexpr int kAudioChannels = 16;
constexpr int kAudioGroups = 4;  // channels 1-4, 5-8, 9-12, 13-16
constexpr int kChannelsPerGroup = 4;
constexpr std::size_t kSampleBytes = 3;  // one 24-bit sample

constexpr std::size_t kHdControlPacketBytes = 23;  // 18 words and 4 spare bits
constexpr std::size_t kHdDataPacketBytes = 39;     // 31 words and 2 spare bits
constexpr std::size_t kHdControlPacketWords = 18;
constexpr std::size_t kHdDataPacketWords = 31;

struct AudioChannelSet {
    // The WAV files to read, channels assigned in file order; the first empty
    // slot ends the list.
    std::array<std::string, kAudioChannels> wavPath;
    // Samples of each embedded channel, 3 bytes each. While embedding they
    // are most significant byte first; after extraction least significant
    // byte first, the order of a WAV file. The set owns them; an empty buffer
    // is an absent one.
    std::array<std::vector<uint8_t>, kAudioChannels> channelSamples;
    // Extraction: the offset of the next free byte of each channel buffer,
    // and how far each buffer may grow (the run's frame count x the lines of
    // a frame x 12 bytes). A buffer grows as samples arrive, so memory
    // follows the audio found, not the size the run allows for.
    std::array<std::size_t, kAudioChannels> channelWriteCursor{};
    std::array<std::size_t, kAudioChannels> channelByteLimit{};
    // 1 when any channel of the group is in use.
    std::array<uint8_t, kAudioGroups> groupPresent{};
    // The prepared high-definition control and data packets.
    std::array<uint8_t, kHdControlPacketBytes> hdControlPacket{};
    std::array<uint8_t, kHdDataPacketBytes> hdDataPacket{};
    uint32_t sampleCount = 0;      // samples per channel (the longest input)
    // The most samples per channel the run can embed: the WAV reader keeps
    // no more than this of any file (nothing the run writes changes), so a
    // long recording costs memory for the frames converted only.
    uint32_t sampleLimit = std::numeric_limits<uint32_t>::max();
    uint32_t sampleCursor = 0;     // the next sample to embed
    uint8_t audioFrameNumber = 1;  // 1 to 5, carried by the control packets
    // Microseconds of video elapsed at the end of the current line, carried
    // from frame to frame so that the stream runs on across files.
    double lineClock = 0.0;
    // Extraction: the number of frames of the run, which sizes the channel
    // buffers. Set by the driver; the reset leaves it alone.
    uint16_t frameCount = 0;
    // Extraction: the group of the last high-definition data packet read in
    // the run (-1 before the first), which a packet with an unknown
    // identifier is counted to.
    int lastHdGroup = -1;
};

// Clears the paths, forgets the sample buffers, clears the group flags,
// zeroes the sample count and cursor, sets the frame number to 1 and the line
// clock to 0.0, and writes the two high-definition packet templates. The write
// cursors and the frame count are left as they are.
void ResetAudioChannelSet(AudioChannelSet& set);

// Number of groups whose flag is set.
int PresentGroupCount(const AudioChannelSet& set);

}  // namespace fmconv
