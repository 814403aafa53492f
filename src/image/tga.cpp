#include "image/tga.h"

#include <algorithm>

#include "base/bytes.h"
#include "base/text.h"

namespace fmconv {

void TgaRleReader::Start(unsigned bytesPerPixel) {
    bytesPerPixel_ = bytesPerPixel;
    position_ = end_ = 0;
    exhausted_ = false;
}

void TgaRleReader::ReadPacket(ByteSource& source) {
    const int header = source.ReadByte();
    const uint8_t h = AsPixelByte(header);
    buffer_.fill(0);
    position_ = 0;
    const std::size_t count = (h & 0x7Fu) + 1;
    end_ = count * bytesPerPixel_;
    if (h & 0x80) {
        uint8_t pixel[4];
        for (unsigned i = 0; i < bytesPerPixel_; ++i) pixel[i] = AsPixelByte(source.ReadByte());
        for (std::size_t at = 0; at < end_; at += bytesPerPixel_) {
            std::copy_n(pixel, bytesPerPixel_, &buffer_[at]);
        }
    } else {
        // One block read: a packet cut short by the end of the file keeps
        // the zeros the buffer was cleared to.
        source.Read(buffer_.data(), end_);
    }
    if (header == ByteSource::kEndOfFile) exhausted_ = true;
}

Pixel TgaRleReader::NextPixel(ByteSource& source) {
    if (position_ >= end_) {
        if (exhausted_) {
            position_ = 0;
        } else {
            ReadPacket(source);
        }
    }
    const uint8_t* p = &buffer_[position_];
    position_ += bytesPerPixel_;
    Pixel pixel;
    pixel.b = p[0];
    pixel.g = p[1];
    pixel.r = p[2];
    if (bytesPerPixel_ == 4) pixel.a = p[3];
    return pixel;
}

void TgaRleReader::Skip(ByteSource& source, uint64_t pixels) {
    while (pixels > 0) {
        if (position_ >= end_) {
            // Past the end every pixel is the same, so where in the run
            // the skip stops does not matter.
            if (exhausted_) return;
            ReadPacket(source);
        }
        const uint64_t take = std::min<uint64_t>(pixels, (end_ - position_) / bytesPerPixel_);
        position_ += static_cast<std::size_t>(take) * bytesPerPixel_;
        pixels -= take;
    }
}

std::string_view TgaReader::ReadHeader() {
    // The 18-byte header; a shorter file leaves the rest zero.
    uint8_t header[18] = {};
    source_.Read(header, sizeof header);

    const uint8_t imageType = header[2];
    if (imageType != 2 && imageType != 10) return "image type is not 2 or 10";
    const uint8_t depth = header[16];
    if (depth != 24 && depth != 32) return "pixel depth is not 24 or 32";
    // Of the descriptor only the origin bits count; the alpha-bit count in
    // bits 3..0 is not read.
    const uint8_t origin = header[17] & 0x30;
    if (origin != 0x00 && origin != 0x20) return "right-hand origin";

    info_.width = ReadLe16(&header[12]);
    info_.height = ReadLe16(&header[14]);
    info_.bytesPerPixel = depth / 8;
    info_.firstRowIsTop = origin == 0x20;
    runLength_ = imageType == 10;

    // Pixels start right after the image ID. A colour map is not skipped:
    // in a file that carries one, its bytes are read as pixels.
    pixelDataOffset_ = 18 + header[0];
    source_.Seek(pixelDataOffset_);
    Trace(trace_, Format("fseek RGB = %ld\n", static_cast<long>(pixelDataOffset_)));
    return {};
}

void TgaReader::StartPixels() {
    source_.Seek(pixelDataOffset_);
    pixelIndex_ = 0;
    if (runLength_) rle_.Start(info_.bytesPerPixel);
}

void TgaReader::MoveTo(uint64_t row, uint64_t column) {
    // Uncompressed pixels follow one another without row padding.
    const uint64_t target = row * info_.width + column;  // below 2^32: 16-bit sizes
    if (!runLength_) {
        source_.Seek(pixelDataOffset_ + target * info_.bytesPerPixel);
        return;
    }
    rle_.Skip(source_, target - pixelIndex_);
    pixelIndex_ = target;
}

void TgaReader::Read(Pixel* pixels, std::size_t count) {
    if (runLength_) {
        for (Pixel* p = pixels; p != pixels + count; ++p) *p = rle_.NextPixel(source_);
        pixelIndex_ += count;
        return;
    }
    ReadBgrPixels(source_, info_.bytesPerPixel, pixels, count, buffer_);
}

}  // namespace fmconv
