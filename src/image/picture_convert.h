// Pictures into frames: a BMP, TGA or TIFF picture is placed unscaled at the
// top-left of a frame of the chosen FrameFormat, converted to 10-bit Y, Cb,
// Cr (BT.601 for 480i and 576i, BT.709 for 1080 and 720P) and written as an
// SFM fill file; a TGA or TIFF picture with alpha also gives a key file
// whose luminance is the alpha.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/trace.h"
#include "fmfiles/sfm_file.h"
#include "image/picture_reader.h"
#include "platform/output_files.h"

namespace fmconv {

// What a picture converter answers: FrameFormat (1 to 4) when it wrote the
// fill alone, 10 + FrameFormat when it wrote fill and key, or a failure.
enum PictureResult : int {
    kPictureSourceUnreadable = -1,  // BMP also: the output could not be created
    kPictureFillUnwritable = -2,    // not a frame-memory name, not creatable, or not written whole
    kPictureNotAccepted = -3,       // not a variant the readers take
    kPictureBadFrameFormat = -4,
    kPictureKeyUnwritable = -5,  // not a frame-memory name, not creatable, or not written whole
};
constexpr int kPictureKeyWritten = 10;

// The output paths are written as given, ".TMP" suffix included, through
// files (each reaches its name only whole). Line and pixel offset give the
// frame line and column of the picture's top-left pixel; an odd pixel offset
// is raised to the next even number.
//
// BMP: outputPath is the single output; the third argument is not used.
int ConvertBmpPicture(const std::string& sourcePath, const std::string& outputPath,
                      const std::optional<std::string>& unused, int frameFormat, int lineOffset,
                      int pixelOffset, const TraceSink& trace,
                      platform::OutputFiles& files = platform::SystemOutputFiles());
// TGA: the key is written when keyPath is given and the picture has 32-bit
// pixels. The reader traces "fseek RGB = <offset>" to the sink.
int ConvertTgaPicture(const std::string& sourcePath, const std::string& fillPath,
                      const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                      int pixelOffset, const TraceSink& trace,
                      platform::OutputFiles& files = platform::SystemOutputFiles());
// TIFF: the key is written when keyPath is given and the picture has four
// samples per pixel; it is made by reading the pixel data a second time.
int ConvertTiffPicture(const std::string& sourcePath, const std::string& fillPath,
                       const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                       int pixelOffset, const TraceSink& trace,
                      platform::OutputFiles& files = platform::SystemOutputFiles());

// The pieces of a conversion.

struct YCbCr {
    uint16_t y, cb, cr;
};
// The exact integer forms of the two matrices, rounding half up.
YCbCr ToYCbCr(ColourMatrix matrix, const Pixel& pixel);
uint16_t ToLuma(ColourMatrix matrix, const Pixel& pixel);
// Alpha 0..255 as key luminance 64..940.
uint16_t ToKeyLuma(ColourMatrix matrix, uint8_t alpha);

// One pass over the picture's pixels (from its first pixel), storing into
// fill (colour) and key (alpha as luminance, chroma left neutral) the pixel
// pairs that land inside the frame; either may be null. Frames must have
// been set to Y 64, Cb = Cr = 512 before.
void PlacePicture(PictureReader& reader, int lineOffset, int pixelOffset, ColourMatrix matrix,
                  PictureFrame* fill, PictureFrame* key);

}  // namespace fmconv
