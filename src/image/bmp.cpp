#include "image/bmp.h"

#include "base/bytes.h"

namespace fmconv {

std::string_view BmpReader::ReadHeader() {
    // The 14-byte file header and a 40-byte information header. A shorter
    // file leaves the rest of the header zero.
    uint8_t header[54] = {};
    source_.Read(header, sizeof header);

    // Only the low byte of the bit count decides. The "BM" signature, the
    // compression, the header size and the pixel-data offset are not read.
    if (header[28] != 24) return "bit count is not 24";
    info_.width = ReadLe32(&header[18]);
    info_.height = ReadLe32(&header[22]);
    // A negative height means top-down rows; read as unsigned it would be
    // over two thousand million rows, so such a file is refused.
    if (info_.height & 0x80000000u) return "negative height";
    info_.bytesPerPixel = 3;
    info_.firstRowIsTop = false;
    // The 24-bit row rounded up to a multiple of four bytes.
    rowBytes_ = 3 * uint64_t{info_.width} + info_.width % 4;
    return {};
}

void BmpReader::MoveTo(uint64_t row, uint64_t column) {
    source_.Seek(SaturatingAdd(
        kPixelDataOffset, SaturatingAdd(SaturatingMul(row, rowBytes_), SaturatingMul(column, 3))));
}

void BmpReader::Read(Pixel* pixels, std::size_t count) {
    ReadBgrPixels(source_, 3, pixels, count, buffer_);
}

}  // namespace fmconv
