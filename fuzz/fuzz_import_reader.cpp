// Fuzzes reading today's picture files through the picture library, and the
// fitting of what is read. The first byte picks the file's extension (the
// reader tried first; the last choice has none, so the content decides) and
// the fit; the rest is the file. The limits are small so that a run stays
// quick: pictures above them must be refused before they are decoded.
#include <cstdint>
#include <fstream>
#include <string>

#include "fuzz_work_folder.h"
#include "import/picture_library.h"

namespace {

const std::string& WorkFolder() {
    static const fmconv::fuzz::WorkFolder folder("import");
    return folder.path();
}

constexpr const char* kExtensions[16] = {".png", ".jpg",  ".tif", ".bmp", ".tga",  ".psd",
                                         ".exr", ".webp", ".gif", ".dpx", ".heic", ".jp2",
                                         ".rla", ".sgi",  ".hdr", ""};
constexpr fmconv::importing::ReadLimits kLimits{512, 1 << 16};

}  // namespace

// The library's PNG reader leaks a copy of its error message when libpng
// jumps out of the read of a cut file (a short string per file, inside the
// library). Its frames carry no frame pointers, so the allocation's stack
// ends at the copy.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:OpenImageIO_v2_4::ImageInput::geterror\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fmconv::importing;
    if (size < 1) return 0;
    const std::string path = WorkFolder() + "/picture" + kExtensions[data[0] & 15];
    {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
        if (!file) return 0;
    }
    RgbaImage image;
    if (!ReadPicture(path, image, kLimits).empty()) {
        if (!image.rgba.empty()) __builtin_trap();
        return 0;
    }
    if (image.width == 0 || image.height == 0 || image.width > kLimits.maxSide ||
        image.height > kLimits.maxSide ||
        uint64_t{image.width} * image.height > kLimits.maxPixels ||
        image.rgba.size() != std::size_t{image.width} * image.height * 4) {
        __builtin_trap();
    }
    const FitRequest request{static_cast<Fit>(data[0] >> 4 & 3),
                             data[0] & 0x40 ? Align::kCenter : Align::kTopLeft, 48, 27,
                             data[0] & 0x80 ? 0.9 : 1.0};
    const Placed placed = FitPicture(image, request);
    const RgbaImage& p = placed.picture;
    if (p.rgba.size() != std::size_t{p.width} * p.height * 4) __builtin_trap();
    if (request.fit != Fit::kNone && (p.width > 48 || p.height > 27)) __builtin_trap();
    return 0;
}
