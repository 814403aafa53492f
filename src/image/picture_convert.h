// Pictures into frames: a BMP, TGA or TIFF picture is placed unscaled at the
// top-left of a frame of the chosen FrameFormat, converted to 10-bit Y, Cb,
// Cr (BT.601 for 480i and 576i, BT.709 for 1080 and 720P) and written as an
// SFM fill file; a TGA or TIFF picture with alpha also gives a key file
// whose luminance is the alpha.
//
// A conversion is two steps. Preparing reads the picture and builds the
// planes of its frames in their packed form, in one pass, touching no
// output: a run prepares pictures ahead on worker threads. Committing names
// and writes them in the run's order. Doing both at once is the converter of
// one picture (ConvertTgaPicture and its siblings).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/trace.h"
#include "fmfiles/sfm_file.h"
#include "image/colour_convert.h"
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

enum class PictureKind { kBmp, kTga, kTiff };

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
// samples per pixel.
int ConvertTiffPicture(const std::string& sourcePath, const std::string& fillPath,
                       const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                       int pixelOffset, const TraceSink& trace,
                       platform::OutputFiles& files = platform::SystemOutputFiles());

// A picture read and turned into its frames, nothing written yet. Its
// buffers are kept from picture to picture when the object is reused.
struct PreparedPicture {
    // 0 when prepared; else kPictureSourceUnreadable, kPictureNotAccepted or
    // kPictureBadFrameFormat.
    int status = 0;
    bool withKey = false;          // a key frame was made
    std::vector<uint8_t> fill;     // luminance plane, then chroma plane
    std::vector<uint8_t> key;      // the same for the key, when made
    uint32_t fillChecksum = 0;     // the checksum rule over the planes alone
    uint32_t keyChecksum = 0;
    std::vector<std::string> traces;  // the reader's trace lines, sent on commit
};

// Reads the picture at sourcePath and builds its frames; wantKey: a key is
// asked for (made when the picture has alpha).
void PreparePicture(PictureKind kind, const std::string& sourcePath, int frameFormat,
                    int lineOffset, int pixelOffset, bool wantKey, PreparedPicture& out);
// Builds the frames of a picture whose header the reader has accepted.
void ComposePicture(PictureReader& reader, const FrameLayout& layout, int lineOffset,
                    int pixelOffset, bool withKey, PreparedPicture& out);
// Names and writes what was prepared, with the converter's result: the names
// are checked first, then the preparation's own failure is answered, then
// the trace lines go out and the files are written.
int CommitPicture(const PreparedPicture& prepared, PictureKind kind, int frameFormat,
                  const std::string& fillPath, const std::optional<std::string>& keyPath,
                  platform::OutputFiles& files, const TraceSink& trace);

}  // namespace fmconv
