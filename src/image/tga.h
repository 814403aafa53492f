// TGA pictures: true colour, uncompressed (image type 2) or run-length coded
// (type 10), 24 or 32 bits per pixel stored B, G, R (, A), rows from the top
// or from the bottom.
#pragma once

#include <vector>

#include <array>
#include <utility>

#include "base/trace.h"
#include "image/picture_reader.h"

namespace fmconv {

// Unpacks run-length packets. Packets run on across row ends; only the end
// of the picture stops the reading.
class TgaRleReader {
  public:
    void Start(unsigned bytesPerPixel);
    Pixel NextPixel(ByteSource& source);
    void Skip(ByteSource& source, uint64_t pixels);

  private:
    void ReadPacket(ByteSource& source);

    // The largest packet: 128 pixels of four bytes.
    std::array<uint8_t, 512> buffer_{};
    std::size_t position_ = 0;
    std::size_t end_ = 0;
    unsigned bytesPerPixel_ = 3;
    // Set once a packet header met the end of the file: from then on every
    // packet is a run of 128 pixels of 0xFF bytes, so none is read.
    bool exhausted_ = false;
};

class TgaReader final : public PictureReader {
  public:
    TgaReader(ByteSource& source, TraceSink trace) : source_(source), trace_(std::move(trace)) {}

    std::string_view ReadHeader() override;
    void StartPixels() override;
    void MoveTo(uint64_t row, uint64_t column) override;
    void Read(Pixel* pixels, std::size_t count) override;

  private:
    ByteSource& source_;
    TraceSink trace_;
    bool runLength_ = false;
    uint64_t pixelDataOffset_ = 0;
    uint64_t pixelIndex_ = 0;  // run-length data: pixels handed out or skipped
    TgaRleReader rle_;
    std::vector<uint8_t> buffer_;
};

}  // namespace fmconv
