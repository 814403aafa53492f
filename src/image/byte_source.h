// Where the picture readers take their bytes from: a file on disk, or bytes in
// memory (tests and fuzzing). Reads behave like a buffered stdio stream opened
// "rb", with one rule for reading past the end:
//
//   - a single-byte read past the end gives kEndOfFile (-1), which the
//     readers take as the byte 0xFF;
//   - a block read that comes up short copies what there is and leaves the
//     rest of the caller's buffer as it was.
//
// Seeks are absolute and never fail; a position past the end reads as end of
// file. Positions are 64-bit and do not wrap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/file_io.h"

namespace fmconv {

// Offsets computed from declared sizes can exceed 64 bits; they saturate,
// which keeps them past the end of any file.
inline uint64_t SaturatingAdd(uint64_t a, uint64_t b) {
    return a > std::numeric_limits<uint64_t>::max() - b ? std::numeric_limits<uint64_t>::max()
                                                        : a + b;
}
inline uint64_t SaturatingMul(uint64_t a, uint64_t b) {
    if (a != 0 && b > std::numeric_limits<uint64_t>::max() / a) {
        return std::numeric_limits<uint64_t>::max();
    }
    return a * b;
}

class ByteSource {
  public:
    static constexpr int kEndOfFile = -1;

    virtual ~ByteSource() = default;

    // The next byte (0..255), or kEndOfFile.
    int ReadByte() {
        if (cursor_ != limit_) return *cursor_++;
        return ReadByteSlow();
    }
    // Copies up to size bytes into out and returns how many it copied; the
    // bytes of out beyond that are left untouched.
    std::size_t Read(uint8_t* out, std::size_t size);
    void Seek(uint64_t offset);
    void Skip(uint64_t count) { Seek(SaturatingAdd(Tell(), count)); }
    uint64_t Tell() const { return windowStart_ + static_cast<uint64_t>(cursor_ - window_); }

  protected:
    // The bytes from offset on, as many as the source has at hand; empty at
    // or past the end. The span stays valid until the next call.
    virtual std::span<const uint8_t> Window(uint64_t offset) = 0;

  private:
    int ReadByteSlow();
    bool Refill();

    uint64_t windowStart_ = 0;
    const uint8_t* window_ = nullptr;
    const uint8_t* cursor_ = nullptr;
    const uint8_t* limit_ = nullptr;
    bool atEnd_ = false;  // the last refill found nothing; cleared by the next seek
};

class MemoryByteSource final : public ByteSource {
  public:
    explicit MemoryByteSource(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  private:
    std::span<const uint8_t> Window(uint64_t offset) override;
    std::span<const uint8_t> bytes_;
};

class FileByteSource final : public ByteSource {
  public:
    // nullptr when the file cannot be opened for reading.
    static std::unique_ptr<FileByteSource> Open(const std::string& path);

  private:
    explicit FileByteSource(FilePtr file) : file_(std::move(file)), buffer_(kBufferSize) {}
    std::span<const uint8_t> Window(uint64_t offset) override;

    static constexpr std::size_t kBufferSize = 1 << 16;
    FilePtr file_;
    std::vector<uint8_t> buffer_;
    uint64_t filePosition_ = 0;  // where the stream stands after the last read
    uint64_t end_ = std::numeric_limits<uint64_t>::max();  // the end, once a read has met it
};

}  // namespace fmconv
