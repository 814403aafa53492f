// Shared body of the picture fuzz targets. Two control bytes come first:
// the first picks the frame and the colour matrix, the second the line and
// pixel offsets; the rest is the picture file. It is read through the same
// reader and placement as a conversion, with the second pass of a TIFF key
// when the picture has alpha. The frames are small (2 x 1 to 64 x 33, and 3
// lines of the widest layout), so that clipping is at work in most runs and
// a run stays quick; placement does not depend on the frame's size otherwise.
#pragma once

#include <climits>
#include <cstdint>
#include <memory>

#include "fmfiles/sfm_file.h"
#include "image/byte_source.h"
#include "image/picture_convert.h"

namespace fmconv::fuzz {

inline PictureFrame UncoveredFrame(uint32_t width, uint32_t lines) {
    return {width, lines, std::vector<uint16_t>(std::size_t{width} * lines, kBlackLuma),
            std::vector<uint16_t>(std::size_t{width} * lines, kNeutralChroma)};
}

// The range check is kept out of the coverage instrumentation: it says
// nothing about the reader.
__attribute__((no_sanitize("coverage"))) inline void CheckRanges(const PictureFrame& fill,
                                                                 const PictureFrame& key) {
    for (std::size_t i = 0; i < fill.luma.size(); ++i) {
        if (fill.luma[i] < 64 || fill.luma[i] > 940) __builtin_trap();
        if (fill.chroma[i] < 64 || fill.chroma[i] > 960) __builtin_trap();
        if (key.luma[i] < 64 || key.luma[i] > 940 || key.chroma[i] != kNeutralChroma) {
            __builtin_trap();
        }
    }
}

template <typename MakeReader>
int FuzzPicture(const uint8_t* data, std::size_t size, MakeReader makeReader) {
    if (size < 2) return 0;
    const uint8_t frameControl = data[0], offsetControl = data[1];
    MemoryByteSource source({data + 2, size - 2});
    const std::unique_ptr<PictureReader> reader = makeReader(source);
    if (!reader->ReadHeader().empty()) return 0;

    static const int kOffsets[8] = {0, 1, -1, -3, 5, 1000, INT_MIN, INT_MAX};
    const int lineOffset = kOffsets[offsetControl & 7];
    const int pixelOffset = kOffsets[offsetControl >> 3 & 7];
    const ColourMatrix matrix = frameControl & 0x80 ? ColourMatrix::kBt709 : ColourMatrix::kBt601;
    const bool alpha = reader->info().bytesPerPixel == 4;
    const uint8_t kind = frameControl & 3;
    static const uint32_t kSizes[4][2] = {{2, 1}, {16, 9}, {64, 33}, {1920, 3}};
    PictureFrame fill = UncoveredFrame(kSizes[kind][0], kSizes[kind][1]);
    PictureFrame key = fill;
    PlacePicture(*reader, lineOffset, pixelOffset, matrix, &fill, alpha ? &key : nullptr);
    if (alpha) PlacePicture(*reader, lineOffset, pixelOffset, matrix, nullptr, &key);
    CheckRanges(fill, key);
    return 0;
}

}  // namespace fmconv::fuzz
