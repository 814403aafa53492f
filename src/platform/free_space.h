// Free-space probes. Every converter asks one before it copies or writes a
// file (see names/disk_space.h for the test itself).
//
// The window's probe keeps the legacy reading: the free bytes of the file
// system holding the current directory, cut to their low 32 bits and read as
// a signed number. On large disks that reading is often negative, so the
// command line uses the real probe instead, which reports the full 64-bit
// count of the destination folder's file system.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace fmconv::platform {

class FreeSpaceProbe {
  public:
    virtual ~FreeSpaceProbe() = default;
    // Free bytes for a write into destinationFolder; -1 when the query fails.
    virtual int64_t FreeBytes(const std::string& destinationFolder) const = 0;
};

// The legacy reading of a raw free-byte count: its low 32 bits as a signed
// number (exactly 4 GiB reads 0, 2 GiB + 1 reads negative).
int32_t LegacyFreeBytesReading(uint64_t freeBytes);

// Raw free bytes (all free blocks, as the original's query counted them) of
// the file system holding path; nullopt when the query fails.
std::optional<uint64_t> FileSystemFreeBytes(const std::string& path);
// Bytes available to this process on the file system holding path.
std::optional<uint64_t> FileSystemAvailableBytes(const std::string& path);

// Where a probe gets its raw figure from: the real file system, or a figure
// a test injects. The argument is the path the probe looks at.
using RawFreeBytesSource = std::function<std::optional<uint64_t>(const std::string& path)>;

// The window's probe: the current directory's file system, legacy reading.
class LegacyFreeSpaceProbe final : public FreeSpaceProbe {
  public:
    explicit LegacyFreeSpaceProbe(RawFreeBytesSource source = FileSystemFreeBytes);
    int64_t FreeBytes(const std::string& destinationFolder) const override;

  private:
    RawFreeBytesSource source_;
};

// The command line's probe: the destination folder's file system, 64 bits.
class RealFreeSpaceProbe final : public FreeSpaceProbe {
  public:
    explicit RealFreeSpaceProbe(RawFreeBytesSource source = FileSystemAvailableBytes);
    int64_t FreeBytes(const std::string& destinationFolder) const override;

  private:
    RawFreeBytesSource source_;
};

// A probe that always answers the same figure (tests, benchmarks).
class FixedFreeSpaceProbe final : public FreeSpaceProbe {
  public:
    explicit FixedFreeSpaceProbe(int64_t reading) : reading_(reading) {}
    int64_t FreeBytes(const std::string&) const override { return reading_; }

  private:
    int64_t reading_;
};

}  // namespace fmconv::platform
