#include "run/numbering.h"

#include <gtest/gtest.h>

#include "fmfiles/register_file.h"
#include "support/recording_reporter.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

using testing::RecordingReporter;
using testing::TempDir;

void Touch(const TempDir& dir, const std::string& name) {
    testing::WriteText(dir.File(name), "x");
}

void WriteRegisterFile(const TempDir& dir, const std::string& name, const std::string& inner) {
    std::vector<uint8_t> bytes(100, 0x55);
    const RegisterTrailer t = BuildRegisterTrailer(inner);
    bytes.insert(bytes.end(), t.begin(), t.end());
    testing::WriteBytes(dir.File(name), bytes);
}

const std::vector<std::string> kNoSelection;

TEST(Numbering, AnEmptyDestinationGivesOneFromEveryScan) {
    TempDir dir;
    RecordingReporter r;
    EXPECT_EQ(NextFrameMemoryNumber(dir.path(), FrameFileKind::kSfm, kNoSelection, r), 1);
    EXPECT_EQ(NextFrameMemoryNumber(dir.path(), FrameFileKind::kSfa, kNoSelection, r), 1);
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), RegisterKind::kSf1), 1);
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), RegisterKind::kSf3), 1);
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), RegisterKind::kSf1, kNoSelection, r), 1);
    EXPECT_EQ(CheckRegisterFileNames(dir.path(), RegisterKind::kSf3, kNoSelection, r), 0);
    EXPECT_TRUE(r.messages.empty());
}

TEST(Numbering, NextFrameMemoryNumberReadsTheTailOfEachName) {
    struct Case {
        std::vector<std::string> files;
        FrameFileKind kind;
        int32_t next;
    } cases[] = {
        {{"SABC.FMEM0999.SFM", "MABC.FMEM_010.SFM"}, FrameFileKind::kSfm, 1000},
        {{"X.FMEMabcd.SFM"}, FrameFileKind::kSfm, 1},
        {{"MA.FMEM_041.sfa", "MA.FMEM1500.SFM"}, FrameFileKind::kSfa, 42},
        {{"MA.FMEM1500.SFM", "MB.FMEM_002.SFM"}, FrameFileKind::kSfm, 1501},
    };
    for (const Case& c : cases) {
        TempDir dir;
        for (const std::string& f : c.files) Touch(dir, f);
        RecordingReporter r;
        EXPECT_EQ(NextFrameMemoryNumber(dir.path(), c.kind, kNoSelection, r), c.next) << c.files[0];
    }
}

TEST(Numbering, ASelectedPictureWhoseNameIsTakenIsRefused) {
    TempDir dir;
    Touch(dir, "MLOGO.FMEM_001.SFM");
    RecordingReporter r;
    EXPECT_EQ(NextFrameMemoryNumber(dir.path(), FrameFileKind::kSfm, {"a.tga", "logo.bmp"}, r), -4);
    EXPECT_EQ(r.messages,
              (std::vector<std::string>{"Already exist name [LOGO] in [MLOGO.FMEM_001.SFM]"}));

    // The base is cut to eight characters before it is compared.
    TempDir dir2;
    Touch(dir2, "SLongPict.FMEM_001.SFM");
    RecordingReporter r2;
    EXPECT_EQ(NextFrameMemoryNumber(dir2.path(), FrameFileKind::kSfm, {"LongPictureName.tga"}, r2),
              -4);
    EXPECT_EQ(NextFrameMemoryNumber(dir2.path(), FrameFileKind::kSfa, {"LongPictureName.tga"}, r2),
              1);
}

TEST(Numbering, NextRegisterFileNumberTakesTheHighestFNumber) {
    TempDir dir;
    for (const char* f : {"F0003.SF1", "F0010.sf1", "F0500.SF3", "Fabcd.SF1"}) Touch(dir, f);
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), RegisterKind::kSf1), 11);
    EXPECT_EQ(NextRegisterFileNumber(dir.path(), RegisterKind::kSf3), 501);
}

TEST(Numbering, InnerNumbersCountTheirLastThreeDigits) {
    TempDir dir;
    WriteRegisterFile(dir, "F0001.SF1", "MABC.FMEM1012.SFM");
    WriteRegisterFile(dir, "F0002.SF1", "MABC.FMEM_009.SFM");
    RecordingReporter r;
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), RegisterKind::kSf1, kNoSelection, r), 13);
    EXPECT_EQ(NextInnerRegisterNumber(dir.path(), RegisterKind::kSf3, kNoSelection, r), 1);
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
        EXPECT_EQ(NextInnerRegisterNumber(dir.path(), RegisterKind::kSf1, c.selection, inner),
                  c.inner);
        EXPECT_EQ(CheckRegisterFileNames(dir.path(), RegisterKind::kSf1, c.selection, check),
                  c.check);
        EXPECT_EQ(inner.messages.empty() ? "" : inner.messages[0], c.innerMessage);
        EXPECT_EQ(check.messages.empty() ? "" : check.messages[0], c.checkMessage);
        EXPECT_LE(inner.messages.size(), 1u);
        EXPECT_LE(check.messages.size(), 1u);
    }
}

}  // namespace
}  // namespace fmconv
