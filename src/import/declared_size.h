// Some of the picture library's readers decode the picture, or reserve room
// for all of it, while they open the file: JPEG when the picture comes in
// several scans (it keeps every coefficient), HEIF/AVIF and JPEG 2000 (they
// decode at once), OpenEXR (a table entry per block of lines, and every
// header entry as large as it claims to be). For these types what the file
// declares is read here first, so that a small file that claims a huge
// picture is refused before the library sees it. Other types are opened by
// the library and checked from its description of the picture.
#pragma once

#include <cstdint>
#include <istream>
#include <vector>

namespace fmconv::importing {

struct DeclaredSize {
    uint64_t width = 0, height = 0;
    uint32_t channels = 0;  // 0: not declared where the size is
    uint64_t tiles = 0;     // the tiles of a tiled picture, each kept apart
};

struct DeclaredHeader {
    std::vector<DeclaredSize> sizes;
    bool overruns = false;  // a header entry claims more bytes than the file holds
};

// What the file declares ahead of its data, for the types above (recognised
// from their first bytes); nothing for other files, nor where the structure
// is too broken to follow (the library then refuses the file itself).
DeclaredHeader PeekDeclaredHeader(std::istream& file);

}  // namespace fmconv::importing
