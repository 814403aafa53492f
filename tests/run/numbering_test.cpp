#include "run/numbering.h"

#include <gtest/gtest.h>

#include "fmfiles/register_file.h"
#include "support/recording_reporter.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::RecordingReporter;
using testing::TempDir;

constexpr auto kSfm = FrameFileKind::kSfm, kSfa = FrameFileKind::kSfa;
constexpr auto kSf1 = RegisterKind::kSf1, kSf3 = RegisterKind::kSf3;

void WriteRegisterFile(const TempDir& dir, const std::string& name, const std::string& inner) {
    std::vector<uint8_t> bytes(100, 0x55);
    const RegisterTrailer t = BuildRegisterTrailer(inner);
    bytes.insert(bytes.end(), t.begin(), t.end());
    testing::WriteBytes(dir.File(name), bytes);
}

TEST(Numbering, NextFrameMemoryNumberReadsTheTailOfEachNameAndRefusesATakenName) {
    struct Case {
        std::vector<std::string> files;
        FrameFileKind kind;
        std::vector<std::string> selection;
        int32_t next;
        std::string message;
    } cases[] = {
        {{}, kSfm, {}, 1, ""},
        {{}, kSfa, {}, 1, ""},
        {{"SABC.FMEM0999.SFM", "MABC.FMEM_010.SFM"}, kSfm, {}, 1000, ""},
        {{"X.FMEMabcd.SFM"}, kSfm, {}, 1, ""},
        {{"MA.FMEM_041.sfa", "MA.FMEM1500.SFM"}, kSfa, {}, 42, ""},
        {{"MA.FMEM1500.SFM", "MB.FMEM_002.SFM"}, kSfm, {}, 1501, ""},
        {{"MLOGO.FMEM_001.SFM"}, kSfm, {"a.tga", "logo.bmp"}, -4,
         "Already exist name [LOGO] in [MLOGO.FMEM_001.SFM]"},
        // The base is cut to eight characters before it is compared.
        {{"SLongPict.FMEM_001.SFM"}, kSfm, {"LongPictureName.tga"}, -4,
         "Already exist name [LongPict] in [SLongPict.FMEM_001.SFM]"},
        {{"SLongPict.FMEM_001.SFM"}, kSfa, {"LongPictureName.tga"}, 1, ""},
    };
    for (const Case& c : cases) {
        TempDir dir;
        for (const std::string& f : c.files) testing::WriteText(dir.File(f), "x");
        RecordingReporter r;
        EXPECT_EQ(NextFrameMemoryNumber(dir.path(), c.kind, c.selection, r), c.next) << c.next;
        EXPECT_EQ(r.messages, c.message.empty() ? std::vector<std::string>{}
                                                : std::vector<std::string>{c.message});
    }
}

// F numbers from the register files' own names; inner numbers from the last
// three digits of their trailers' names.
TEST(Numbering, RegisterFileAndInnerNumbers) {
    TempDir dir;
    RecordingReporter r;
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), kSf3), 1);
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), kSf1, {}, r), 1);
    EXPECT_EQ(CheckRegisterFileNames(dir.path(), kSf3, {}, r), 0);
    WriteRegisterFile(dir, "F0003.SF1", "MABC.FMEM1012.SFM");
    WriteRegisterFile(dir, "F0010.sf1", "MABC.FMEM_009.SFM");
    WriteRegisterFile(dir, "Fabcd.SF1", "MXYZ.FMEM_002.SFM");
    WriteRegisterFile(dir, "F0500.SF3", "MABC.FMEM_004.SFA");
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), kSf1), 11);
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), kSf3), 501);
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), kSf1, {}, r), 13);
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), kSf3, {}, r), 5);
    EXPECT_TRUE(r.messages.empty());
}

TEST(Numbering, RegisterScansRefuseUnreadableFilesAndClashes) {
    struct Case {
        const char* what;
        std::function<void(const TempDir&)> make;
        std::vector<std::string> selection;
        int32_t inner;
        std::string innerMessage;
        int32_t check;
        std::string checkMessage;
    } cases[] = {
        // clang-format off
        {"a folder that cannot be opened", [](const TempDir& d) { d.MakeDir("F0001.SF1"); },
         {}, -1, "Source file read error [F0001.SF1]", -1, "Source file read error [F0001.SF1]"},
        {"a file shorter than its trailer", [](const TempDir& d) { testing::WriteBytes(d.File("F0002.SF1"), std::vector<uint8_t>(303)); },
         {}, -2, "Source file read error [F0002.SF1]", -2, "Source file read error [F0002.SF1]"},
        {"wrong markers", [](const TempDir& d) { testing::WriteBytes(d.File("F0003.SF1"), std::vector<uint8_t>(400)); },
         {}, -3, "Source file format error [F0003.SF1]", -3, "Source file read error [F0003.SF1]"},
        {"a picture base that clashes with an inner name", [](const TempDir& d) { WriteRegisterFile(d, "F0004.SF1", "MLOGO.FMEM_001.SFM"); },
         {"logo.tga"}, -4, "Already exist name [LOGO] in [F0004.SF1]", 0, ""},
        {"a selected item whose second character on matches an inner name", [](const TempDir& d) { WriteRegisterFile(d, "F0005.SF1", "M0005.FMEM_001.SFM"); },
         {"F0005.SF1(M0005.FMEM_001.SFM)"}, 2, "", -4, "Destination file write error [F0005.SF1]"},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir dir;
        c.make(dir);
        RecordingReporter inner, check;
        EXPECT_EQ(NextInnerRegisterNumber(dir.path(), kSf1, c.selection, inner), c.inner);
        EXPECT_EQ(CheckRegisterFileNames(dir.path(), kSf1, c.selection, check), c.check);
        EXPECT_EQ(inner.messages.empty() ? "" : inner.messages[0], c.innerMessage);
        EXPECT_EQ(check.messages.empty() ? "" : check.messages[0], c.checkMessage);
        EXPECT_LE(inner.messages.size(), 1u);
        EXPECT_LE(check.messages.size(), 1u);
    }
}

}  // namespace
}  // namespace fmconv
