// Byte-order helpers: frame headers are big-endian, WAV, BMP and TGA
// little-endian, TIFF follows its mark. Values are assembled from single
// bytes so that the host's own order never matters.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace fmconv {

inline uint16_t ReadBe16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}
inline uint32_t ReadBe32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
           static_cast<uint32_t>(p[2]) << 8 | p[3];
}
inline uint16_t ReadLe16(const uint8_t* p) {
    return static_cast<uint16_t>(p[1] << 8 | p[0]);
}
inline uint32_t ReadLe32(const uint8_t* p) {
    return static_cast<uint32_t>(p[3]) << 24 | static_cast<uint32_t>(p[2]) << 16 |
           static_cast<uint32_t>(p[1]) << 8 | p[0];
}

inline void WriteBe16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void WriteBe32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}
inline void WriteLe16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}
inline void WriteLe32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}

// Copies count bytes of source from offset `from` on to dest; bytes the
// source does not hold (a short or truncated file) are zero.
inline void CopyOrZero(uint8_t* dest, std::span<const uint8_t> source, std::size_t from,
                       std::size_t count) {
    const std::size_t held = from < source.size() ? std::min(count, source.size() - from) : 0;
    if (held > 0) std::memcpy(dest, source.data() + from, held);
    if (count > held) std::memset(dest + held, 0, count - held);
}

}  // namespace fmconv
