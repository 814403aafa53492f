#include "fmfiles/sfm_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "base/bytes.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

std::string HeaderText(const SfmHeader& h, std::size_t offset, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(&h[offset]), size);
}

TEST(SfmHeader, FieldsReadBackFromTheName) {
    for (const char* path : {"C:\\OUT\\MLOGO.FMEM_007.SFM", "C:\\OUT\\MLOGO.FMEM_007.SFM.TMP",
                             "/out/MLOGO.FMEM_007.SFM"}) {
        SCOPED_TRACE(path);
        SfmHeader h;
        h.fill(0xEE);
        ASSERT_TRUE(BuildSfmHeader(path, h, 0x01020304, 0x0A0B0C0D));
        EXPECT_EQ(HeaderText(h, 0, 8), "QVX 0001");
        EXPECT_EQ(HeaderText(h, 8, 12), "FMEM_007.SFM");
        EXPECT_EQ(HeaderText(h, 20, 8), std::string("LOGO\0\0\0\0", 8));
        const uint8_t fixed[] = {0x01, 0x04, 0x28, 0x01, 'Q', 'V', 'X', 0, 0, 0, 0, 0};
        EXPECT_EQ(std::memcmp(&h[28], fixed, sizeof fixed), 0);
        EXPECT_EQ(ReadBe32(&h[40]), 0x01020304u);
        EXPECT_EQ(h[44], 0x24);
        EXPECT_EQ(h[48], 0x00);  // picture frame
        EXPECT_EQ(h[49], 0x00);
        EXPECT_EQ(h[51], 0x10);
        EXPECT_EQ(ReadBe32(&h[52]), 0x0A0B0C0Du);
        EXPECT_EQ(ReadBe32(&h[56]), 0x0A0B0C0Du);
        EXPECT_EQ(h[60], 0x01);
        EXPECT_EQ(h[62], 0x00);
        EXPECT_EQ(h[63], 0x07);
        for (int i : {35, 45, 46, 47, 50, 61}) EXPECT_EQ(h[i], 0) << i;
    }
}

TEST(SfmHeader, FourDigitNumbersKeepTheirLastThreeDigits) {
    SfmHeader h;
    ASSERT_TRUE(BuildSfmHeader("MLOGO.FMEM1234.SFM", h, 0, 0));
    EXPECT_EQ(HeaderText(h, 8, 12), "FMEM1234.SFM");
    EXPECT_EQ(h[62], 0x00);
    EXPECT_EQ(h[63], 0xEA);  // 234
}

TEST(SfmHeader, AnEightCharacterNameFillsItsFieldCompletely) {
    SfmHeader h;
    ASSERT_TRUE(BuildSfmHeader("SABCDEFGH.FMEM_012.SFM", h, 0, 0));
    EXPECT_EQ(HeaderText(h, 20, 8), "ABCDEFGH");
    EXPECT_EQ(h[28], 0x01);
}

TEST(SfmHeader, TextsThatAreNoFrameMemoryName) {
    for (const char* path : {"MLOGO.FMEM_07.SFM", "LOGO.SFM", "mlogo.fmem_007.sfm",
                             "xlogo.FMEM_007.SFM", "MLOGO.FMEM_007.SFA", "MLOGO.FMEM_007.SFM.tmp",
                             "MLOGO.FMEMx007.SFM.TMP.TMP", ".FMEM_007.SFM", ""}) {
        SfmHeader h;
        EXPECT_FALSE(BuildSfmHeader(path, h, 0, 0)) << path;
    }
}

TEST(SfmFile, LayoutSizesOfTheFourFormats) {
    struct Case {
        int format;
        uint32_t plane, at40, size;
    } cases[] = {{1, 471360, 942736, 942784},
                 {2, 555840, 1111696, 1111744},
                 {3, 2594400, 5188816, 5188864},
                 {4, 1153600, 2307216, 2307264}};
    for (const Case& c : cases) {
        const FrameLayout& l = *GetFrameLayout(c.format);
        EXPECT_EQ(l.planeBytes, c.plane);
        EXPECT_EQ(l.frameLines() * l.lineBytes + l.gap1Bytes + l.gap2Bytes, c.plane);
        EXPECT_EQ(l.lineBytes - l.width * 10 / 8, l.leadInBytes);
        EXPECT_EQ(l.lengthFrom48(), c.at40);
        EXPECT_EQ(l.fileSize(), c.size);
    }
    EXPECT_EQ(GetFrameLayout(0), nullptr);
    EXPECT_EQ(GetFrameLayout(5), nullptr);
}

