// Pictures that arrive already decoded, as 8-bit R, G, B, A rows from the
// top (the pictures of `fmconv import`, read by the picture library): read
// like the files of the legacy readers, so that they are placed, converted
// and keyed by the very same code. A picture with alpha reads as 4 bytes a
// pixel (it gives a key), one without as 3 (it does not).
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "image/picture_reader.h"

namespace fmconv {

class RgbaReader final : public PictureReader {
  public:
    // rgba: width x height x 4 bytes; kept by reference, must outlive the reader.
    RgbaReader(uint32_t width, uint32_t height, bool withAlpha, const std::vector<uint8_t>& rgba)
        : rgba_(rgba) {
        info_.width = width;
        info_.height = height;
        info_.bytesPerPixel = withAlpha ? 4 : 3;
        info_.firstRowIsTop = true;
    }
    std::string_view ReadHeader() override {
        const bool whole = rgba_.size() == uint64_t{info_.width} * info_.height * 4;
        return whole ? std::string_view() : "the pixels do not fill the picture";
    }
    void StartPixels() override { at_ = 0; }
    void MoveTo(uint64_t row, uint64_t column) override { at_ = (row * info_.width + column) * 4; }
    void Read(Pixel* pixels, std::size_t count) override {
        for (Pixel* p = pixels; p != pixels + count; ++p, at_ += 4) {
            *p = at_ + 4 <= rgba_.size()
                     ? Pixel{rgba_[at_], rgba_[at_ + 1], rgba_[at_ + 2], rgba_[at_ + 3]}
                     : Pixel{};
        }
    }

  private:
    const std::vector<uint8_t>& rgba_;
    uint64_t at_ = 0;
};

}  // namespace fmconv
