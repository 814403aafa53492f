// SFA or SF3 frames into SFM or SF1 frames with their embedded audio taken
// out into the run's audio set (written as WAV files when the run ends).
// The frame keeps its register number: SLOGO.FMEM_012.SFA becomes
// F0012.SF1, F0005.SF3 becomes F0005.SF1.
#pragma once

#include <string>

#include "audio/audio_channel_set.h"
#include "fmfiles/conversion_context.h"

namespace fmconv {

// The source is a file name (for SF3, the register file's own name). Each
// answers the entry for the destination list (the output name for SFM, its
// list item for SF1), "HDD memory is not sufficient!", or "" on failure. The
// output is created (or truncated) before the frame is read, and stays on
// failure.
std::string ConvertSfaToSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx);
std::string ConvertSfaToSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx);
std::string ConvertSf3ToSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx);
std::string ConvertSf3ToSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx);

}  // namespace fmconv
