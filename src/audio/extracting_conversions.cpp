#include "audio/extracting_conversions.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

#include "audio/sfa_file.h"
#include "audio/sfa_to_sfm.h"
#include "audio/signal_format.h"
#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "names/confinement.h"
#include "names/disk_space.h"
#include "names/naming.h"

namespace fmconv {

namespace {

enum class Source { kSfa, kSf3 };
enum class Output { kSfm, kSf1 };

// "F0" + the last three characters of the stem when its fourth-last is "_",
// else "F" + its last four; then ".SF1".
std::string Sf1NameFromStem(std::string_view stem) {
    const bool underscore = stem.size() >= 4 && stem[stem.size() - 4] == '_';
    std::string name = underscore ? "F0" : "F";
    name.append(LastChars(stem, underscore ? 3 : 4));
    name.append(".SF1");
    return name;
}

std::string Convert(const std::string& sourceDir, const std::string& sourceName,
                    const std::string& destDir, AudioChannelSet& set, ConversionContext& ctx,
                    Source source, Output output) {
    const std::string sourcePath = JoinPath(sourceDir, sourceName);
    // The frame's own name: the SFA file's, or the one in the SF3 trailer.
    std::string frameName = sourceName;
    if (source == Source::kSf3) {
        const TrailerRead read = ReadRegisterTrailer(sourcePath, TrailerOpenMode::kRead);
        if (read.status == TrailerReadStatus::kOpenFailed) return {};
        frameName = TrailerInnerName(read.trailer);
    }
    const std::string sfmName = std::string(StemOf(frameName)) + ".SFM";
    std::string outputName;
    if (output == Output::kSfm) {
        outputName = sfmName;
    } else {
        outputName = source == Source::kSfa ? Sf1NameFromStem(StemOf(sourceName))
                                            : std::string(StemOf(sourceName)) + ".SF1";
    }
    // A name from the trailer that would lead out of the destination folder
    // is refused like a source that cannot be read.
    if (source == Source::kSf3 && (!IsConfinedName(frameName) || !IsConfinedName(sfmName))) {
        return {};
    }

    FilePtr in = OpenFile(sourcePath, "rb");
    if (!in) return {};
    // The output is made now, before the frame is read and the space tested:
    // every failure from here on leaves it as an empty file. Until then it
    // is written under a temporary name, so an existing file of that name
    // stays as it was.
    const std::string outputPath = JoinPath(destDir, outputName);
    const std::unique_ptr<platform::OutputFile> out = ctx.files->Create(outputPath);
    if (!out) return {};
    const auto giveUp = [&out](std::string result) {
        out->Commit();
        return result;
    };

    std::vector<uint8_t>& sfa = ctx.buffers.source;
    struct stat info {};
    const uint64_t length =
        ::fstat(::fileno(in.get()), &info) == 0 ? static_cast<uint64_t>(info.st_size) : 0;
    sfa.resize(static_cast<std::size_t>(std::min<uint64_t>(length, kSfaSourceLimit)));
    sfa.resize(std::fread(sfa.data(), 1, sfa.size(), in.get()));
    in.reset();
    if (sfa.size() < 64) sfa.resize(64, 0);  // a short file reads as zeros

    ctx.embeddedAudioFlag = IsEmbeddedAudioMark(sfa[48]);
    if (IsStoredSignalFormat(sfa[49])) ctx.signalFormat = sfa[49];
    const uint32_t frameSize = GetFrameByteSize(ctx.signalFormat, kFrameKindSfm);
    if (frameSize == 0) return giveUp({});

    std::vector<uint8_t>& sfm = ctx.buffers.frame;
    sfm.assign(std::size_t{frameSize} + 64, 0);
    std::memcpy(sfm.data(), sfa.data(), 48);
    // The name whose characters from the 11th on go into header bytes 8-19:
    // the SFM frame's own name.
    if (BuildSfmFromSfa(sfa, sfm, sfmName, set, ctx) != 0) return giveUp({});

    switch (TestSpace(static_cast<int64_t>(sfm.size()), ctx.freeSpace->FreeBytes(destDir))) {
        case SpaceVerdict::kUnknown:
            return giveUp({});
        case SpaceVerdict::kInsufficient:
            return giveUp(kHddMemoryNotSufficient);
        case SpaceVerdict::kProceed:
            break;
    }
    bool written = out->Write(sfm.data(), sfm.size());
    if (output == Output::kSf1) {
        const RegisterTrailer trailer = BuildRegisterTrailer(sfmName);
        written = written && out->Write(trailer.data(), trailer.size());
    }
    // A write that fails (a full disk) is a failure like the others: the
    // partial frame goes, the empty output stays.
    if (!written || !out->Commit()) {
        platform::CreateEmptyFile(*ctx.files, outputPath);
        return {};
    }
    if (output == Output::kSfm) return outputName;
    return RegisterListItem(outputName, sfmName);
}

}  // namespace

std::string ConvertSfaToSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx) {
    return Convert(sourceDir, sourceName, destDir, set, ctx, Source::kSfa, Output::kSfm);
}

std::string ConvertSfaToSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx) {
    return Convert(sourceDir, sourceName, destDir, set, ctx, Source::kSfa, Output::kSf1);
}

std::string ConvertSf3ToSfm(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx) {
    return Convert(sourceDir, sourceName, destDir, set, ctx, Source::kSf3, Output::kSfm);
}

std::string ConvertSf3ToSf1(const std::string& sourceDir, const std::string& sourceName,
                            const std::string& destDir, AudioChannelSet& set,
                            ConversionContext& ctx) {
    return Convert(sourceDir, sourceName, destDir, set, ctx, Source::kSf3, Output::kSf1);
}

}  // namespace fmconv
