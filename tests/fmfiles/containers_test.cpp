// The register trailer, and the conversions that pack, unpack and renumber
// register files.
#include "fmfiles/containers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "fmfiles/register_file.h"
#include "platform/files.h"
#include "support/full_disk_files.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

TEST(RegisterTrailer, LayoutValidityAndTheInnerName) {
    const RegisterTrailer t = BuildRegisterTrailer("MLOGO.FMEM_001.SFM");
    const std::string want = std::string(256, '\0') + "SFM1" + std::string(4, '\0') +
                             "MLOGO.FMEM_001.SFM" + std::string(14 + 4, '\0') + "VVVV";
    EXPECT_EQ(std::string(t.begin(), t.end()), want);
    EXPECT_TRUE(IsValidRegisterTrailer(t));
    EXPECT_EQ(TrailerInnerName(t), "MLOGO.FMEM_001.SFM");

    // 32 characters or more fill the field without a terminator.
    const std::string name32 = "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";
    const RegisterTrailer longName = BuildRegisterTrailer(name32 + "6789");
    EXPECT_EQ(TrailerInnerName(longName), name32);
    EXPECT_EQ(longName[296], 0);

    for (std::size_t at : {256u, 259u, 300u, 303u}) {
        RegisterTrailer broken = t;
        broken[at] ^= 0x20;
        EXPECT_FALSE(IsValidRegisterTrailer(broken)) << at;
        EXPECT_EQ(TrailerInnerName(broken), "MLOGO.FMEM_001.SFM");  // read all the same
    }
}

TEST(RegisterTrailer, ReadingTakesTheLast304Bytes) {
    testing::TempDir dir;
    std::vector<uint8_t> file(1000, 0xAB);
    const RegisterTrailer t = BuildRegisterTrailer("SABC.FMEM_002.SFA");
    file.insert(file.end(), t.begin(), t.end());
    testing::WriteBytes(dir.File("F0001.SF3"), file);
    testing::WriteBytes(dir.File("short.SF1"), std::vector<uint8_t>(303, 1));
    dir.MakeDir("folder.SF1");
    for (TrailerOpenMode mode : {TrailerOpenMode::kRead, TrailerOpenMode::kReadWrite}) {
        const TrailerRead read = ReadRegisterTrailer(dir.File("F0001.SF3"), mode);
        EXPECT_EQ(read.status, TrailerReadStatus::kOk);
        EXPECT_EQ(read.trailer, t);
    }
    EXPECT_EQ(ReadRegisterTrailer(dir.File("short.SF1"), TrailerOpenMode::kReadWrite).status,
              TrailerReadStatus::kShort);
    EXPECT_EQ(ReadRegisterTrailer(dir.File("missing.SF1"), TrailerOpenMode::kRead).status,
              TrailerReadStatus::kOpenFailed);
    EXPECT_EQ(ReadRegisterTrailer(dir.File("folder.SF1"), TrailerOpenMode::kReadWrite).status,
              TrailerReadStatus::kOpenFailed);
}

class ContainersTest : public ::testing::Test {
  protected:
    TempDir src, dst;
    platform::FixedFreeSpaceProbe plenty{int64_t{1} << 40};
    ConversionContext ctx;

    void SetUp() override { ctx.freeSpace = &plenty; }
    // Bytes that count up, so that any shift shows; a trailer when named.
    static std::vector<uint8_t> Frame(std::size_t size, const std::string& inner = "") {
        std::vector<uint8_t> bytes(size);
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + 3);
        if (!inner.empty()) {
            const RegisterTrailer t = BuildRegisterTrailer(inner);
            bytes.insert(bytes.end(), t.begin(), t.end());
        }
        return bytes;
    }
    static std::string InnerName(const std::vector<uint8_t>& file) {
        RegisterTrailer t;
        std::memcpy(t.data(), file.data() + file.size() - 304, 304);
        return IsValidRegisterTrailer(t) ? TrailerInnerName(t) : "(invalid)";
    }
    ContainerResult Pack(const std::string& name, int32_t f, RegisterKind kind,
                         PackVariant variant = PackVariant::kPlain) {
        return PackRegisterFile(src.path(), name, dst.path(), f, kind, variant, ctx);
    }
    std::string Unpack(const TempDir& from, const std::string& item, const TempDir& to,
                       UnpackVariant variant = UnpackVariant::kTrailer) {
        return UnpackRegisterFile(from.path(), item, to.path(), variant, ctx).text;
    }
};

TEST_F(ContainersTest, PackingAndUnpackingAreExactOpposites) {
    WriteBytes(src.File("MLOGO.FMEM_001.SFM"), Frame(1000));
    WriteBytes(dst.File("F0007.SF1"), {1, 2, 3});  // replaced silently
    EXPECT_EQ(Pack("MLOGO.FMEM_001.SFM", 7, RegisterKind::kSf1).text, "F0007.SF1");
    const auto packed = ReadBytes(dst.File("F0007.SF1"));
    EXPECT_EQ(packed, Frame(1000, "MLOGO.FMEM_001.SFM"));
    TempDir out;
    EXPECT_EQ(Unpack(dst, "F0007.SF1", out), "MLOGO.FMEM_001.SFM");
    EXPECT_EQ(ReadBytes(out.File("MLOGO.FMEM_001.SFM")), Frame(1000));

    // SF3 answers the whole list item; unpacking it trusts the item's name.
    WriteBytes(src.File("MLOGO.FMEM_007.SFA"), Frame(500));
    EXPECT_EQ(Pack("MLOGO.FMEM_007.SFA", 7, RegisterKind::kSf3).text,
              "F0007.SF3(MLOGO.FMEM_007.SFA)");
    EXPECT_EQ(Unpack(dst, "F0007.SF3(SOTHER.FMEM_009.SFA)", out, UnpackVariant::kListItem),
              "SOTHER.FMEM_009.SFA");
    EXPECT_EQ(ReadBytes(out.File("SOTHER.FMEM_009.SFA")), Frame(500));
}

