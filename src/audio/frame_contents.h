// What a frame read by the frame reader holds, seen through the audio
// layer: the signal formats an SFA header may name, the census of the audio
// embedded in an SFA frame, and the active picture of any frame. The census
// and the picture reuse the extraction that turns SFA frames back into SFM
// frames, on scratch copies, so they read a frame exactly as a conversion
// would.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "fmfiles/frame_reader.h"
#include "fmfiles/sfm_file.h"

namespace fmconv {

// The seven codes an SFA header may carry, by their radio captions and plane
// sizes; none for any other code.
std::optional<SfaFormat> StoredSfaFormat(uint32_t code);

// The frame reader with the signal tables.
FrameFile ReadFrame(const std::string& path);
FrameFile ReadFrame(std::span<const uint8_t> bytes);

// The audio an SFA frame carries.
struct AudioCensus {
    std::vector<int> groups;    // 1 to 4, those with packets
    std::vector<int> channels;  // 1 to 16: the four channels of every group present
    uint32_t samples = 0;       // samples per channel carried by this frame
};

// The census of an SFA or SF3 frame of a known signal format; none for
// other frames.
std::optional<AudioCensus> TakeAudioCensus(const FrameFile& frame);

// The active picture of a frame: frame lines 0 onward, all lines of its SFM
// layout. A frame with audio gives the picture that converting it to an SFM
// frame would give.
struct FramePicture {
    const FrameLayout* layout = nullptr;
    PictureFrame picture;
};

// The picture of a frame whose format is known and whose bytes are whole;
// otherwise `why` says in one line why there is none.
std::optional<FramePicture> DecodeFramePicture(const FrameFile& frame, std::string& why);

}  // namespace fmconv
