#include "audio/sfa_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "audio/signal_format.h"
#include "audio_test_files.h"
#include "fmfiles/register_file.h"
#include "platform/free_space.h"
#include "names/disk_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

class SfaWriterTest : public ::testing::Test {
  protected:
    void SetUp() override { ResetAudioChannelSet(set); }
    // The same frame under any file name.
    std::vector<uint8_t> PutSfm(const std::string& name, int frameFormat) {
        const std::vector<uint8_t> bytes =
            testing::MakeVariedSfm(*GetFrameLayout(frameFormat), "MLOGO.FMEM_001.SFM", 1);
        testing::WriteBytes(dir.File(name), bytes);
        return bytes;
    }
    std::string Write(decltype(&WriteSfaFromSfm) writer, const std::string& source, uint32_t code,
                      int64_t freeBytes = int64_t{1} << 40) {
        platform::FixedFreeSpaceProbe probe(freeBytes);
        ctx.freeSpace = &probe;
        return writer(dir.path(), source, dir.path(), set, code, ctx);
    }
    testing::TempDir dir;
    AudioChannelSet set;
    ConversionContext ctx;
};

TEST_F(SfaWriterTest, A1080i5994FileHasItsSizeAndHeaderWhenTheDiskHoldsIt) {
    const std::vector<uint8_t> sfm = PutSfm("MLOGO.FMEM_001.SFM", kFrameFormat1080);
    EXPECT_EQ(Write(WriteSfaFromSfm, "MLOGO.FMEM_001.SFM", kSignal1080i5994, 6197568 - 1),
              kHddMemoryNotSufficient);
    ASSERT_EQ(Write(WriteSfaFromSfm, "MLOGO.FMEM_001.SFM", kSignal1080i5994, 6197568),
              "MLOGO.FMEM_001.SFA");
    const std::vector<uint8_t> f = testing::ReadBytes(dir.File("MLOGO.FMEM_001.SFA"));
    ASSERT_EQ(f.size(), 6197568u);
    // The SFM header but for the name from its 11th character, the byte-lane checksum
    // and bytes 40-59: size 6 197 520, 0x36, mark 0x81, code 4, the plane size twice.
    std::vector<uint8_t> header(sfm.begin(), sfm.begin() + 64);
    std::memcpy(&header[8], "_001.SFA\0\0\0\0", 12);
    std::fill_n(&header[36], 4, 0);
    for (std::size_t i = 48; i < f.size(); ++i) header[36 + (i - 48) % 4] += f[i];
    const uint8_t fixed[20] = {0x00, 0x5E, 0x91, 0x10, 0x36, 0,    0,    0,    0x81, 0x04,
                               0x00, 0x10, 0x00, 0x2F, 0x48, 0x80, 0x00, 0x2F, 0x48, 0x80};
    std::copy(std::begin(fixed), std::end(fixed), header.begin() + 40);
    EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 64), header);
    // No audio: the first luma and chroma words are blanking values.
    EXPECT_EQ(testing::PlainWordAt(f, 64 * 8), 0x040);
    EXPECT_EQ(testing::PlainWordAt(f, (64 + (f.size() - 64) / 2) * 8), 0x200);
}

