// Writes 8-bit RGB pictures as PNG files, through libpng. The one place the
// command line uses it; the engine knows nothing of PNG.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fmconv::cli {

// rgb holds width x height pixels, three bytes each, rows from the top. The
// file is written under a temporary name beside path and renamed into place
// when whole. Empty on success, else why not, in one line.
std::string WritePngRgb(const std::string& path, uint32_t width, uint32_t height,
                        const std::vector<uint8_t>& rgb);

}  // namespace fmconv::cli
