// The space test every converter makes before it copies or writes a file.
#pragma once

#include <cstdint>
#include <string>

#include "platform/free_space.h"

namespace fmconv {

inline constexpr char kHddMemoryNotSufficient[] = "HDD memory is not sufficient!";

enum class SpaceVerdict {
    kProceed,       // enough room
    kUnknown,       // the size or the free count could not be read: give up quietly
    kInsufficient,  // answer "HDD memory is not sufficient!" and write nothing
};

// size and free are -1 when unknown; otherwise free < size refuses.
SpaceVerdict TestSpace(int64_t size, int64_t freeBytes);

// The test on a source file's length (its 32-bit file-status size) against
// what the probe reports for destinationFolder.
SpaceVerdict TestSpaceForFile(const std::string& sourcePath, const std::string& destinationFolder,
                              const platform::FreeSpaceProbe& probe);

}  // namespace fmconv
