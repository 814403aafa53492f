#include "fmfiles/containers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "fmfiles/register_file.h"
#include "platform/files.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

class ContainersTest : public ::testing::Test {
  protected:
    TempDir src, dst;
    platform::FixedFreeSpaceProbe plenty{int64_t{1} << 40};
    ConversionContext ctx;

    void SetUp() override {
        ctx.freeSpace = &plenty;
        ctx.copyFile = platform::CopyWholeFile;
    }

    // A frame-like file whose bytes count up, so that any shift shows.
    std::vector<uint8_t> Frame(std::size_t size = 1000) {
        std::vector<uint8_t> bytes(size);
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + 3);
        return bytes;
    }
};

TEST_F(ContainersTest, PackingAppendsTheTrailerAndAnswersTheBareName) {
    const auto frame = Frame();
    WriteBytes(src.File("MLOGO.FMEM_001.SFM"), frame);
    WriteBytes(dst.File("F0007.SF1"), {1, 2, 3});  // replaced silently
    const ContainerResult r = PackRegisterFile(src.path(), "MLOGO.FMEM_001.SFM", dst.path(), 7,
                                               RegisterKind::kSf1, PackVariant::kPlain, ctx);
    EXPECT_EQ(r.text, "F0007.SF1");
    const auto packed = ReadBytes(dst.File("F0007.SF1"));
    ASSERT_EQ(packed.size(), frame.size() + 304);
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), packed.begin()));
    const uint8_t* t = packed.data() + frame.size();
    for (int i = 0; i < 256; ++i) ASSERT_EQ(t[i], 0);
    EXPECT_EQ(std::memcmp(t + 256, "SFM1\0\0\0\0MLOGO.FMEM_001.SFM", 26), 0);
    for (int i = 282; i < 300; ++i) ASSERT_EQ(t[i], 0);
    EXPECT_EQ(std::memcmp(t + 300, "VVVV", 4), 0);

    // Unpacking gives back the very same bytes under the inner name.
    TempDir out;
    const ContainerResult unpacked =
        UnpackRegisterFile(dst.path(), "F0007.SF1", out.path(), UnpackVariant::kTrailer, ctx);
    EXPECT_EQ(unpacked.text, "MLOGO.FMEM_001.SFM");
    EXPECT_EQ(ReadBytes(out.File("MLOGO.FMEM_001.SFM")), frame);
}

TEST_F(ContainersTest, TheTemporaryVariantDropsTmpAndTestsNoNumber) {
    WriteBytes(src.File("MLOGO.FMEM_001.SFM.TMP"), Frame(64));
    const ContainerResult r =
        PackRegisterFile(src.path(), "MLOGO.FMEM_001.SFM.TMP", dst.path(), 10000,
                         RegisterKind::kSf1, PackVariant::kTemporary, ctx);
    EXPECT_EQ(r.text, "F10000.SF1");
    const auto packed = ReadBytes(dst.File("F10000.SF1"));
    RegisterTrailer t;
    std::memcpy(t.data(), packed.data() + 64, 304);
    EXPECT_EQ(TrailerInnerName(t), "MLOGO.FMEM_001.SFM");
}

TEST_F(ContainersTest, RegisterNumber10000IsRefusedAndNothingWritten) {
    WriteBytes(src.File("MLOGO.FMEM_001.SFM"), Frame());
    for (RegisterKind kind : {RegisterKind::kSf1, RegisterKind::kSf3}) {
        const ContainerResult r = PackRegisterFile(src.path(), "MLOGO.FMEM_001.SFM", dst.path(),
                                                   10000, kind, PackVariant::kPlain, ctx);
        EXPECT_TRUE(r.registerNumberRefused);
        EXPECT_EQ(r.text, "");
    }
    EXPECT_TRUE(platform::ListDirectory(dst.path(), "sf1").empty());
    EXPECT_TRUE(platform::ListDirectory(dst.path(), "sf3").empty());
}

TEST_F(ContainersTest, Sf3PackingAnswersTheListItemAndUnpackingTrustsTheItem) {
    WriteBytes(src.File("MLOGO.FMEM_007.SFA"), Frame());
    const ContainerResult r = PackRegisterFile(src.path(), "MLOGO.FMEM_007.SFA", dst.path(), 7,
                                               RegisterKind::kSf3, PackVariant::kPlain, ctx);
    EXPECT_EQ(r.text, "F0007.SF3(MLOGO.FMEM_007.SFA)");
    TempDir out;
    const ContainerResult u = UnpackRegisterFile(dst.path(), "F0007.SF3(SOTHER.FMEM_009.SFA)",
                                                 out.path(), UnpackVariant::kListItem, ctx);
    EXPECT_EQ(u.text, "SOTHER.FMEM_009.SFA");
    EXPECT_EQ(ReadBytes(out.File("SOTHER.FMEM_009.SFA")), Frame());
}