TEST_F(ContainersTest, RegisterNumbersAbove9999AndTheTemporaryVariant) {
    WriteBytes(src.File("MLOGO.FMEM_001.SFM"), Frame(64));
    WriteBytes(src.File("MLOGO.FMEM_001.SFM.TMP"), Frame(64));
    for (RegisterKind kind : {RegisterKind::kSf1, RegisterKind::kSf3}) {
        const ContainerResult r = Pack("MLOGO.FMEM_001.SFM", 10000, kind);
        EXPECT_TRUE(r.registerNumberRefused);
        EXPECT_EQ(r.text, "");
    }
    EXPECT_TRUE(platform::ListDirectory(dst.path(), "sf1").empty());
    // The picture run's variant tests no number and leaves ".TMP" out of the name.
    EXPECT_EQ(
        Pack("MLOGO.FMEM_001.SFM.TMP", 10000, RegisterKind::kSf1, PackVariant::kTemporary).text,
        "F10000.SF1");
    EXPECT_EQ(InnerName(ReadBytes(dst.File("F10000.SF1"))), "MLOGO.FMEM_001.SFM");
}

TEST_F(ContainersTest, RenumberingKeepsTheEmbeddedFrame) {
    WriteBytes(src.File("F0003.SF1"), Frame(1000, "MLOGO.FMEM_001.SFM"));
    WriteBytes(src.File("f0001.sf3"), Frame(500, "SLOGO.FMEM0999.SFA"));
    struct Case {
        const char* item;
        int32_t number;
        const char* result;
    } cases[] = {
        {"F0003.SF1(MLOGO.FMEM_001.SFM)", 1000, "F1000.SF1(MLOGO.FMEM1000.SFM)"},
        {"F0003.SF1(MLOGO.FMEM_001.SFM)", 12, "F0012.SF1(MLOGO.FMEM_012.SFM)"},
        {"f0001.sf3(SLOGO.FMEM0999.sfa)", 5, "F0005.SF3(SLOGO.FMEM_005.SFA)"},
    };
    for (const Case& c : cases) {
        const ContainerResult r =
            RenumberRegisterFile(src.path(), c.item, dst.path(), c.number, ctx);
        ASSERT_EQ(r.text, c.result);
        const std::string file = r.text.substr(0, 9), inner = r.text.substr(10, r.text.size() - 11);
        const auto out = ReadBytes(dst.File(file));
        const std::vector<uint8_t> body = Frame(out.size() - 304);
        EXPECT_TRUE(std::equal(body.begin(), body.end(), out.begin()));
        EXPECT_EQ(InnerName(out), inner);
    }
}

TEST_F(ContainersTest, FailurePathsGiveTheirResults) {
    WriteBytes(src.File("MA.FMEM_001.SFM"), Frame(1000));
    WriteBytes(src.File("F0001.SF1"), Frame(100));                       // shorter than a trailer
    WriteBytes(src.File("F0002.SF1"), std::vector<uint8_t>(1000, 'A'));  // no trailer at all
    WriteBytes(src.File("F0003.SF1"), Frame(1000, "../escaped.SFM"));
    // A missing source: its length is unknown, so the space test gives up quietly.
    EXPECT_EQ(Pack("missing.SFM", 1, RegisterKind::kSf1).text, "");
    EXPECT_EQ(Unpack(src, "missing.SF1", dst), "");
    EXPECT_EQ(Unpack(src, "F0001.SF1", dst), "");  // the name reads empty
    // No trailer: the last 304 bytes go all the same, the name is what stands there.
    EXPECT_EQ(Unpack(src, "F0002.SF1", dst), std::string(32, 'A'));
    EXPECT_EQ(ReadBytes(dst.File(std::string(32, 'A'))).size(), 696u);
    EXPECT_EQ(Unpack(src, "F0003.SF1", dst), "");  // a name that leads out of the destination
    EXPECT_FALSE(testing::FileExists(src.path() + "/../escaped.SFM"));

    platform::FixedFreeSpaceProbe little(999), unknown(-1);
    ctx.freeSpace = &little;
    EXPECT_EQ(Pack("MA.FMEM_001.SFM", 1, RegisterKind::kSf1).text, "HDD memory is not sufficient!");
    ctx.freeSpace = &unknown;
    EXPECT_EQ(Pack("MA.FMEM_001.SFM", 1, RegisterKind::kSf1).text, "");
    EXPECT_FALSE(testing::FileExists(dst.File("F0001.SF1")));
    ctx.freeSpace = &plenty;

    // A disk that fills up during the copy, or before the trailer: the
    // copy failure names the target, and nothing is left under its name.
    for (uint64_t room : {500, 1000, 1303}) {
        testing::FullDiskFiles full(room);
        ctx.files = &full;
        const ContainerResult r = Pack("MA.FMEM_001.SFM", 4, RegisterKind::kSf1);
        EXPECT_EQ(r.copyFailedTarget, dst.File("F0004.SF1")) << room;
        EXPECT_FALSE(testing::FileExists(dst.File("F0004.SF1"))) << room;
    }
    ctx.files = &platform::SystemOutputFiles();
}

}  // namespace
}  // namespace fmconv
