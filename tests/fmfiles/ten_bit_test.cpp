#include "fmfiles/ten_bit.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace fmconv {
namespace {

// The packing rule written out bit by bit: one continuous big-endian stream
// of 10-bit values. The fast packer (AVX2 where the processor has it) and the
// plain one both give it for runs of every length, and write nothing beyond.
TEST(TenBit, PackingMatchesTheBitStreamOnRandomSamples) {
    std::mt19937 random(7);
    for (const std::size_t count : {0u, 4u, 12u, 16u, 28u, 32u, 36u, 720u, 1280u, 1920u, 4000u}) {
        std::vector<uint16_t> samples(count);
        for (uint16_t& s : samples) s = static_cast<uint16_t>(random() & 0x3FF);
        std::vector<uint8_t> byBits(count * 10 / 8 + 8, 0xA5);
        std::fill(byBits.begin(), byBits.end() - 8, 0);
        std::size_t bit = 0;
        for (uint16_t s : samples) {
            for (int b = 9; b >= 0; --b, ++bit) {
                if (s >> b & 1) byBits[bit / 8] |= static_cast<uint8_t>(0x80 >> (bit % 8));
            }
        }
        for (const auto pack : {&PackTenBit, &PackTenBitPlain}) {
            std::vector<uint8_t> packed(byBits.size(), 0xA5);  // the guard bytes stay
            pack(samples.data(), count, packed.data());
            EXPECT_EQ(packed, byBits) << count;
        }
        std::vector<uint16_t> back(count);
        UnpackTenBit(byBits.data(), count, back.data());
        EXPECT_EQ(back, samples);
    }
    std::vector<uint8_t> filled(5);
    FillTenBit(64, 4, filled.data());
    EXPECT_EQ(filled, (std::vector<uint8_t>{0x10, 0x04, 0x01, 0x00, 0x40}));
}

}  // namespace
}  // namespace fmconv
