// WAV input and output: up to 16 channels read from 48 kHz PCM WAV files into
// the audio working set, and one mono 24-bit WAV file written per channel.
#pragma once

#include <string>
#include <vector>

#include "audio/audio_channel_set.h"
#include "platform/output_files.h"

namespace fmconv {

inline constexpr char kWavOk[] = "OK.";
inline constexpr char kWavReadError[] = "Error reading .WAV file.";
inline constexpr char kWavUnrecognized[] = "Cannot recognize audio file format.";
inline constexpr char kWavTooManyChannels[] = "Too many .WAV file channels.";
inline constexpr char kWavRateNotSupported[] = "Audio file sample rate not supported.";
inline constexpr char kWavDepthNotSupported[] = "Audio file bit depth not supported.";
// The samples of the files did not fit into memory.
inline constexpr char kWavOutOfMemory[] = "Not enough memory to read the .WAV files.";

// Reads the files named in set.wavPath, from the first slot up to the first
// empty one, assigning their channels to embedded channels 1 to 16 in file
// order. Samples become 24-bit, most significant byte first; every channel of
// a used group is padded with silence to the longest input; no file gives
// more than set.sampleLimit samples a channel. Returns "OK." or the message
// of the first failure (buffers filled so far stay in the set).
std::string ReadWavFiles(AudioChannelSet& set);

// Writes one mono 48 kHz 24-bit file per channel of every present group into
// directory, named "Channel_01.wav" onward. Each holds set.sampleCount
// samples taken from the channel buffer as it stands; a buffer shorter than
// that is completed with silence. Returns "" when every file was written
// whole, else the path of the first one that could not be (the files after
// it are not written).
// The paths written are appended to `written` when given.
std::string WriteChannelWavFiles(const std::string& directory, const AudioChannelSet& set,
                                 platform::OutputFiles& files,
                                 std::vector<std::string>* written = nullptr);

}  // namespace fmconv