TEST_F(SfaWriterTest, NamesAndTheSf3Trailer) {
    std::vector<uint8_t> sf1 = PutSfm("MLOGO.FMEM_009.SFM", kFrameFormat720p);
    const RegisterTrailer inner = BuildRegisterTrailer("MLOGO.FMEM_009.SFM");
    sf1.insert(sf1.end(), inner.begin(), inner.end());
    testing::WriteBytes(dir.File("F0009.SF1"), sf1);
    struct Case {
        decltype(&WriteSfaFromSfm) writer;
        const char* source;
        const char* sf3;  // "" for an SFA writer
        const char* sfa;
        const char* field;  // header bytes 8-19, zero-filled
    } cases[] = {
        // The field holds the name from its 11th character on: from FMEM on
        // for a name of eight characters, shifted for a shorter one.
        {WriteSfaFromSfm, "SABCDEFGH.FMEM0001.SFM", "", "SABCDEFGH.FMEM0001.SFA", "FMEM0001.SFA"},
        {WriteSf3FromSfm, "Sname.FMEM0001.SFM.TMP", "F0001.SF3", "Sname.FMEM0001.SFA", "0001.SFA"},
        {WriteSf3FromSfm, "MLOGO.FMEM_001.sfm.tmp", "F0001.SF3", "MLOGO.FMEM_001.SFA", "_001.SFA"},
        // From an SF1, the name inside it; the field from the SF1's own name.
        {WriteSfaFromSf1, "F0009.SF1", "", "MLOGO.FMEM_009.SFA", ""},
        {WriteSf3FromSf1, "F0009.SF1", "F0009.SF3", "MLOGO.FMEM_009.SFA", ""},
    };
    const std::size_t frameSize = 64 + 3718952;  // 720P/50
    std::vector<uint8_t> firstFrame;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        const bool sf3 = *c.sf3 != '\0';
        if (std::strstr(c.source, ".SF1") == nullptr) PutSfm(c.source, kFrameFormat720p);
        EXPECT_EQ(Write(c.writer, c.source, kSignal720p50),
                  sf3 ? std::string(c.sf3) + "(" + c.sfa + ")" : c.sfa);
        const std::vector<uint8_t> f = testing::ReadBytes(dir.File(sf3 ? c.sf3 : c.sfa));
        ASSERT_EQ(f.size(), frameSize + (sf3 ? 304 : 0));
        EXPECT_EQ(std::string(f.begin() + 8, f.begin() + 20),
                  std::string(c.field).append(12 - std::strlen(c.field), '\0'));
        // The same frame from an SFM and from the SFM inside an SF1.
        const std::vector<uint8_t> frame(f.begin() + 20, f.begin() + frameSize);
        if (firstFrame.empty()) firstFrame = frame;
        EXPECT_TRUE(frame == firstFrame);
        const RegisterTrailer trailer = BuildRegisterTrailer(c.sfa);  // ends an SF3
        EXPECT_TRUE(!sf3 || std::equal(trailer.begin(), trailer.end(), f.end() - 304));
    }
}

TEST(SfaChecksum, WordWiseEqualsTheByteLaneRule) {
    std::mt19937 random(3);
    for (std::size_t payload : {0u, 1u, 3u, 4u, 7u, 9u, 15u, 33u, 1000u, 65541u}) {
        std::vector<uint8_t> file(64 + payload);
        for (uint8_t& b : file) b = static_cast<uint8_t>(random());
        // Byte k: the low byte of the sum of the bytes at 48 + k, 52 + k, ...
        uint8_t lanes[4] = {};
        for (std::size_t i = 48; i < file.size(); ++i) lanes[(i - 48) % 4] += file[i];
        SfaChecksum(&file[36], payload);
        EXPECT_TRUE(std::equal(lanes, lanes + 4, &file[36])) << payload;
    }
}

// In 480i (field region 1) and 1080PsF/24 (field region 2) a region's lines
// end in the middle of a byte; the pad bytes after them continue the same
// word stream from that half byte: luma 0x040 words, chroma 0x200 words.
TEST(SfaRaster, PadWordsFollowTheLastLineAtItsHalfByte) {
    const struct {
        uint32_t code;
        std::size_t at;  // plane offset of the byte the lines end in
    } cases[] = {{kSignal480i5994, 282067}, {kSignal1080PsF24, 1932800 + 1935312}};
    for (const auto& c : cases) {
        const uint32_t plane = GetFrameByteSize(c.code, kFrameKindSfa) / 2;
        std::vector<uint8_t> frame(64 + 2 * std::size_t{plane});
        ASSERT_EQ(BuildSfaRaster(std::vector<uint8_t>(64, 0), frame, "MX.FMEM_001.SFA", c.code, {}),
                  0);
        const auto bytes = [&](std::size_t from) {
            return std::vector<uint8_t>(frame.begin() + 64 + from, frame.begin() + 64 + from + 5);
        };
        EXPECT_EQ(bytes(c.at), (std::vector<uint8_t>{0x01, 0x00, 0x40, 0x10, 0x04})) << c.code;
        EXPECT_EQ(bytes(plane + c.at), (std::vector<uint8_t>{0x08, 0x02, 0x00, 0x80, 0x20}))
            << c.code;
    }
}

}  // namespace
}  // namespace fmconv
