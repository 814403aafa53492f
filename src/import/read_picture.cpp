// Reading a picture through the picture library: choosing a reader, refusing
// oversized pictures before their pixels are decoded, and turning whatever
// the reader hands out into straight 8-bit RGBA.
#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "import/declared_size.h"
#include "import/picture_library.h"

namespace fmconv::importing {
namespace {

namespace oiio = OIIO;

// The library's own limits, a second net behind the checks here: no picture
// that passes those comes near them.
constexpr int kLibraryImageSizeMB = 4096;
constexpr int kMaxChannels = 64;
// A JPEG 2000 grid keeps each tile apart; pictures use a few thousand at most.
constexpr uint64_t kMaxTiles = 1 << 16;

// The library's picture readers that are used, by its names for them; left
// out are movies, volumes, camera raw, depth maps, medical and astronomical
// data, the library's made-up and terminal images, and icons (its icon
// reader writes past its buffer on some malformed files). A file is read by
// the reader its extension names; failing that, by the first reader that
// recognises its content, among those whose files begin with a signature.
// (TGA and RLA files have none: they are read when named so.)
constexpr std::string_view kPictureFormats[] = {
    "png",      "jpeg", "tiff", "bmp", "targa", "psd",    "openexr", "dpx", "webp",      "gif",
    "jpeg2000", "heif", "sgi",  "pnm", "hdr",   "cineon", "iff",     "rla", "softimage", "dds"};
constexpr std::string_view kUnsignedFormats[] = {"targa", "rla"};

// Readers that multiply colour by alpha unless asked not to, and that say
// when they did not ("oiio:UnassociatedAlpha"): where they do not say so, the
// colour comes multiplied, either because the file stores it so or because
// the reader multiplied (the WebP reader always does).
constexpr std::string_view kAssociatingFormats[] = {"openexr", "tiff", "png",      "targa",
                                                    "psd",     "heif", "jpeg2000", "webp"};

template <std::size_t N>
bool Contains(const std::string_view (&list)[N], std::string_view name) {
    return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

void SetLibraryLimits() {
    static std::once_flag once;
    std::call_once(once, [] {
        oiio::attribute("limits:imagesize_MB", kLibraryImageSizeMB);
        oiio::attribute("limits:channels", kMaxChannels);
    });
}

// The library's messages can run over several lines: one line, trimmed.
std::string OneLine(const std::string& text, const char* fallback) {
    std::string line;
    bool pendingBreak = false;
    for (const char c : text) {
        if (c == '\n' || c == '\r') {
            pendingBreak = !line.empty();
            continue;
        }
        if (pendingBreak) line += "; ";
        pendingBreak = false;
        line += c;
    }
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.pop_back();
    return line.empty() ? fallback : line;
}

std::string SizeRefusal(uint64_t width, uint64_t height, const ReadLimits& limits) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width == 0 || height == 0) return "the picture is " + size + " pixels: it has none";
    if (width > limits.maxSide || height > limits.maxSide) {
        return "the picture is " + size + " pixels, more than the limit of " +
               std::to_string(limits.maxSide) + " pixels a side";
    }
    if (width * height > limits.maxPixels) {
        return "the picture is " + size + " = " + std::to_string(width * height) +
               " pixels, more than the limit of " + std::to_string(limits.maxPixels) + " pixels";
    }
    return {};
}

std::string CheckDeclaredSizes(const std::string& path, const ReadLimits& limits) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "the file cannot be opened";
    const DeclaredHeader header = PeekDeclaredHeader(file);
    if (header.overruns) return "the file's header claims more bytes than the file holds";
    for (const DeclaredSize& size : header.sizes) {
        std::string refusal = SizeRefusal(size.width, size.height, limits);
        if (!refusal.empty()) return refusal;
        if (size.channels > kMaxChannels) {
            return "the picture declares " + std::to_string(size.channels) +
                   " channels, more than the limit of " + std::to_string(kMaxChannels);
        }
        if (size.tiles > kMaxTiles) {
            return "the picture declares " + std::to_string(size.tiles) +
                   " tiles, more than the limit of " + std::to_string(kMaxTiles);
        }
    }
    return {};
}

