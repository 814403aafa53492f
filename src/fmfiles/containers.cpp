#include "fmfiles/containers.h"

#include <filesystem>

#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "run/disk_space.h"

namespace fmconv {

namespace {

// The steps every container routine shares before it writes: the space
// test on the source, then the whole-file copy. Returns the result to give
// up with, or nullopt when the copy is in place.
std::optional<ContainerResult> TestSpaceAndCopy(const std::string& source,
                                                const std::string& target,
                                                const std::string& destDir,
                                                ConversionContext& ctx) {
    switch (TestSpaceForFile(source, destDir, *ctx.freeSpace)) {
        case SpaceVerdict::kUnknown:
            return ContainerResult{};
        case SpaceVerdict::kInsufficient:
            return ContainerResult{kHddMemoryNotSufficient, {}, false};
        case SpaceVerdict::kProceed:
            break;
    }
    if (!ctx.copyFile(source, target)) return ContainerResult{"", target, false};
    return std::nullopt;
}

// Opens the copy for reading and writing, cuts `cut` bytes off its end and
// appends trailer when given. False when it cannot be reopened.
bool FinishCopy(const std::string& path, uint64_t cut, const RegisterTrailer* trailer) {
    FilePtr file = OpenFile(path, "r+b");
    if (!file) return false;
    if (cut > 0) {
        std::error_code error;
        const uint64_t size = std::filesystem::file_size(path, error);
        if (error) return false;
        file.reset();
        std::filesystem::resize_file(path, size > cut ? size - cut : 0, error);
        if (error) return false;
        if (!trailer) return true;
        file = OpenFile(path, "r+b");
        if (!file) return false;
    }
    if (trailer) {
        std::fseek(file.get(), 0, SEEK_END);
        std::fwrite(trailer->data(), 1, trailer->size(), file.get());
    }
    return true;
}

}  // namespace

bool IsUnsafeFileName(const std::string& name) {
    return name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos ||
           name.find('\\') != std::string::npos;
}

ContainerResult PackRegisterFile(const std::string& sourceDir, const std::string& sourceName,
                                 const std::string& destDir, int32_t fnumber, RegisterKind kind,
                                 PackVariant variant, ConversionContext& ctx) {
    const std::string inner(variant == PackVariant::kTemporary ? StripTempSuffix(sourceName)
                                                               : std::string_view(sourceName));
    const RegisterTrailer trailer = BuildRegisterTrailer(inner);
    if (variant == PackVariant::kPlain && fnumber > 9999) return ContainerResult{"", {}, true};
    const std::string name = RegisterFileName(fnumber, kind);
    const std::string target = JoinPath(destDir, name);
    if (auto early = TestSpaceAndCopy(JoinPath(sourceDir, sourceName), target, destDir, ctx)) {
        return *early;
    }
    if (!FinishCopy(target, 0, &trailer)) return {};
    return {kind == RegisterKind::kSf1 ? name : RegisterListItem(name, inner), {}, false};
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
    if (IsUnsafeFileName(output)) return {};
    const std::string target = JoinPath(destDir, output);
    if (auto early = TestSpaceAndCopy(sourcePath, target, destDir, ctx)) return *early;
    if (!FinishCopy(target, kRegisterTrailerSize, nullptr)) return {};
    return {output, {}, false};
}

ContainerResult RenumberRegisterFile(const std::string& sourceDir, const std::string& item,
                                     const std::string& destDir, int32_t fnumber,
                                     ConversionContext& ctx) {
    const RegisterItemParts parts = SplitRegisterListItem(item);
    const std::string_view inner = parts.inner;
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
    const std::string target = JoinPath(destDir, name);
    if (auto early =
            TestSpaceAndCopy(JoinPath(sourceDir, std::string(parts.file)), target, destDir, ctx)) {
        return *early;
    }
    const RegisterTrailer trailer = BuildRegisterTrailer(newInner);
    if (!FinishCopy(target, kRegisterTrailerSize, &trailer)) return {};
    return {RegisterListItem(name, newInner), {}, false};
}

}  // namespace fmconv
