#include "names/disk_space.h"

#include "base/file_io.h"

namespace fmconv {

SpaceVerdict TestSpace(int64_t size, int64_t freeBytes) {
    if (size == -1 || freeBytes == -1) return SpaceVerdict::kUnknown;
    return freeBytes < size ? SpaceVerdict::kInsufficient : SpaceVerdict::kProceed;
}

SpaceVerdict TestSpaceForFile(const std::string& sourcePath, const std::string& destinationFolder,
                              const platform::FreeSpaceProbe& probe) {
    return TestSpace(FileLength32(sourcePath), probe.FreeBytes(destinationFolder));
}

}  // namespace fmconv