std::vector<uint8_t> UncoveredFile(int format, const char* name) {
    const FrameLayout& layout = *GetFrameLayout(format);
    SfmHeader header;
    EXPECT_TRUE(BuildSfmHeader(name, header, layout.lengthFrom48(), layout.planeBytes));
    return BuildSfmFile(header, layout, MakeUncoveredFrame(layout));
}

TEST(SfmFile, UncoveredFrameChecksums) {
    struct Case {
        int format;
        uint32_t checksum;
    } cases[] = {{1, 0xFEFFFFE8}, {2, 0x01000017}, {3, 0x01000017}, {4, 0x01000017}};
    for (const Case& c : cases) {
        const std::vector<uint8_t> file = UncoveredFile(c.format, "MLOGO.FMEM_007.SFM");
        EXPECT_EQ(ReadBe32(&file[36]), c.checksum) << c.format;
    }
}

TEST(SfmFile, A720PFrameHeader) {
    const std::vector<uint8_t> file = UncoveredFile(4, "MLOGO.FMEM_001.SFM");
    ASSERT_EQ(file.size(), 2307264u);
    const uint8_t at40[] = {0x00, 0x23, 0x34, 0x90};
    const uint8_t plane[] = {0x00, 0x11, 0x9A, 0x40, 0x00, 0x11, 0x9A, 0x40};
    EXPECT_EQ(std::memcmp(&file[40], at40, 4), 0);
    EXPECT_EQ(std::memcmp(&file[52], plane, 8), 0);
}

TEST(SfmFile, Uncovered480iLinesAndGaps) {
    const std::vector<uint8_t> file = UncoveredFile(1, "MLOGO.FMEM_001.SFM");
    const FrameLayout& l = *GetFrameLayout(1);
    const uint8_t black[] = {0x10, 0x04, 0x01, 0x00, 0x40};
    const uint8_t neutral[] = {0x80, 0x20, 0x08, 0x02, 0x00};
    auto checkLine = [&](std::size_t at, const uint8_t* pattern) {
        for (std::size_t i = 0; i < 60; ++i) ASSERT_EQ(file[at + i], 0) << at;
        for (std::size_t i = 0; i < 180 * 5; ++i)
            ASSERT_EQ(file[at + 60 + i], pattern[i % 5]) << at;
    };
    for (int p = 0; p < 2; ++p) {
        const std::size_t plane = 64 + p * std::size_t{l.planeBytes};
        const uint8_t* pattern = p == 0 ? black : neutral;
        for (uint32_t i = 0; i < 244; ++i) checkLine(plane + i * 960, pattern);
        const std::size_t gap1 = plane + 244 * 960;
        for (std::size_t i = 0; i < 2880; ++i) ASSERT_EQ(file[gap1 + i], 0);
        for (uint32_t i = 0; i < 243; ++i) checkLine(gap1 + 2880 + i * 960, pattern);
        const std::size_t gap2 = gap1 + 2880 + 243 * 960;
        for (std::size_t i = 0; i < 960; ++i) ASSERT_EQ(file[gap2 + i], 0);
        EXPECT_EQ(gap2 + 960, plane + l.planeBytes);
    }
}

uint32_t ChecksumByteByByte(const std::vector<uint8_t>& file) {
    SfmChecksum sum;
    for (std::size_t i = 48; i < file.size(); ++i) sum.Put(file[i]);
    return sum.word();
}

PictureFrame VariedFrame(const FrameLayout& layout, unsigned seed) {
    PictureFrame frame = MakeUncoveredFrame(layout);
    std::mt19937 random(seed);
    for (uint16_t& y : frame.luma) y = static_cast<uint16_t>(64 + random() % 877);
    for (uint16_t& c : frame.chroma) c = static_cast<uint16_t>(64 + random() % 897);
    return frame;
}

