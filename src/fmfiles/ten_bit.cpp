#include "fmfiles/ten_bit.h"

namespace fmconv {

void PackTenBit(const uint16_t* samples, std::size_t count, uint8_t* out) {
    for (std::size_t i = 0; i + 4 <= count; i += 4, out += 5) {
        const uint64_t group = uint64_t{samples[i] & 0x3FFu} << 30 |
                               uint64_t{samples[i + 1] & 0x3FFu} << 20 |
                               uint64_t{samples[i + 2] & 0x3FFu} << 10 | (samples[i + 3] & 0x3FFu);
        out[0] = static_cast<uint8_t>(group >> 32);
        out[1] = static_cast<uint8_t>(group >> 24);
        out[2] = static_cast<uint8_t>(group >> 16);
        out[3] = static_cast<uint8_t>(group >> 8);
        out[4] = static_cast<uint8_t>(group);
    }
}

void UnpackTenBit(const uint8_t* bytes, std::size_t count, uint16_t* samples) {
    for (std::size_t i = 0; i + 4 <= count; i += 4, bytes += 5) {
        const uint64_t group = uint64_t{bytes[0]} << 32 | uint64_t{bytes[1]} << 24 |
                               uint64_t{bytes[2]} << 16 | uint64_t{bytes[3]} << 8 | bytes[4];
        samples[i] = static_cast<uint16_t>(group >> 30 & 0x3FF);
        samples[i + 1] = static_cast<uint16_t>(group >> 20 & 0x3FF);
        samples[i + 2] = static_cast<uint16_t>(group >> 10 & 0x3FF);
        samples[i + 3] = static_cast<uint16_t>(group & 0x3FF);
    }
}

void FillTenBit(uint16_t value, std::size_t count, uint8_t* out) {
    const uint16_t four[4] = {value, value, value, value};
    uint8_t pattern[5];
    PackTenBit(four, 4, pattern);
    for (std::size_t i = 0; i + 4 <= count; i += 4, out += 5) {
        for (int b = 0; b < 5; ++b) out[b] = pattern[b];
    }
}

}  // namespace fmconv
