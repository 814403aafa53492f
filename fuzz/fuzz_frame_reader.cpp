// Fuzzes what `fmconv inspect` and `fmconv preview` do with a file: the frame
// reader, the audio census and the picture decode.
//
// Byte 0 says how the rest is used. When its low three bits are 1, the rest
// is padded with zero bytes up to the frame that its header's plane size
// (bytes 52-55) describes, so that inputs far shorter than a frame still
// reach the census and the picture decode (one input in eight: a whole frame
// takes a thousand times longer than a header); bit 3 appends a register
// trailer. Short inputs are also read from a file,
// which must give the same answer as the bytes in memory.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "audio/frame_contents.h"
#include "base/bytes.h"
#include "platform/output_files.h"
#include "fmfiles/register_file.h"
#include "fuzz_work_folder.h"

namespace {

const std::string& WorkFolder() {
    static const fmconv::fuzz::WorkFolder folder("frame");
    return folder.path();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fmconv;
    if (size < 1) return 0;
    const uint8_t mode = data[0];
    std::vector<uint8_t> bytes(data + 1, data + size);
    if ((mode & 7) == 1 && bytes.size() >= kSfmHeaderSize) {
        const uint64_t frame = std::min<uint64_t>(
            kSfmHeaderSize + 2 * uint64_t{ReadBe32(&bytes[52])}, kLargestFrameBytes);
        if (frame > bytes.size()) bytes.resize(frame, 0);
    }
    if (mode & 8) {
        const RegisterTrailer trailer = BuildRegisterTrailer("MFUZZ.FMEM_001.SFM");
        bytes.insert(bytes.end(), trailer.begin(), trailer.end());
    }

    const FrameFile f = ReadFrame(bytes);
    // What is no frame says why; a whole frame has a known format.
    if (f.kind == FrameFileKind::kNone && f.problems.empty()) __builtin_trap();
    if (f.complete && !f.format) __builtin_trap();
    if (f.frame.size() > kLargestFrameBytes || f.frame.size() > bytes.size()) __builtin_trap();

    const std::optional<AudioCensus> census = TakeAudioCensus(f);
    if (census &&
        (census->groups.size() > 4 || census->channels.size() != 4 * census->groups.size())) {
        __builtin_trap();
    }

    // A whole frame of a known format always has a picture of its layout.
    std::string why;
    const std::optional<FramePicture> picture = DecodeFramePicture(f, why);
    if (f.complete && f.kind != FrameFileKind::kNone && !picture) __builtin_trap();
    if (picture && (picture->picture.width != picture->layout->width ||
                    picture->picture.lines != picture->layout->frameLines())) {
        __builtin_trap();
    }

    if (bytes.size() <= 4096) {
        const std::string path = WorkFolder() + "/frame";
        if (!platform::WriteWholeFile(path, bytes)) return 0;
        const FrameFile fromFile = ReadFrame(path);
        if (fromFile.kind != f.kind || fromFile.problems != f.problems) __builtin_trap();
    }
    return 0;
}