// The file as a reader sees it, noting a read that finds nothing left: a
// reader that asks for data the file does not have is reading a file cut
// short. The TIFF reader makes do with what there is (empty rows), so the
// file is watched for it; the JPEG reader makes do too (grey rows) but reads
// past the watch, and is judged by the decoder's warning (below). The other
// readers refuse a cut file themselves.
class WatchedFile final : public oiio::Filesystem::IOFile {
  public:
    explicit WatchedFile(const std::string& path) : IOFile(path, IOProxy::Read) {}
    size_t read(void* buffer, size_t size) override {
        return Note(size, IOFile::read(buffer, size));
    }
    size_t pread(void* buffer, size_t size, int64_t offset) override {
        return Note(size, IOFile::pread(buffer, size, offset));
    }
    void Watch() { foundEnd_ = false; }
    bool foundEnd() const { return foundEnd_; }

  private:
    size_t Note(size_t asked, size_t got) {
        if (asked > 0 && got == 0) foundEnd_ = true;
        return got;
    }
    bool foundEnd_ = false;
};
constexpr std::string_view kWatchedFormats[] = {"tiff"};

struct OpenedPicture {
    std::unique_ptr<WatchedFile> file;  // outlives the reader that uses it
    std::unique_ptr<oiio::ImageInput> in;
};

// Opens the file with the reader its name asks for, or else with one that
// recognises it. On failure, says why: the named reader's reason first.
OpenedPicture OpenPicture(const std::string& path, std::string& reason) {
    // The library's name for the type the extension names. (Given a whole
    // path, the library would look into the file and try its other readers.)
    std::string named;
    std::string extension = std::filesystem::path(path).extension().string();
    if (extension.size() > 1) {
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (const auto byName = oiio::ImageInput::create(extension.substr(1))) {
            named = byName->format_name();
        }
        oiio::geterror();  // an unknown extension leaves a message behind
    }
    const bool namedIsPicture = Contains(kPictureFormats, named);
    std::vector<std::string_view> order;
    if (namedIsPicture) order.push_back(named);
    for (const std::string_view format : kPictureFormats) {
        if (format != named && !Contains(kUnsignedFormats, format)) order.push_back(format);
    }
    std::string namedError;
    for (const std::string_view format : order) {
        OpenedPicture opened;
        opened.in = oiio::ImageInput::create(format);
        if (!opened.in) continue;
        oiio::ImageSpec config;
        config.attribute("oiio:UnassociatedAlpha", 1);
        if (Contains(kWatchedFormats, format)) {
            opened.file = std::make_unique<WatchedFile>(path);
            if (!opened.file->opened()) {
                reason = "the file cannot be opened";
                return {};
            }
            void* proxy = static_cast<oiio::Filesystem::IOProxy*>(opened.file.get());
            config.attribute("oiio:ioproxy", oiio::TypeDesc::PTR, &proxy);
        }
        oiio::ImageSpec spec;
        if (opened.in->open(path, spec, config)) return opened;
        std::string error = opened.in->geterror();
        if (format == named) namedError = OneLine(error, "the file is not a valid picture");
    }
    if (!namedError.empty()) {
        reason = namedError;
    } else if (!named.empty() && !namedIsPicture) {
        reason = "the file is of a type not read as a picture (" + named + ")";
    } else {
        reason = "the file is not a picture of a type the picture library reads";
    }
    return {};
}

// Where the read samples of a pixel are, -1 for none.
struct ChannelMap {
    int r = -1, g = -1, b = -1, a = -1;
    int count = 0;  // channels read per pixel, 0 up to the last one used
};

ChannelMap MapChannels(const oiio::ImageSpec& spec) {
    ChannelMap map;
    const int n = spec.nchannels;
    if (spec.alpha_channel >= 0 && spec.alpha_channel < n) map.a = spec.alpha_channel;
    for (int c = 0; c < n && map.a < 0; ++c) {
        const std::string& name = spec.channel_name(c);
        if (name == "A" || name == "a" || name == "Alpha" || name == "alpha") map.a = c;
    }
    std::array<int, 3> colour{-1, -1, -1};
    int found = 0;
    for (int c = 0; c < n && found < 3; ++c) {
        if (c != map.a) colour[static_cast<std::size_t>(found++)] = c;
    }
    if (found >= 3) {
        map.r = colour[0], map.g = colour[1], map.b = colour[2];
    } else {
        map.r = map.g = map.b = colour[0];  // grey; a second colour channel is not colour
    }
    map.count = 1 + std::max({map.r, map.g, map.b, map.a});
    return map;
}

