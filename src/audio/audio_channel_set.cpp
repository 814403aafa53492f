#include "audio/audio_channel_set.h"

namespace fmconv {

namespace {

// The high-definition audio control packet: ancillary data flag, identifier
// (set per group), block number 0x200, data count 11, frame number 0x200,
// rate 0x200 (48 kHz synchronous), active channels 0x20F, six delay and two
// reserved words of 0x200, and the checksum.
constexpr std::array<uint8_t, kHdControlPacketBytes> kHdControlTemplate = {
    0x00, 0x3F, 0xFF, 0xFC, 0xE0, 0x80, 0x10, 0xB8, 0x02, 0x00, 0x83, 0xE0,
    0x08, 0x02, 0x00, 0x80, 0x20, 0x08, 0x02, 0x00, 0x80, 0x00, 0x00};

// The high-definition audio data packet: ancillary data flag, identifier
// (set per group), block number 0, data count 24 (0x218), and zeros for the
// clock phase, the sixteen sample words, the error correction and checksum.
constexpr std::array<uint8_t, kHdDataPacketBytes> kHdDataTemplate = {0x00, 0x3F, 0xFF, 0xFC,
                                                                     0xE0, 0x00, 0x21, 0x80};

}  // namespace

void ResetAudioChannelSet(AudioChannelSet& set) {
    for (std::string& path : set.wavPath) path.clear();
    for (std::vector<uint8_t>& samples : set.channelSamples) {
        samples.clear();
        samples.shrink_to_fit();
    }
    set.groupPresent.fill(0);
    set.sampleCount = 0;
    set.sampleCursor = 0;
    set.audioFrameNumber = 1;
    set.lineClock = 0.0;
    set.lastHdGroup = -1;
    set.hdControlPacket = kHdControlTemplate;
    set.hdDataPacket = kHdDataTemplate;
}

int PresentGroupCount(const AudioChannelSet& set) {
    int count = 0;
    for (uint8_t flag : set.groupPresent) count += flag != 0;
    return count;
}

}  // namespace fmconv
