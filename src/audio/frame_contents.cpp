#include "audio/frame_contents.h"

#include "audio/audio_channel_set.h"
#include "audio/sfa_to_sfm.h"
#include "audio/signal_format.h"

namespace fmconv {

namespace {

// The captions of the "SFA Format / Audio Source" radios by code.
struct FormatName {
    uint32_t code;
    const char* name;
};
constexpr FormatName kSfaFormatNames[] = {
    {kSignal480i5994, "480i/59.94"},   {kSignal576i50, "576i/50"},
    {kSignal720p5994, "720P/59.94"},   {kSignal1080i50, "1080i/50"},
    {kSignal1080i5994, "1080i/59.94"}, {kSignal1080PsF24, "1080PsF/24"},
    {kSignal720p50, "720P/50"},
};

// The SFM layout a frame of the signal format turns into.
const FrameLayout& LayoutOfSignal(uint32_t code) {
    if (code == kSignal480i5994) return *GetFrameLayout(kFrameFormat480i);
    if (code == kSignal576i50) return *GetFrameLayout(kFrameFormat576i);
    if (code == kSignal720p5994 || code == kSignal720p50) return *GetFrameLayout(kFrameFormat720p);
    return *GetFrameLayout(kFrameFormat1080);
}

// A fresh audio set for one frame: its buffers hold one frame's samples.
AudioChannelSet ScratchSet() {
    AudioChannelSet set;
    ResetAudioChannelSet(set);
    set.frameCount = 1;
    return set;
}

}  // namespace

std::optional<SfaFormat> StoredSfaFormat(uint32_t code) {
    for (const FormatName& f : kSfaFormatNames) {
        if (f.code == code) return SfaFormat{f.name, GetFrameByteSize(code, kFrameKindSfa) / 2};
    }
    return std::nullopt;
}

FrameFile ReadFrame(const std::string& path) {
    return ReadFrameFile(path, StoredSfaFormat);
}

FrameFile ReadFrame(std::span<const uint8_t> bytes) {
    return ReadFrameBytes(bytes, StoredSfaFormat);
}

std::optional<AudioCensus> TakeAudioCensus(const FrameFile& frame) {
    if (!frame.hasAudio() || !frame.signalFormat || frame.frame.size() < kSfmHeaderSize) {
        return std::nullopt;
    }
    const uint32_t code = *frame.signalFormat;
    SignalTiming timing;
    if (GetSignalTiming(code, timing, nullptr) != 0) return std::nullopt;
    AudioChannelSet set = ScratchSet();
    const std::span<const uint8_t> payload = std::span(frame.frame).subspan(kSfmHeaderSize);
    if (IsStandardDefinition(code)) {
        ExtractSdAudio(set, timing, payload);
    } else {
        ExtractHdAudio(set, timing, payload);
    }
    AudioCensus census;
    for (int g = 0; g < kAudioGroups; ++g) {
        if (!set.groupPresent[g]) continue;
        census.groups.push_back(g + 1);
        for (int c = 0; c < kChannelsPerGroup; ++c) {
            census.channels.push_back(g * kChannelsPerGroup + c + 1);
        }
    }
    census.samples = set.sampleCount;
    return census;
}

std::optional<FramePicture> DecodeFramePicture(const FrameFile& frame, std::string& why) {
    if (frame.kind == FrameFileKind::kNone || !frame.complete) {
        why = frame.problems.empty() ? "not a whole frame" : frame.problems.front();
        return std::nullopt;
    }
    FramePicture result;
    if (!frame.hasAudio()) {
        result.layout = frame.layout;
        if (!DecodeSfmPicture(frame.frame, *result.layout, result.picture)) {
            why = "the frame is too short for its picture";
            return std::nullopt;
        }
        return result;
    }
    // Cut the picture out of the raster as the conversion to SFM does; it
    // rewrites the raster in place, so it works on a copy.
    const uint32_t code = *frame.signalFormat;
    result.layout = &LayoutOfSignal(code);
    std::vector<uint8_t> raster = frame.frame;
    std::vector<uint8_t> sfm(result.layout->fileSize());
    AudioChannelSet set = ScratchSet();
    ConversionContext ctx;
    ctx.signalFormat = code;
    if (BuildSfmFromSfa(raster, sfm, "", set, ctx) != 0 ||
        !DecodeSfmPicture(sfm, *result.layout, result.picture)) {
        why = "the picture could not be taken out of the frame";
        return std::nullopt;
    }
    return result;
}

}  // namespace fmconv