TEST(SfmFile, WordWiseChecksumEqualsTheByteRule) {
    for (int format = 1; format <= 4; ++format) {
        const FrameLayout& layout = *GetFrameLayout(format);
        SfmHeader header;
        ASSERT_TRUE(BuildSfmHeader("MVARIED.FMEM_321.SFM", header, layout.lengthFrom48(),
                                   layout.planeBytes));
        const std::vector<uint8_t> file = BuildSfmFile(header, layout, VariedFrame(layout, 11));
        EXPECT_EQ(ReadBe32(&file[36]), ChecksumByteByByte(file)) << format;
    }
    // Sizes that are not a multiple of eight take the lane-by-lane tail.
    std::vector<uint8_t> bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    SfmChecksum sum;
    for (uint8_t b : bytes) sum.Put(b);
    EXPECT_EQ(ComputeSfmChecksum(bytes.data(), bytes.size()), sum.word());
}

TEST(SfmFile, ChangingAnyByteFrom48OnChangesTheChecksum) {
    const std::vector<uint8_t> file = UncoveredFile(2, "MLOGO.FMEM_007.SFM");
    const uint32_t original = ComputeSfmChecksum(file.data() + 48, file.size() - 48);
    std::mt19937 random(3);
    for (int n = 0; n < 200; ++n) {
        std::vector<uint8_t> changed = file;
        const std::size_t at = 48 + random() % (file.size() - 48);
        changed[at] ^= static_cast<uint8_t>(1 + random() % 255);
        EXPECT_NE(ComputeSfmChecksum(changed.data() + 48, changed.size() - 48), original) << at;
    }
}

TEST(SfmFile, WrittenFileDecodesToTheSamePicture) {
    testing::TempDir dir;
    for (int format = 1; format <= 4; ++format) {
        const FrameLayout& layout = *GetFrameLayout(format);
        const std::string path = dir.File("MPIC.FMEM_001.SFM");
        SfmHeader header;
        ASSERT_TRUE(BuildSfmHeader(path, header, layout.lengthFrom48(), layout.planeBytes));
        const PictureFrame frame = VariedFrame(layout, static_cast<unsigned>(format));
        ASSERT_TRUE(WriteSfmFile(path, header, layout, frame));
        const std::vector<uint8_t> bytes = testing::ReadBytes(path);
        ASSERT_EQ(bytes.size(), layout.fileSize());
        PictureFrame back;
        ASSERT_TRUE(DecodeSfmPicture(bytes, layout, back));
        EXPECT_EQ(back.luma, frame.luma) << format;
        EXPECT_EQ(back.chroma, frame.chroma) << format;
    }
    EXPECT_FALSE(WriteSfmFile(dir.File("no/such/MPIC.FMEM_001.SFM"), SfmHeader{},
                              *GetFrameLayout(4), MakeUncoveredFrame(*GetFrameLayout(4))));
}

TEST(SfmFile, InterlacedFieldsHoldEvenThenOddLines) {
    const FrameLayout& layout = *GetFrameLayout(3);
    PictureFrame frame = MakeUncoveredFrame(layout);
    for (uint32_t line = 0; line < frame.lines; ++line) frame.lumaLine(line)[0] = 100 + line % 2;
    SfmHeader header;
    ASSERT_TRUE(
        BuildSfmHeader("MF.FMEM_001.SFM", header, layout.lengthFrom48(), layout.planeBytes));
    const std::vector<uint8_t> file = BuildSfmFile(header, layout, frame);
    auto firstSample = [&](std::size_t at) { return (file[at] << 2) | (file[at + 1] >> 6); };
    EXPECT_EQ(firstSample(64), 100);                // field 1, frame line 0
    EXPECT_EQ(firstSample(64 + 539 * 2400), 100);   // field 1, frame line 1078
    EXPECT_EQ(firstSample(64 + 540 * 2400), 101);   // field 2, frame line 1
    EXPECT_EQ(firstSample(64 + 1079 * 2400), 101);  // field 2, frame line 1079
    EXPECT_EQ(file[64 + 1080 * 2400], 0);           // the closing gap
}

}  // namespace
}  // namespace fmconv
