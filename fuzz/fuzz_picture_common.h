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
#include "fmfiles/ten_bit.h"
#include "image/byte_source.h"
#include "image/picture_convert.h"

namespace fmconv::fuzz {

// A frame of its own size, lines one after the other with nothing between.
inline FrameLayout SmallLayout(uint32_t width, uint32_t lines, ColourMatrix matrix) {
    return {0, "fuzz", width, width * 10 / 8, 0, lines, 0, 0, 0, lines * width * 10 / 8, matrix};
}

// The range check is kept out of the coverage instrumentation: it says
// nothing about the reader.
__attribute__((no_sanitize("coverage"))) inline void CheckRanges(const FrameLayout& layout,
                                                                 const PreparedPicture& frames) {
    const std::size_t samples = std::size_t{layout.width} * layout.field1Lines;
    std::vector<uint16_t> words(samples);
    for (int p = 0; p < 2; ++p) {
        UnpackTenBit(frames.fill.data() + p * layout.planeBytes, samples, words.data());
        for (uint16_t w : words) {
            if (w < 64 || w > (p == 0 ? 940 : 960)) __builtin_trap();
        }
        if (!frames.withKey) continue;
        UnpackTenBit(frames.key.data() + p * layout.planeBytes, samples, words.data());
        for (uint16_t w : words) {
            if (p == 0 ? (w < 64 || w > 940) : w != kNeutralChroma) __builtin_trap();
        }
    }
    if (ComputeSfmChecksum(frames.fill.data(), frames.fill.size()) != frames.fillChecksum) {
        __builtin_trap();
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
    static const uint32_t kSizes[4][2] = {{4, 1}, {16, 9}, {64, 33}, {1920, 3}};
    const uint8_t kind = frameControl & 3;
    const FrameLayout layout = SmallLayout(kSizes[kind][0], kSizes[kind][1], matrix);
    static PreparedPicture frames;
    ComposePicture(*reader, layout, lineOffset, pixelOffset, alpha, frames);
    CheckRanges(layout, frames);
    return 0;
}

}  // namespace fmconv::fuzz
