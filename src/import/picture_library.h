// Today's picture files for `fmconv import`: any picture the picture library
// reads, as straight 8-bit RGBA, and its fitting into a frame's picture area.
// The picture library stays behind this header, which needs only the
// standard library; nothing of the engine depends on it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fmconv::importing {

// Straight (unassociated) 8-bit RGBA, rows from top to bottom.
struct RgbaImage {
    uint32_t width = 0, height = 0;
    bool hasAlpha = false;      // the file has an alpha channel
    std::vector<uint8_t> rgba;  // width * height * 4
};

// Pictures larger than this are refused from their header, before any pixel
// is decoded. The defaults take an 8K picture with room to spare and keep one
// picture's pixels within 256 MiB.
struct ReadLimits {
    uint32_t maxSide = 32768;                // width and height each
    uint64_t maxPixels = uint64_t{1} << 26;  // width x height
};

// Reads the first picture of a file as 8-bit RGBA: grey and palette pictures
// expanded, deeper samples rounded to the nearest 8-bit value,
// round(v x 255 / max) (for 16-bit samples exactly (v x 255 + 32767) / 65535),
// floating-point samples clamped to 0..1 first, no alpha = opaque (255). An
// 8-bit picture's colour comes through as stored, also under alpha 0; a file
// that stores colour multiplied by alpha is divided back. Rows follow the
// file's orientation tag, so that the picture stands as a viewer shows it.
// The file's type is taken from its name, and from its content when the name
// is wrong or has no extension. Returns "" or a one-line reason (the picture
// library's own where it gives one); `out` is complete only on "".
std::string ReadPicture(const std::string& path, RgbaImage& out, const ReadLimits& limits = {});

enum class Fit { kNone, kContain, kCover, kStretch };
enum class Align { kTopLeft, kCenter };

struct FitRequest {
    Fit fit = Fit::kNone;
    Align align = Align::kTopLeft;
    uint32_t areaWidth = 0, areaHeight = 0;  // the frame's picture area in frame pixels
    // Display width / height of one frame pixel: 1 for the HD formats; for SD
    // 4:3 0.9 on 720 x 486 and 16/15 on 720 x 576, for SD 16:9 these x 4/3.
    double pixelAspect = 1.0;
};

// A picture and the frame line and column of its top-left pixel. The offsets
// are negative when the picture starts above or left of the area; the
// placement into the frame crops what falls outside.
struct Placed {
    RgbaImage picture;
    int lineOffset = 0;
    int pixelOffset = 0;
};

// kNone: the picture unscaled; top-left: offsets 0; center: (area - size) / 2.
// kContain: scaled to the largest size inside the area with the picture's
// displayed shape (its pixels are square), at the alignment.
// kCover: scaled to the smallest size that fills the area with that shape,
// cropped to the area (keeping the middle for center, the top-left corner
// otherwise); offsets 0.
// kStretch: scaled to the area exactly; offsets 0.
// Scaling filters colour weighted by alpha, so that the colour of transparent
// pixels does not bleed into the edges of opaque ones (Lanczos with 3 lobes
// where the picture shrinks, Catmull-Rom where it grows, each axis on its
// own); the result is straight RGBA, with colour 0 where it is fully
// transparent. A picture that
// needs no scaling is not filtered. An empty picture, or an empty area for a
// fit other than kNone, comes back unscaled at offset 0.
Placed FitPicture(const RgbaImage& in, const FitRequest& request);

// The reader as the module that holds it exports it: `fmconv import` loads
// the module (and with it the picture library) only when it runs.
struct PictureReaderModule {
    decltype(&ReadPicture) read;
};
inline constexpr char kPictureModuleFile[] = "fmconv-pictures.so";
inline constexpr char kPictureModuleSymbol[] = "fmconv_picture_reader";

// Multiplies colour by alpha for keyers that expect a shaped fill:
// R' = (R x A + 127) / 255, likewise G and B; alpha unchanged.
void ShapeFill(RgbaImage& image);

}  // namespace fmconv::importing
