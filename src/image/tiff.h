// TIFF pictures: the first directory of an "II" or "MM" file, uncompressed
// RGB with 8 bits per sample, 3 samples per pixel or 4 (the fourth is the
// alpha), interleaved, in strips.
#pragma once

#include <array>
#include <vector>

#include "base/bytes.h"
#include "image/picture_reader.h"

namespace fmconv {

// Hands out pixel bytes strip after strip. The tables hold at most 1079
// strips and a 0 terminator: a picture whose strips run out goes on at
// offset 0, reading the file from its first byte.
class TiffStripReader {
  public:
    static constexpr std::size_t kTableEntries = 1080;
    static constexpr std::size_t kMaxStrips = kTableEntries - 1;

    std::array<uint32_t, kTableEntries> offsets{};
    std::array<uint32_t, kTableEntries> byteCounts{};

    void Reset() { bytesRead_ = stripEnd_ = 0, nextStrip_ = 0; }
    int NextByte(ByteSource& source) {
        if (bytesRead_ == stripEnd_) NextStrip(source);
        ++bytesRead_;
        return source.ReadByte();
    }
    // Passes over count bytes exactly as count calls of NextByte would.
    void Skip(ByteSource& source, uint64_t count);
    uint64_t bytesRead() const { return bytesRead_; }

  private:
    void NextStrip(ByteSource& source);

    // 64-bit counts, so that they never wrap and meet a strip end again.
    uint64_t bytesRead_ = 0;
    uint64_t stripEnd_ = 0;
    std::size_t nextStrip_ = 0;
};

class TiffReader final : public PictureReader {
  public:
    // Directories with more entries than this are refused.
    static constexpr uint32_t kMaxDirectoryEntries = 1024;

    explicit TiffReader(ByteSource& source) : source_(source) {}

    std::string_view ReadHeader() override;
    void StartPixels() override { strips_.Reset(); }
    void MoveTo(uint64_t row, uint64_t column) override;
    void Read(Pixel* pixels, std::size_t count) override;

  private:
    uint32_t Read16At(const uint8_t* p) const { return bigEndian_ ? ReadBe16(p) : ReadLe16(p); }
    uint32_t Read32At(const uint8_t* p) const { return bigEndian_ ? ReadBe32(p) : ReadLe32(p); }
    // A value assembled from single-byte reads in the file's byte order.
    uint32_t ReadNumber(unsigned bytes);
    void ReadStripTable(std::array<uint32_t, TiffStripReader::kTableEntries>& table, uint16_t type,
                        uint32_t count, const uint8_t* field);

    ByteSource& source_;
    bool bigEndian_ = false;
    TiffStripReader strips_;
};

}  // namespace fmconv
