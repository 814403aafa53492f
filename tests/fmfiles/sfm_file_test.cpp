#include "fmfiles/sfm_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "base/bytes.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

std::string Field(const uint8_t* at, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(at), size);
}

TEST(SfmHeader, FieldsReadBackFromTheName) {
    struct Case {
        const char* path;
        const char* tail;  // bytes 8-19
        std::string name;  // bytes 20-27
        uint16_t register62;
    } cases[] = {
        {"C:\\OUT\\MLOGO.FMEM_007.SFM", "FMEM_007.SFM", std::string("LOGO\0\0\0\0", 8), 7},
        {"C:\\OUT\\MLOGO.FMEM_007.SFM.TMP", "FMEM_007.SFM", std::string("LOGO\0\0\0\0", 8), 7},
        {"/out/MLOGO.FMEM1234.SFM", "FMEM1234.SFM", std::string("LOGO\0\0\0\0", 8), 234},
        {"SABCDEFGH.FMEM_012.SFM", "FMEM_012.SFM", "ABCDEFGH", 12},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        SfmHeader h;
        h.fill(0xEE);
        ASSERT_TRUE(BuildSfmHeader(c.path, h, 0x01020304, 0x0A0B0C0D));
        EXPECT_EQ(Field(&h[0], 8), "QVX 0001");
        EXPECT_EQ(Field(&h[8], 12), c.tail);
        EXPECT_EQ(Field(&h[20], 8), c.name);
        const uint8_t fixed[] = {0x01, 0x04, 0x28, 0x01, 'Q',  'V',  'X',  0,    0,
                                 0,    0,    0,    0x01, 0x02, 0x03, 0x04, 0x24, 0,
                                 0,    0,    0x00, 0x00, 0,    0x10, 0x0A, 0x0B, 0x0C,
                                 0x0D, 0x0A, 0x0B, 0x0C, 0x0D, 0x01, 0};
        EXPECT_EQ(std::memcmp(&h[28], fixed, sizeof fixed), 0);
        EXPECT_EQ(ReadBe16(&h[62]), c.register62);
    }
    SfmHeader h;  // no frame-memory name (the naming tests hold the rule's cases)
    EXPECT_FALSE(BuildSfmHeader("MLOGO.FMEM_007.SFA", h, 0, 0));
}

std::vector<uint8_t> Frame(int format, const PictureFrame& picture, const char* name) {
    const FrameLayout& layout = *GetFrameLayout(format);
    SfmHeader header;
    EXPECT_TRUE(BuildSfmHeader(name, header, layout.lengthFrom48(), layout.planeBytes));
    return BuildSfmFile(header, layout, picture);
}

TEST(SfmFile, UncoveredFramesOfEveryFormat) {
    struct Case {
        int format;
        std::size_t size;
        uint32_t at40, plane, checksum;
    } cases[] = {{1, 942784, 942736, 471360, 0xFEFFFFE8},
                 {2, 1111744, 1111696, 555840, 0x01000017},
                 {3, 5188864, 5188816, 2594400, 0x01000017},
                 {4, 2307264, 2307216, 1153600, 0x01000017}};
    for (const Case& c : cases) {
        const auto file =
            Frame(c.format, MakeUncoveredFrame(*GetFrameLayout(c.format)), "MLOGO.FMEM_007.SFM");
        ASSERT_EQ(file.size(), c.size);
        EXPECT_EQ(ReadBe32(&file[40]), c.at40);
        EXPECT_EQ(ReadBe32(&file[52]), c.plane);
        EXPECT_EQ(ReadBe32(&file[56]), c.plane);
        EXPECT_EQ(ReadBe32(&file[36]), c.checksum) << c.format;
    }
    EXPECT_EQ(GetFrameLayout(0), nullptr);
    EXPECT_EQ(GetFrameLayout(5), nullptr);
}

TEST(SfmFile, Uncovered480iLinesAndGaps) {
    const auto file = Frame(1, MakeUncoveredFrame(*GetFrameLayout(1)), "MLOGO.FMEM_001.SFM");
    // Four samples of 64 (luma), of 512 (chroma).
    const uint8_t four[2][5] = {{0x10, 0x04, 0x01, 0x00, 0x40}, {0x80, 0x20, 0x08, 0x02, 0x00}};
    for (int p = 0; p < 2; ++p) {
        std::vector<uint8_t> line(60, 0), plane;  // 60 lead-in zeros, then 720 samples
        for (int i = 0; i < 180; ++i) line.insert(line.end(), four[p], four[p] + 5);
        for (int i = 0; i < 487; ++i) {
            plane.insert(plane.end(), line.begin(), line.end());
            if (i == 243) plane.resize(plane.size() + 2880, 0);  // after field 1's 244 lines
        }
        plane.resize(plane.size() + 960, 0);
        ASSERT_EQ(plane.size(), 471360u);
        EXPECT_TRUE(std::equal(plane.begin(), plane.end(), file.begin() + 64 + p * 471360)) << p;
    }
}

