// Shared body of the picture fuzz targets: the first input byte picks the
// frame (one of the four layouts, or a small frame that puts the clipping to
// work) and the placement offsets; the rest is the picture file. The
// picture is read through the same reader and placement as a conversion,
// both passes when it has alpha.
#pragma once

#include <climits>
#include <cstdint>
#include <memory>

#include "fmfiles/sfm_file.h"
#include "image/byte_source.h"
#include "image/picture_convert.h"

namespace fmconv::fuzz {

template <typename MakeReader>
int FuzzPicture(const uint8_t* data, std::size_t size, MakeReader makeReader) {
    if (size < 1) return 0;
    const uint8_t control = data[0];
    MemoryByteSource source({data + 1, size - 1});
    const std::unique_ptr<PictureReader> reader = makeReader(source);
    if (!reader->ReadHeader().empty()) return 0;

    static const int kOffsets[8] = {0, 0, 1, -1, -3, 5, INT_MIN, INT_MAX};
    const int lineOffset = kOffsets[control >> 5 & 7];
    const int pixelOffset = kOffsets[(control >> 2 & 7) ^ (control >> 5 & 3)];
    PictureFrame fill;
    ColourMatrix matrix = ColourMatrix::kBt601;
    if (control & 2) {
        const FrameLayout& layout = *GetFrameLayout(1 + (control & 1) + (control & 0x80 ? 2 : 0));
        fill = MakeUncoveredFrame(layout);
        matrix = layout.matrix;
    } else {
        const uint32_t width = control & 1 ? 2 : 16, lines = control & 1 ? 1 : 9;
        fill = {width, lines, std::vector<uint16_t>(width * lines, kBlackLuma),
                std::vector<uint16_t>(width * lines, kNeutralChroma)};
    }
    PictureFrame key = fill;
    const bool alpha = reader->info().bytesPerPixel == 4;
    PlacePicture(*reader, lineOffset, pixelOffset, matrix, &fill, alpha ? &key : nullptr);
    if (alpha) PlacePicture(*reader, lineOffset, pixelOffset, matrix, nullptr, &key);
    for (uint16_t y : fill.luma) {
        if (y < 64 || y > 940) __builtin_trap();
    }
    for (uint16_t c : fill.chroma) {
        if (c < 64 || c > 960) __builtin_trap();
    }
    for (std::size_t i = 0; i < key.luma.size(); ++i) {
        if (key.luma[i] < 64 || key.luma[i] > 940 || key.chroma[i] != kNeutralChroma) {
            __builtin_trap();
        }
    }
    return 0;
}

}  // namespace fmconv::fuzz
