#include "audio/packed_words.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "audio/sfa_to_sfm.h"
#include "audio_test_files.h"

namespace fmconv {
namespace {

using testing::PlainWordAt;

bool PlainBit(const std::vector<uint8_t>& bytes, uint64_t bit) {
    return bit / 8 < bytes.size() && (bytes[bit / 8] >> (7 - bit % 8) & 1);
}

TEST(PackedWords, PackingMatchesTheBitStreamRuleAndTouchesNothingElse) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::vector<uint8_t> bytes(64);
        for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
        const std::vector<uint8_t> before = bytes;
        std::vector<uint16_t> words(random() % 40);
        for (uint16_t& w : words) w = static_cast<uint16_t>(random() & 0x3FF);
        const uint64_t at = random() % 520;  // may run past the end
        PackWords(bytes, at, words);
        for (uint64_t bit = 0; bit < 512; ++bit) {
            bool expected = PlainBit(before, bit);
            if (bit >= at && bit < at + 10 * words.size()) {
                const uint64_t i = (bit - at) / 10;
                expected = words[i] >> (9 - (bit - at) % 10) & 1;
            }
            ASSERT_EQ(PlainBit(bytes, bit), expected) << "round " << round << " bit " << bit;
        }
        std::vector<uint16_t> back(words.size());
        UnpackWords(bytes, at, back);
        for (std::size_t i = 0; i < words.size(); ++i) {
            ASSERT_EQ(back[i], PlainWordAt(bytes, at + 10 * i));
            if (at + 10 * i + 10 <= 512) {
                ASSERT_EQ(back[i], words[i]);
            }
        }
    }
}

TEST(PackedWords, CopyingBitsMatchesABitByBitCopyAlsoInPlace) {
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round) {
        std::vector<uint8_t> src(96), dest(96);
        for (uint8_t& b : src) b = static_cast<uint8_t>(random());
        for (uint8_t& b : dest) b = static_cast<uint8_t>(random());
        const bool inPlace = round % 2 == 1;
        const uint64_t count = random() % 700;
        uint64_t from = random() % 800;
        uint64_t to = random() % 800;
        if (inPlace && to > from) std::swap(to, from);
        if (round % 8 == 0) from &= ~uint64_t{7};  // the byte-aligned path
        std::vector<uint8_t>& target = inPlace ? src : dest;
        const std::vector<uint8_t> source = src;
        std::vector<uint8_t> expected = target;
        for (uint64_t i = 0; i < count && to + i < 768; ++i) {
            const uint64_t bit = to + i;
            const uint8_t mask = static_cast<uint8_t>(0x80 >> bit % 8);
            expected[bit / 8] = static_cast<uint8_t>(
                PlainBit(source, from + i) ? expected[bit / 8] | mask : expected[bit / 8] & ~mask);
        }
        CopyBits(target, to, source, from, count);  // an unchanged copy of the source
        if (inPlace) {
            std::vector<uint8_t> again = source;
            CopyBits(again, to, again, from, count);  // really in place
            ASSERT_EQ(again, expected) << "round " << round;
        }
        ASSERT_EQ(target, expected) << "round " << round;
    }
}

TEST(PackedWords, FourWordsAtEachPhase) {
    // The words 0x3FF 0x000 0x2AA 0x155 written at bits 0, 6, 4 and 2.
    const uint16_t words[4] = {0x3FF, 0x000, 0x2AA, 0x155};
    for (int phase = 0; phase < 4; ++phase) {
        std::vector<uint8_t> bytes(6, 0);
        const uint64_t start = (8 - 2 * phase) % 8;
        PackWords(bytes, start, words);
        const auto got = UnpackFourWords(bytes, phase);
        EXPECT_EQ(got, (std::array<uint16_t, 4>{0x3FF, 0x000, 0x2AA, 0x155})) << phase;
        EXPECT_EQ(PhaseOfBit(start), phase);
    }
    // Bytes beyond the span read as zero.
    const std::vector<uint8_t> one = {0xFF};
    EXPECT_EQ(UnpackFourWords(one, 0), (std::array<uint16_t, 4>{0x3FC, 0, 0, 0}));
}

}  // namespace
}  // namespace fmconv
