#include "fmfiles/ten_bit.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace fmconv {
namespace {

// The packing rule written out bit by bit: one continuous big-endian stream
// of 10-bit values.
TEST(TenBit, PackingMatchesTheBitStreamOnRandomSamples) {
    std::mt19937 random(7);
    std::vector<uint16_t> samples(4000);
    for (uint16_t& s : samples) s = static_cast<uint16_t>(random() & 0x3FF);
    std::vector<uint8_t> byBits(samples.size() * 10 / 8, 0);
    std::size_t bit = 0;
    for (uint16_t s : samples) {
        for (int b = 9; b >= 0; --b, ++bit) {
            if (s >> b & 1) byBits[bit / 8] |= static_cast<uint8_t>(0x80 >> (bit % 8));
        }
    }
    std::vector<uint8_t> packed(byBits.size());
    PackTenBit(samples.data(), samples.size(), packed.data());
    EXPECT_EQ(packed, byBits);
    std::vector<uint16_t> back(samples.size());
    UnpackTenBit(packed.data(), back.size(), back.data());
    EXPECT_EQ(back, samples);
    std::vector<uint8_t> filled(5);
    FillTenBit(64, 4, filled.data());
    EXPECT_EQ(filled, (std::vector<uint8_t>{0x10, 0x04, 0x01, 0x00, 0x40}));
}

}  // namespace
}  // namespace fmconv
