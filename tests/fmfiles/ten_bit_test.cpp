#include "fmfiles/ten_bit.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace fmconv {
namespace {

// The packing rule written out bit by bit: the samples form one continuous
// big-endian stream of 10-bit values.
std::vector<uint8_t> PackByBits(const std::vector<uint16_t>& samples) {
    std::vector<uint8_t> out(samples.size() * 10 / 8, 0);
    std::size_t bit = 0;
    for (uint16_t s : samples) {
        for (int b = 9; b >= 0; --b, ++bit) {
            if (s >> b & 1) out[bit / 8] |= static_cast<uint8_t>(0x80 >> (bit % 8));
        }
    }
    return out;
}

TEST(TenBit, PackingMatchesTheBitStreamOnRandomSamples) {
    std::mt19937 random(7);
    std::vector<uint16_t> samples(4000);
    for (uint16_t& s : samples) s = static_cast<uint16_t>(random() & 0x3FF);
    std::vector<uint8_t> packed(samples.size() * 5 / 4);
    PackTenBit(samples.data(), samples.size(), packed.data());
    EXPECT_EQ(packed, PackByBits(samples));

    std::vector<uint16_t> back(samples.size());
    UnpackTenBit(packed.data(), back.size(), back.data());
    EXPECT_EQ(back, samples);
}

TEST(TenBit, BlackAndNeutralPatterns) {
    std::vector<uint8_t> out(5);
    FillTenBit(64, 4, out.data());
    EXPECT_EQ(out, (std::vector<uint8_t>{0x10, 0x04, 0x01, 0x00, 0x40}));
    FillTenBit(512, 4, out.data());
    EXPECT_EQ(out, (std::vector<uint8_t>{0x80, 0x20, 0x08, 0x02, 0x00}));
}

}  // namespace
}  // namespace fmconv