// Sample handling per type of the samples asked of the library: 8-bit as
// stored, 16-bit rounded to 8 bits, floating point clamped to 0..1 and
// rounded. Samples of 9 to 15 bits come from the readers scaled up to 16
// bits, not always to the full range (12-bit TIFF samples are shifted), so
// the file's own sample is recovered first and then rounded.
struct Samples8 {
    using Type = uint8_t;
    static constexpr oiio::TypeDesc::BASETYPE kType = oiio::TypeDesc::UINT8;
    uint8_t To8(uint8_t v) const { return v; }
    uint8_t Unassociate(uint8_t c, uint8_t a) const {
        return a == 0 ? c : static_cast<uint8_t>(std::min(255, (c * 255 + a / 2) / a));
    }
    uint8_t Opaque() const { return 255; }
};

struct Samples16 {
    using Type = uint16_t;
    static constexpr oiio::TypeDesc::BASETYPE kType = oiio::TypeDesc::UINT16;
    uint32_t max = 65535;  // of the file's samples
    uint8_t To8(uint16_t v) const {
        if (max == 65535) return static_cast<uint8_t>((v * 255u + 32767u) / 65535u);
        const uint32_t stored = (v * max + 32767u) / 65535u;  // the sample as the file has it
        return static_cast<uint8_t>((stored * 255u + max / 2) / max);
    }
    uint16_t Unassociate(uint16_t c, uint16_t a) const {
        return a == 0 ? c : static_cast<uint16_t>(std::min(65535u, (c * 65535u + a / 2u) / a));
    }
    uint16_t Opaque() const { return 65535; }
};

struct SamplesFloat {
    using Type = float;
    static constexpr oiio::TypeDesc::BASETYPE kType = oiio::TypeDesc::FLOAT;
    uint8_t To8(float v) const {
        if (!(v > 0.0f)) return 0;  // NaN too
        if (v >= 1.0f) return 255;
        return static_cast<uint8_t>(std::floor(v * 255.0f + 0.5f));
    }
    float Unassociate(float c, float a) const { return a > 0.0f ? c / a : c; }
    float Opaque() const { return 1.0f; }
};

// Converts `pixels` read pixels (map.count samples each) to RGBA.
template <typename S>
void ToRgba(const S& samples, const typename S::Type* in, std::size_t pixels, const ChannelMap& map,
            bool associated, uint8_t* out) {
    const auto count = static_cast<std::size_t>(map.count);
    for (std::size_t i = 0; i < pixels; ++i, in += count, out += 4) {
        const typename S::Type a = map.a >= 0 ? in[map.a] : samples.Opaque();
        typename S::Type r = in[map.r], g = in[map.g], b = in[map.b];
        if (associated) {
            r = samples.Unassociate(r, a), g = samples.Unassociate(g, a);
            b = samples.Unassociate(b, a);
        }
        out[0] = samples.To8(r), out[1] = samples.To8(g), out[2] = samples.To8(b);
        out[3] = samples.To8(a);
    }
}

// Reads the pixels band by band (a tile row of a tiled file), so that
// only one band of the library's samples is held besides the result.
template <typename S>
std::string ReadPixels(oiio::ImageInput& in, const S& samples, const ChannelMap& map,
                       bool associated, RgbaImage& out) {
    const oiio::ImageSpec& spec = in.spec();
    const bool tiled = spec.tile_width > 0;
    const uint32_t band = tiled ? static_cast<uint32_t>(std::max(1, spec.tile_height)) : 64;
    const std::size_t rowPixels = out.width;
    // 8-bit RGBA as it stands goes straight into the result.
    const bool direct = S::kType == oiio::TypeDesc::UINT8 && map.count == 4 && map.r == 0 &&
                        map.g == 1 && map.b == 2 && map.a == 3 && !associated;
    std::vector<typename S::Type> buffer;
    if (!direct)
        buffer.resize(rowPixels * std::min(band, out.height) * static_cast<std::size_t>(map.count));
    for (uint32_t y0 = 0; y0 < out.height; y0 += band) {
        const uint32_t y1 = std::min(out.height, y0 + band);
        uint8_t* rows = out.rgba.data() + std::size_t{y0} * rowPixels * 4;
        void* target = direct ? static_cast<void*>(rows) : static_cast<void*>(buffer.data());
        const int yb = spec.y + static_cast<int>(y0), ye = spec.y + static_cast<int>(y1);
        const bool ok =
            tiled ? in.read_tiles(0, 0, spec.x, spec.x + spec.width, yb, ye, spec.z, spec.z + 1, 0,
                                  map.count, S::kType, target)
                  : in.read_scanlines(0, 0, yb, ye, spec.z, 0, map.count, S::kType, target);
        if (!ok) return OneLine(in.geterror(), "the pixel data cannot be read");
        if (!direct) {
            ToRgba(samples, buffer.data(), std::size_t{y1 - y0} * rowPixels, map, associated, rows);
        }
    }
    return {};
}

