// Embedded audio packets: the samples that fall into one stored frame become
// ancillary data packets in the horizontal blanking of its lines, the
// standard-definition kind (audio data, extended data and audio control
// packets) for the 525- and 625-line formats and the high-definition kind
// (audio data and audio control packets) for every other format.
//
// The packets are filled the way the frame memory expects them: its output
// stage finishes them, so the high-definition data packets carry no clock
// phase, error correction or checksum, no sample carries validity, user,
// channel-status or parity bits, and the standard-definition checksums and
// data counts follow this system's own rule (see SdChecksum).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "audio/audio_channel_set.h"
#include "audio/signal_format.h"

namespace fmconv {

// Identifiers of the high-definition packets, by group.
inline constexpr uint16_t kHdDataDid[kAudioGroups] = {0x2E7, 0x1E6, 0x1E5, 0x2E4};
inline constexpr uint16_t kHdControlDid[kAudioGroups] = {0x1E3, 0x2E2, 0x2E1, 0x1E0};

// Where the ancillary space of a stored line begins: after the timing
// reference, line number and CRC words in high definition; at multiplex word
// 4 (plane word 2) in standard definition.
constexpr uint32_t kHdAncStartWord = 8;
constexpr uint32_t kSdAncStartWord = 2;

// Places the audio of the next frame into a stored frame (luma plane, then
// chroma plane, as laid out for timing) and advances the set's sample cursor,
// line clock and (high definition) frame number. Codes 0 and 1 get
// standard-definition packets, all others high-definition ones. A format
// without audio timing (codes 12 and 13) gets none. Nothing is written
// outside `frame`.
void EmbedAudioInFrame(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame);
void EmbedHdAudio(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame);
void EmbedSdAudio(AudioChannelSet& set, const SignalTiming& timing, std::span<uint8_t> frame);

// The four words W1..W4 that carry a 24-bit sample in a high-definition data
// packet: W1 bits 4-7 = sample bits 0-3, W2 = bits 4-11, W3 = bits 12-19,
// W4 bits 0-3 = bits 20-23; every other bit 0.
std::array<uint16_t, 4> HdSampleWords(uint32_t sample);

// The 9-bit sum of the low 9 bits of words 3 to 16 of a control packet, with
// bit 9 the inverse of bit 8.
uint16_t HdControlChecksum(std::span<const uint16_t, kHdControlPacketWords> packet);

// The words X, Y, Z of a standard-definition sample of channel 0..3 of its
// group: the audio word is the sample's upper 20 bits, the block-start,
// validity, user, channel-status and parity bits stay 0.
std::array<uint16_t, 3> SdSampleWords(uint32_t sample, int channel);
// The extended data word of a channel pair (pair 0: channels 0 and 1, pair
// 1: channels 2 and 3): the low four bits of both samples.
uint16_t SdExtendedWord(uint32_t first, uint32_t second, int pair);
// The plain sum of the words from the identifier to the last user word,
// ANDed with 0x2FF. `packet` starts at the ancillary data flag.
uint16_t SdChecksum(std::span<const uint16_t> packet);

// The standard-definition word lists of one line: the control packets of all
// present groups, or for each present group its data packet with `count`
// samples from `first` followed by its extended data packet.
void AppendSdControlPackets(const AudioChannelSet& set, std::vector<uint16_t>& words);
void AppendSdDataPackets(const AudioChannelSet& set, uint32_t first, uint32_t count,
                         std::vector<uint16_t>& words);

}  // namespace fmconv
