// BMP pictures: 24-bit, bottom-up rows of B, G, R padded to four bytes.
#pragma once

#include <vector>

#include "image/picture_reader.h"

namespace fmconv {

class BmpReader final : public PictureReader {
  public:
    explicit BmpReader(ByteSource& source) : source_(source) {}

    std::string_view ReadHeader() override;
    void StartPixels() override {}
    void MoveTo(uint64_t row, uint64_t column) override;
    void Read(Pixel* pixels, std::size_t count) override;

    // Where the pixel rows begin, whatever the header's own offset field says.
    static constexpr uint64_t kPixelDataOffset = 54;

  private:
    ByteSource& source_;
    uint64_t rowBytes_ = 0;
    std::vector<uint8_t> buffer_;
};

}  // namespace fmconv
