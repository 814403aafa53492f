#include "cli/png_writer.h"

#include <png.h>

#include "platform/output_files.h"

namespace fmconv::cli {

std::string WritePngRgb(const std::string& path, uint32_t width, uint32_t height,
                        const std::vector<uint8_t>& rgb) {
    if (rgb.size() != std::size_t{width} * height * 3)
        return "the picture's size is not its pixels'";
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGB;
    // First ask for the encoded size, then encode into a buffer of that size.
    png_alloc_size_t size = 0;
    if (!png_image_write_to_memory(&image, nullptr, &size, 0, rgb.data(), 0, nullptr)) {
        return std::string("cannot encode the PNG: ") + image.message;
    }
    std::vector<uint8_t> encoded(size);
    if (!png_image_write_to_memory(&image, encoded.data(), &size, 0, rgb.data(), 0, nullptr)) {
        return std::string("cannot encode the PNG: ") + image.message;
    }
    encoded.resize(size);

    // Written like every output: whole under its name, or not at all.
    if (!platform::WriteWholeFile(path, encoded)) return "cannot write " + path;
    return "";
}

}  // namespace fmconv::cli
