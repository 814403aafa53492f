#include "platform/free_space.h"

#include <sys/statvfs.h>

#include <limits>
#include <utility>

namespace fmconv::platform {

int32_t LegacyFreeBytesReading(uint64_t freeBytes) {
    return static_cast<int32_t>(static_cast<uint32_t>(freeBytes & 0xFFFFFFFFu));
}

namespace {
std::optional<uint64_t> StatFreeBytes(const std::string& path, bool availableOnly) {
    struct statvfs info {};
    if (::statvfs(path.empty() ? "." : path.c_str(), &info) != 0) return std::nullopt;
    const uint64_t blocks = availableOnly ? info.f_bavail : info.f_bfree;
    return blocks * static_cast<uint64_t>(info.f_frsize);
}
}  // namespace

std::optional<uint64_t> FileSystemFreeBytes(const std::string& path) {
    return StatFreeBytes(path, false);
}

std::optional<uint64_t> FileSystemAvailableBytes(const std::string& path) {
    return StatFreeBytes(path, true);
}

LegacyFreeSpaceProbe::LegacyFreeSpaceProbe(RawFreeBytesSource source)
    : source_(std::move(source)) {}

int64_t LegacyFreeSpaceProbe::FreeBytes(const std::string&) const {
    // The legacy probe never looks at the destination: it asks about the
    // drive of the current directory.
    const std::optional<uint64_t> raw = source_(".");
    return raw ? LegacyFreeBytesReading(*raw) : -1;
}

RealFreeSpaceProbe::RealFreeSpaceProbe(RawFreeBytesSource source) : source_(std::move(source)) {}

int64_t RealFreeSpaceProbe::FreeBytes(const std::string& destinationFolder) const {
    const std::optional<uint64_t> raw = source_(destinationFolder);
    if (!raw) return -1;
    constexpr uint64_t kMax = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    return static_cast<int64_t>(*raw > kMax ? kMax : *raw);
}

}  // namespace fmconv::platform