// Turns the rows as stored into rows as shown, after the orientation tag
// (1 to 8, as in Exif: 2 mirrored, 3 turned half round, 4 upside down,
// 5 to 8 with rows and columns swapped).
void Orient(RgbaImage& image, int orientation) {
    if (orientation < 2 || orientation > 8) return;
    const bool swap = orientation >= 5;
    const bool flipX = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool flipY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const uint32_t w = image.width, h = image.height;
    const uint32_t shownW = swap ? h : w, shownH = swap ? w : h;
    std::vector<uint8_t> shown(image.rgba.size());
    for (uint32_t y = 0; y < shownH; ++y) {
        for (uint32_t x = 0; x < shownW; ++x) {
            const uint32_t u = swap ? y : x, v = swap ? x : y;
            const std::size_t from =
                (std::size_t{flipY ? h - 1 - v : v} * w + (flipX ? w - 1 - u : u)) * 4;
            std::copy_n(&image.rgba[from], 4, &shown[(std::size_t{y} * shownW + x) * 4]);
        }
    }
    image.rgba.swap(shown);
    image.width = shownW, image.height = shownH;
}

std::string Read(const std::string& path, RgbaImage& out, const ReadLimits& limits) {
    SetLibraryLimits();
    if (std::string refusal = CheckDeclaredSizes(path, limits); !refusal.empty()) return refusal;
    std::string reason;
    const OpenedPicture opened = OpenPicture(path, reason);
    if (!opened.in) return reason;
    oiio::ImageInput* in = opened.in.get();
    const oiio::ImageSpec& spec = in->spec();
    if (spec.deep) return "the file holds a deep picture (several samples a pixel)";
    if (spec.depth > 1) return "the file holds a volume, not a picture";
    if (spec.nchannels < 1 || spec.nchannels > kMaxChannels) {
        return "the picture has " + std::to_string(spec.nchannels) + " channels";
    }
    const auto width = static_cast<uint64_t>(std::max(0, spec.width));
    const auto height = static_cast<uint64_t>(std::max(0, spec.height));
    if (std::string refusal = SizeRefusal(width, height, limits); !refusal.empty()) return refusal;

    const ChannelMap map = MapChannels(spec);
    const bool associated = map.a >= 0 && Contains(kAssociatingFormats, in->format_name()) &&
                            spec.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0;
    out.width = static_cast<uint32_t>(width);
    out.height = static_cast<uint32_t>(height);
    out.hasAlpha = map.a >= 0;
    out.rgba.assign(width * height * 4, 255);

    // The widest sample type among the channels decides what is asked for.
    bool floating = false;
    std::size_t bytes = 0;
    for (int c = 0; c < map.count; ++c) {
        const oiio::TypeDesc type = spec.channelformat(c);
        floating = floating || type.is_floating_point();
        bytes = std::max(bytes, type.basesize());
    }
    if (opened.file) opened.file->Watch();  // from here on, only pixel data is read
    std::string failure;
    if (floating) {
        failure = ReadPixels(*in, SamplesFloat{}, map, associated, out);
    } else if (bytes > 1) {
        const int bits = spec.get_int_attribute("oiio:BitsPerSample", 16);
        Samples16 samples;
        if (bits > 8 && bits < 16) samples.max = (1u << bits) - 1;
        failure = ReadPixels(*in, samples, map, associated, out);
    } else {
        failure = ReadPixels(*in, Samples8{}, map, associated, out);
    }
    if (!failure.empty()) return failure;
    if (opened.file && opened.file->foundEnd()) {
        return "the file ends before its pixel data does: it was cut short";
    }
    if (in->format_name() == std::string_view("jpeg")) {
        const std::string warning = in->geterror();  // the decoder's, from a read that succeeded
        if (warning.find("Premature end of JPEG file") != std::string::npos) {
            return OneLine(warning, "the file was cut short");
        }
    }
    Orient(out, spec.get_int_attribute("Orientation", 1));
    return {};
}

}  // namespace

std::string ReadPicture(const std::string& path, RgbaImage& out, const ReadLimits& limits) {
    out = {};
    std::string reason;
    try {
        reason = Read(path, out, limits);
    } catch (const std::bad_alloc&) {
        reason = "not enough memory to read the picture";
    } catch (const std::exception& error) {
        reason = OneLine(error.what(), "the picture library failed");
    } catch (...) {
        reason = "the picture library failed";
    }
    oiio::geterror();  // nothing of this file is left for the next
    if (!reason.empty()) out = {};
    return reason;
}

}  // namespace fmconv::importing