PictureFrame Varied(const FrameLayout& layout, unsigned seed) {
    PictureFrame frame = MakeUncoveredFrame(layout);
    std::mt19937 random(seed);
    for (uint16_t& y : frame.luma) y = static_cast<uint16_t>(64 + random() % 877);
    for (uint16_t& c : frame.chroma) c = static_cast<uint16_t>(64 + random() % 897);
    return frame;
}

// The checksum's plain rule, one byte at a time: byte i from offset 48 is
// XORed into the word at bits 24 - 8 * (i mod 4).
uint32_t ByteRule(const uint8_t* bytes, std::size_t size) {
    uint32_t word = 0;
    for (std::size_t i = 0; i < size; ++i) word ^= uint32_t{bytes[i]} << (24 - 8 * (i % 4));
    return word;
}

TEST(SfmFile, TheWordWiseChecksumIsTheByteRule) {
    for (int format = 1; format <= 4; ++format) {
        const auto file =
            Frame(format, Varied(*GetFrameLayout(format), 11), "MVARIED.FMEM_321.SFM");
        EXPECT_EQ(ReadBe32(&file[36]), ByteRule(&file[48], file.size() - 48)) << format;
    }
    // Random bytes of lengths around the word-wise blocks, partial last words included.
    std::mt19937 random(3);
    for (std::size_t size : {0u, 1u, 3u, 4u, 11u, 31u, 32u, 33u, 63u, 65u, 1000u, 65541u}) {
        std::vector<uint8_t> bytes(size);
        for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
        const uint32_t byByte = ByteRule(bytes.data(), size);
        EXPECT_EQ(ComputeSfmChecksum(bytes.data(), size), byByte) << size;
        // Cut anywhere, the parts' contributions XOR to the whole's.
        for (int cuts = 1; cuts <= 4 && size > 0; ++cuts) {
            std::vector<std::size_t> at{0, size};
            for (int k = 0; k < cuts; ++k) at.push_back(random() % size);
            std::sort(at.begin(), at.end());
            uint32_t parts = 0;
            for (std::size_t k = 0; k + 1 < at.size(); ++k) {
                parts ^= SfmChecksumAt(at[k], &bytes[at[k]], at[k + 1] - at[k]);
            }
            EXPECT_EQ(parts, byByte) << size << " in " << cuts + 1 << " parts";
        }
    }
}

TEST(SfmFile, FieldsHoldEvenThenOddLinesAndDecodeBack) {
    testing::TempDir dir;
    for (int format = 1; format <= 4; ++format) {
        const FrameLayout& layout = *GetFrameLayout(format);
        const std::string path = dir.File("MPIC.FMEM_001.SFM");
        SfmHeader header;
        ASSERT_TRUE(BuildSfmHeader(path, header, layout.lengthFrom48(), layout.planeBytes));
        const PictureFrame frame = Varied(layout, static_cast<unsigned>(format));
        ASSERT_TRUE(WriteSfmFile(path, header, layout, frame));
        PictureFrame back;
        ASSERT_TRUE(DecodeSfmPicture(testing::ReadBytes(path), layout, back));
        EXPECT_EQ(back.luma, frame.luma) << format;
        EXPECT_EQ(back.chroma, frame.chroma) << format;
    }
    // Frame line 1 is the first line of field 2 in 1080, the second line in 720P.
    for (auto [format, secondLineAt] : {std::pair{3, 64 + 540 * 2400}, std::pair{4, 64 + 1600}}) {
        PictureFrame frame = MakeUncoveredFrame(*GetFrameLayout(format));
        frame.lumaLine(1)[0] = 1000;
        const auto file = Frame(format, frame, "MF.FMEM_001.SFM");
        EXPECT_EQ((file[secondLineAt] << 2) | (file[secondLineAt + 1] >> 6), 1000) << format;
    }
}

}  // namespace
}  // namespace fmconv
