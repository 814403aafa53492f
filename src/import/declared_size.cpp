#include "import/declared_size.h"

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace fmconv::importing {
namespace {

constexpr std::size_t kMaxSizes = 4096;  // a file declaring more is broken anyway

uint32_t Be16(const uint8_t* p) {
    return uint32_t{p[0]} << 8 | p[1];
}
uint32_t Be32(const uint8_t* p) {
    return Be16(p) << 16 | Be16(p + 2);
}
uint64_t Be64(const uint8_t* p) {
    return uint64_t{Be32(p)} << 32 | Be32(p + 4);
}

bool ReadAt(std::istream& file, uint64_t offset, uint8_t* bytes, std::size_t count) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    if (!file) return false;
    file.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
    return file.gcount() == static_cast<std::streamsize>(count);
}

uint64_t FileSize(std::istream& file) {
    file.clear();
    file.seekg(0, std::ios::end);
    const std::streamoff end = file.tellg();
    return end > 0 ? static_cast<uint64_t>(end) : 0;
}

// JPEG: the frame header (SOFn) after the segments that precede it, read in
// sequence so that long runs of fill bytes cost no more than reading them.
void PeekJpeg(std::istream& file, std::vector<DeclaredSize>& sizes) {
    file.clear();
    file.seekg(2);
    for (;;) {
        if (file.get() != 0xFF) return;
        int marker = file.get();
        while (marker == 0xFF) marker = file.get();
        if (marker == std::char_traits<char>::eof()) return;
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;  // no length
        if (marker == 0xD9 || marker == 0xDA) return;  // the end, or scan data before a frame
        std::array<uint8_t, 8> segment{};
        if (!file.read(reinterpret_cast<char*>(segment.data()), 2)) return;
        const uint32_t length = Be16(segment.data());
        if (length < 2) return;
        const bool frameHeader =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (!frameHeader) {
            file.ignore(length - 2);
            continue;
        }
        // Lf, P, Y, X, Nf
        if (!file.read(reinterpret_cast<char*>(segment.data() + 2), 6)) return;
        sizes.push_back({Be16(&segment[5]), Be16(&segment[3]), segment[7]});
        return;
    }
}

// JPEG 2000 codestream: the image and tile sizes of the SIZ segment that
// follows the start of the codestream.
void PeekCodestream(std::istream& file, uint64_t offset, std::vector<DeclaredSize>& sizes) {
    std::array<uint8_t, 42> siz{};
    if (!ReadAt(file, offset, siz.data(), siz.size())) return;
    if (Be32(siz.data()) != 0xFF4FFF51) return;
    const uint8_t* p = siz.data() + 8;  // Xsiz, Ysiz, XOsiz, YOsiz, XTsiz, YTsiz, XTOsiz, YTOsiz
    const uint32_t x = Be32(p), y = Be32(p + 4), x0 = Be32(p + 8), y0 = Be32(p + 12);
    const uint32_t tileWidth = Be32(p + 16), tileHeight = Be32(p + 20);
    const uint32_t tileX0 = Be32(p + 24), tileY0 = Be32(p + 28);
    DeclaredSize size{x > x0 ? x - x0 : 0, y > y0 ? y - y0 : 0, Be16(p + 32)};
    if (tileWidth != 0 && tileHeight != 0 && x > tileX0 && y > tileY0) {
        size.tiles = ((uint64_t{x} - tileX0 + tileWidth - 1) / tileWidth) *
                     ((uint64_t{y} - tileY0 + tileHeight - 1) / tileHeight);
    }
    sizes.push_back(size);
}

// ISO boxes between begin and end: size, type, then the content; size 1 is
// followed by a 64-bit size, size 0 runs to the end. Visits each box until
// the visitor answers false.
struct Box {
    std::string_view type;
    uint64_t begin = 0, end = 0;  // the content
};
void WalkBoxes(std::istream& file, uint64_t begin, uint64_t end,
               const std::function<bool(const Box&)>& visit) {
    uint64_t at = begin;
    while (at + 8 <= end) {
        std::array<uint8_t, 16> header{};
        if (!ReadAt(file, at, header.data(), 8)) return;
        uint64_t size = Be32(header.data());
        uint64_t content = at + 8;
        if (size == 1) {
            if (!ReadAt(file, at + 8, header.data() + 8, 8)) return;
            size = Be64(header.data() + 8);
            content = at + 16;
        } else if (size == 0) {
            size = end - at;
        }
        if (size < content - at || size > end - at) return;
        if (!visit({{reinterpret_cast<const char*>(header.data() + 4), 4}, content, at + size})) {
            return;
        }
        at += size;
    }
}

// The content of the first box of a type between begin and end.
std::optional<Box> FindBox(std::istream& file, uint64_t begin, uint64_t end,
                           std::string_view type) {
    std::optional<Box> found;
    WalkBoxes(file, begin, end, [&](const Box& box) {
        if (box.type == type) found = box;
        return !found;
    });
    return found;
}

// HEIF and AVIF: every image spatial extent ('ispe') among the item
// properties, meta / iprp / ipco. The meta box has version and flags before
// its children.
void PeekHeif(std::istream& file, std::vector<DeclaredSize>& sizes) {
    std::optional<Box> box = FindBox(file, 0, FileSize(file), "meta");
    if (box) box = FindBox(file, box->begin + 4, box->end, "iprp");
    if (box) box = FindBox(file, box->begin, box->end, "ipco");
    if (!box) return;
    WalkBoxes(file, box->begin, box->end, [&](const Box& property) {
        std::array<uint8_t, 12> extent{};  // version and flags, width, height
        if (property.type == "ispe" && ReadAt(file, property.begin, extent.data(), 12)) {
            sizes.push_back({Be32(&extent[4]), Be32(&extent[8]), 0});
        }
        return sizes.size() < kMaxSizes;
    });
}

// JP2: the codestream in the contiguous codestream box ('jp2c').
void PeekJp2(std::istream& file, std::vector<DeclaredSize>& sizes) {
    if (const std::optional<Box> box = FindBox(file, 0, FileSize(file), "jp2c")) {
        PeekCodestream(file, box->begin, sizes);
    }
}

uint32_t Le32(const uint8_t* p) {
    return uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
}

// Reads a zero-ended text of at most `limit` bytes.
bool ReadName(std::istream& file, std::string& name, std::size_t limit) {
    name.clear();
    for (int c = file.get(); c != 0; c = file.get()) {
        if (c == std::char_traits<char>::eof() || name.size() >= limit) return false;
        name += static_cast<char>(c);
    }
    return true;
}

// OpenEXR: the headers (one, or several ended by an empty one for a
// multi-part file), each a list of entries (name, type, size, value) ended
// by an empty name. The data window gives the size, the tile description
// the tiles.
void PeekExr(std::istream& file, bool multiPart, DeclaredHeader& header) {
    const uint64_t end = FileSize(file);
    file.clear();
    file.seekg(8);
    DeclaredSize part;
    uint32_t tileWidth = 0, tileHeight = 0;
    bool inPart = false;
    std::string name, type;
    for (std::size_t entries = 0; entries < kMaxSizes * 16; ++entries) {
        if (!ReadName(file, name, 255)) return;
        if (name.empty()) {
            if (!inPart) return;  // the empty header that ends a multi-part file
            if (tileWidth != 0 && tileHeight != 0) {
                part.tiles = ((part.width + tileWidth - 1) / tileWidth) *
                             ((part.height + tileHeight - 1) / tileHeight);
            }
            header.sizes.push_back(part);
            if (!multiPart || header.sizes.size() >= kMaxSizes) return;
            part = {}, tileWidth = tileHeight = 0, inPart = false;
            continue;
        }
        inPart = true;
        std::array<uint8_t, 16> value{};
        if (!ReadName(file, type, 255) || !file.read(reinterpret_cast<char*>(value.data()), 4)) {
            return;
        }
        const auto size = static_cast<int32_t>(Le32(value.data()));
        const std::streamoff at = file.tellg();
        if (size < 0 || at < 0 || static_cast<uint64_t>(at) + static_cast<uint32_t>(size) > end) {
            header.overruns = true;
            return;
        }
        if ((name == "dataWindow" && type == "box2i" && size == 16) ||
            (name == "tiles" && type == "tiledesc" && size == 9)) {
            if (!file.read(reinterpret_cast<char*>(value.data()), name == "tiles" ? 8 : 16)) return;
        }
        if (name == "dataWindow" && type == "box2i" && size == 16) {
            const auto extent = [&value](std::size_t low, std::size_t high) -> uint64_t {
                const int64_t from = static_cast<int32_t>(Le32(&value[low]));
                const int64_t to = static_cast<int32_t>(Le32(&value[high]));
                return to >= from ? static_cast<uint64_t>(to - from + 1) : 0;
            };
            part.width = extent(0, 8), part.height = extent(4, 12);
        } else if (name == "tiles" && type == "tiledesc" && size == 9) {
            tileWidth = Le32(&value[0]), tileHeight = Le32(&value[4]);
        }
        file.clear();
        file.seekg(at + size);
    }
}

}  // namespace

DeclaredHeader PeekDeclaredHeader(std::istream& file) {
    DeclaredHeader header;
    std::array<uint8_t, 12> head{};
    if (!ReadAt(file, 0, head.data(), head.size())) return header;
    static constexpr uint8_t kJp2Signature[12] = {0,   0,   0,    12,   'j',  'P',
                                                  ' ', ' ', 0x0D, 0x0A, 0x87, 0x0A};
    if (head[0] == 0xFF && head[1] == 0xD8) {
        PeekJpeg(file, header.sizes);
    } else if (Be32(head.data()) == 0xFF4FFF51) {
        PeekCodestream(file, 0, header.sizes);
    } else if (std::memcmp(head.data(), kJp2Signature, sizeof kJp2Signature) == 0) {
        PeekJp2(file, header.sizes);
    } else if (std::memcmp(&head[4], "ftyp", 4) == 0) {
        PeekHeif(file, header.sizes);
    } else if (Le32(head.data()) == 20000630) {  // OpenEXR's magic number
        PeekExr(file, (Le32(&head[4]) & 0x1000) != 0, header);
    }
    file.clear();
    return header;
}

}  // namespace fmconv::importing
