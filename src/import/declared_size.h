// Some of the picture library's readers decode the picture, or reserve room
// for all of it, while they open the file: JPEG when the picture comes in
// several scans (it keeps every coefficient), HEIF/AVIF and JPEG 2000 (they
// decode at once). For these types the sizes the file declares are read here
// first, so that a small file that claims a huge picture is refused before
// the library sees it. Other types are opened by the library header first
// and checked from its description.
#pragma once

#include <cstdint>
#include <istream>
#include <vector>

namespace fmconv::importing {

struct DeclaredSize {
    uint64_t width = 0, height = 0;
    uint32_t channels = 0;  // 0: not declared where the size is
    uint64_t tiles = 0;     // JPEG 2000: the tiles of the grid, each kept apart
};

// Every picture size the file declares ahead of its data, for the types
// above (recognised from their first bytes); empty for other files, and
// where the structure is too broken to find one (the library then refuses
// the file itself).
std::vector<DeclaredSize> PeekDeclaredSizes(std::istream& file);

}  // namespace fmconv::importing
