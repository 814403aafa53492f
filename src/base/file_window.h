// A file read front to back through one small buffer. Each read lands in the
// processor's cache and is used from there, where one large read of the
// whole file would pass every byte through main memory twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/file_io.h"

namespace fmconv {

class FileWindow {
  public:
    // The largest count From promises in one piece.
    static constexpr std::size_t kMostAtOnce = std::size_t{1} << 17;

    // Opens path for reading its first `limit` bytes (fewer when the file is
    // shorter); false when it cannot be opened. The buffer is kept from file
    // to file.
    bool Open(const std::string& path, uint64_t limit);
    void Close() { file_.reset(); }

    // The bytes from offset on: at least `count` of them (up to kMostAtOnce)
    // unless the readable part ends sooner. Valid until the next call.
    std::span<const uint8_t> From(uint64_t offset, std::size_t count);

  private:
    FilePtr file_;
    uint64_t limit_ = 0;
    std::vector<uint8_t> buffer_;
    uint64_t start_ = 0;      // the file offset of buffer_[0]
    std::size_t filled_ = 0;  // how many bytes of buffer_ hold the file
};

}  // namespace fmconv