TEST_F(ContainersTest, RenumberingKeepsTheEmbeddedFrame) {
    std::vector<uint8_t> file = Frame();
    const RegisterTrailer old = BuildRegisterTrailer("MLOGO.FMEM_001.SFM");
    file.insert(file.end(), old.begin(), old.end());
    WriteBytes(src.File("F0003.SF1"), file);
    struct Case {
        int32_t number;
        const char* item;
        const char* fileName;
        const char* inner;
    } cases[] = {{1000, "F1000.SF1(MLOGO.FMEM1000.SFM)", "F1000.SF1", "MLOGO.FMEM1000.SFM"},
                 {12, "F0012.SF1(MLOGO.FMEM_012.SFM)", "F0012.SF1", "MLOGO.FMEM_012.SFM"}};
    for (const Case& c : cases) {
        const ContainerResult r = RenumberRegisterFile(src.path(), "F0003.SF1(MLOGO.FMEM_001.SFM)",
                                                       dst.path(), c.number, ctx);
        EXPECT_EQ(r.text, c.item);
        const auto out = ReadBytes(dst.File(c.fileName));
        ASSERT_EQ(out.size(), file.size());
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + 1000, file.begin()));
        RegisterTrailer t;
        std::memcpy(t.data(), out.data() + 1000, 304);
        EXPECT_TRUE(IsValidRegisterTrailer(t));
        EXPECT_EQ(TrailerInnerName(t), c.inner);
    }
    // An SF3 item names an SF3 target; anything but sfm inside names an SFA.
    std::vector<uint8_t> sf3 = Frame(500);
    const RegisterTrailer t3 = BuildRegisterTrailer("SLOGO.FMEM0999.SFA");
    sf3.insert(sf3.end(), t3.begin(), t3.end());
    WriteBytes(src.File("f0001.sf3"), sf3);
    EXPECT_EQ(
        RenumberRegisterFile(src.path(), "f0001.sf3(SLOGO.FMEM0999.sfa)", dst.path(), 5, ctx).text,
        "F0005.SF3(SLOGO.FMEM_005.SFA)");
}

TEST_F(ContainersTest, FailurePathsGiveTheirResults) {
    WriteBytes(src.File("MA.FMEM_001.SFM"), Frame());
    WriteBytes(src.File("F0001.SF1"), Frame(100));                       // shorter than a trailer
    WriteBytes(src.File("F0002.SF1"), std::vector<uint8_t>(1000, 'A'));  // no trailer at all
    std::vector<uint8_t> hostile = Frame();
    const RegisterTrailer escape = BuildRegisterTrailer("../escaped.SFM");
    hostile.insert(hostile.end(), escape.begin(), escape.end());
    WriteBytes(src.File("F0003.SF1"), hostile);

    // A missing source: its length is unknown, so the space test gives up quietly.
    EXPECT_EQ(PackRegisterFile(src.path(), "missing.SFM", dst.path(), 1, RegisterKind::kSf1,
                               PackVariant::kPlain, ctx)
                  .text,
              "");
    EXPECT_EQ(
        UnpackRegisterFile(src.path(), "missing.SF1", dst.path(), UnpackVariant::kTrailer, ctx)
            .text,
        "");
    // Shorter than a trailer: the name reads empty and nothing is written.
    EXPECT_EQ(
        UnpackRegisterFile(src.path(), "F0001.SF1", dst.path(), UnpackVariant::kTrailer, ctx).text,
        "");
    // No trailer: the last 304 bytes are cut all the same, and the name is
    // whatever stands at the name's place.
    const ContainerResult none =
        UnpackRegisterFile(src.path(), "F0002.SF1", dst.path(), UnpackVariant::kTrailer, ctx);
    EXPECT_EQ(none.text, std::string(32, 'A'));
    EXPECT_EQ(ReadBytes(dst.File(none.text)).size(), 696u);
    // A name that would lead out of the destination is refused.
    EXPECT_EQ(
        UnpackRegisterFile(src.path(), "F0003.SF1", dst.path(), UnpackVariant::kTrailer, ctx).text,
        "");
    EXPECT_FALSE(testing::FileExists(src.path() + "/../escaped.SFM"));

    // Out of space: the text, and nothing written.
    platform::FixedFreeSpaceProbe little(999);
    ctx.freeSpace = &little;
    EXPECT_EQ(PackRegisterFile(src.path(), "MA.FMEM_001.SFM", dst.path(), 1, RegisterKind::kSf1,
                               PackVariant::kPlain, ctx)
                  .text,
              "HDD memory is not sufficient!");
    platform::FixedFreeSpaceProbe unknown(-1);
    ctx.freeSpace = &unknown;
    EXPECT_EQ(PackRegisterFile(src.path(), "MA.FMEM_001.SFM", dst.path(), 1, RegisterKind::kSf1,
                               PackVariant::kPlain, ctx)
                  .text,
              "");
    EXPECT_FALSE(testing::FileExists(dst.File("F0001.SF1")));
    ctx.freeSpace = &plenty;

    // The copy fails: its own outcome, naming the target.
    ctx.copyFile = [](const std::string&, const std::string&) { return false; };
    const ContainerResult copy = PackRegisterFile(src.path(), "MA.FMEM_001.SFM", dst.path(), 4,
                                                  RegisterKind::kSf1, PackVariant::kPlain, ctx);
    EXPECT_EQ(copy.copyFailedTarget, dst.File("F0004.SF1"));
    // The copy "succeeds" but the target cannot be reopened: empty text.
    ctx.copyFile = [](const std::string&, const std::string&) { return true; };
    const ContainerResult reopen = PackRegisterFile(src.path(), "MA.FMEM_001.SFM", dst.path(), 5,
                                                    RegisterKind::kSf1, PackVariant::kPlain, ctx);
    EXPECT_EQ(reopen.text, "");
    EXPECT_FALSE(reopen.copyFailedTarget.has_value());
}

}  // namespace
}  // namespace fmconv
