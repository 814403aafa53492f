#include "fmfiles/containers.h"

#include <filesystem>

#include "base/text.h"
#include "fmfiles/register_file.h"
#include "names/confinement.h"
#include "names/disk_space.h"

namespace fmconv {

namespace {

// The copy every container routine makes: the space test on the source, then
// a new file under target holding the source's bytes less `cut` at its end,
// and the trailer when one is given. The file reaches its name only whole.
// A source that cannot be read is an empty result (the run names the
// source); whatever fails on the destination's side is the copy failure,
// which names the target.
ContainerResult CopyIntoTarget(const std::string& source, const std::string& target,
                               const std::string& destDir, uint64_t cut,
                               const RegisterTrailer* trailer, ConversionContext& ctx,
                               std::string success) {
    switch (TestSpaceForFile(source, destDir, *ctx.freeSpace)) {
        case SpaceVerdict::kUnknown:
            return {};
        case SpaceVerdict::kInsufficient:
            return ContainerResult{kHddMemoryNotSufficient, {}, false};
        case SpaceVerdict::kProceed:
            break;
    }
    const ContainerResult copyFailed{"", target, false};
    uint64_t count = platform::OutputFile::kToEnd;
    if (cut > 0) {
        std::error_code error;
        const uint64_t size = std::filesystem::file_size(source, error);
        if (error) return {};
        count = size > cut ? size - cut : 0;
    }
    const std::unique_ptr<platform::OutputFile> out = ctx.files->Create(target);
    if (!out) return copyFailed;
    switch (out->CopyFrom(source, count)) {
        case platform::OutputFile::CopyResult::kSourceFailed:
            return {};
        case platform::OutputFile::CopyResult::kWriteFailed:
            return copyFailed;
        case platform::OutputFile::CopyResult::kOk:
            break;
    }
    if (trailer && !out->Write(trailer->data(), trailer->size())) return copyFailed;
    if (!out->Commit()) return copyFailed;
    return ContainerResult{std::move(success), {}, false};
}

}  // namespace

ContainerResult PackRegisterFile(const std::string& sourceDir, const std::string& sourceName,
                                 const std::string& destDir, int32_t fnumber, RegisterKind kind,
                                 PackVariant variant, ConversionContext& ctx) {
    const std::string inner(variant == PackVariant::kTemporary ? StripTempSuffix(sourceName)
                                                               : std::string_view(sourceName));
    const RegisterTrailer trailer = BuildRegisterTrailer(inner);
    if (variant == PackVariant::kPlain && fnumber > 9999) return ContainerResult{"", {}, true};
    const std::string name = RegisterFileName(fnumber, kind);
    return CopyIntoTarget(JoinPath(sourceDir, sourceName), JoinPath(destDir, name), destDir, 0,
                          &trailer, ctx,
                          kind == RegisterKind::kSf1 ? name : RegisterListItem(name, inner));
}

ContainerResult UnpackRegisterFile(const std::string& sourceDir, const std::string& source,
                                   const std::string& destDir, UnpackVariant variant,
                                   ConversionContext& ctx) {
    const RegisterItemParts item = SplitRegisterListItem(source);
    const std::string fileName(variant == UnpackVariant::kListItem ? item.file : source);
    const std::string sourcePath = JoinPath(sourceDir, fileName);
    // A short read goes unnoticed: what could not be read counts as zeros.
    const TrailerRead read = ReadRegisterTrailer(sourcePath, TrailerOpenMode::kReadWrite);
    if (read.status == TrailerReadStatus::kOpenFailed) return {};
    const std::string output = variant == UnpackVariant::kListItem ? std::string(item.inner)
                                                                   : TrailerInnerName(read.trailer);
    if (!IsConfinedName(output)) return {};
    return CopyIntoTarget(sourcePath, JoinPath(destDir, output), destDir, kRegisterTrailerSize,
                          nullptr, ctx, output);
}

ContainerResult RenumberRegisterFile(const std::string& sourceDir, const std::string& item,
                                     const std::string& destDir, int32_t fnumber,
                                     ConversionContext& ctx) {
    const RegisterItemParts parts = SplitRegisterListItem(item);
    const std::string_view inner = parts.inner;
    if (!IsConfinedName(inner)) return {};
    const std::string_view innerExt = LastChars(inner, 3);
    std::string_view stem = StemOf(inner);
    stem = stem.substr(0, stem.size() > 4 ? stem.size() - 4 : 0);
    const std::string newInner = std::string(stem) +
                                 Format(fnumber < 1000 ? "_%03d" : "%04d", fnumber) +
                                 (EqualsIgnoreCase(innerExt, "sfm") ? ".SFM" : ".SFA");
    const std::string_view kindText = LastChars(parts.file, 3);
    RegisterKind kind;
    if (EqualsIgnoreCase(kindText, "sf1")) {
        kind = RegisterKind::kSf1;
    } else if (EqualsIgnoreCase(kindText, "sf3")) {
        kind = RegisterKind::kSf3;
    } else {
        return {};
    }
    const std::string name = RegisterFileName(fnumber, kind);
    const RegisterTrailer trailer = BuildRegisterTrailer(newInner);
    return CopyIntoTarget(JoinPath(sourceDir, std::string(parts.file)), JoinPath(destDir, name),
                          destDir, kRegisterTrailerSize, &trailer, ctx,
                          RegisterListItem(name, newInner));
}

}  // namespace fmconv
