// Frame-memory and register names, and the free-space test before a write.
#include "names/naming.h"

#include <gtest/gtest.h>

#include "names/disk_space.h"
#include "platform/free_space.h"
#include "support/temp_dir.h"

namespace fmconv {
namespace {

TEST(FrameMemoryName, ReadBack) {
    struct Case {
        const char* text;
        char letter;
        const char* name;
        int number;
        const char* tail;
    } cases[] = {
        {"MLOGO.FMEM_007.SFM", 'M', "LOGO", 7, "FMEM_007.SFM"},
        {"SLOGO.FMEM1012.SFM.TMP", 'S', "LOGO", 12, "FMEM1012.SFM"},
        {"MABCDEFGH.FMEM0999.SFM", 'M', "ABCDEFGH", 999, "FMEM0999.SFM"},
        {"MX.FMEM_001.SFM", 'M', "X", 1, "FMEM_001.SFM"},
        // The fourth digit (or "_") is not checked.
        {"MLOGO.FMEM#123.SFM", 'M', "LOGO", 123, "FMEM#123.SFM"},
        {"MLOGO.FMEM_999.SFM.TMP", 'M', "LOGO", 999, "FMEM_999.SFM"},
        // The leftmost M or S within reach wins, even inside the name ...
        {"MSMALL.FMEM_001.SFM", 'M', "SMALL", 1, "FMEM_001.SFM"},
        {"xMSG.FMEM_001.SFM", 'M', "SG", 1, "FMEM_001.SFM"},
        // ... and, for a short name behind a full path, in the folder part.
        {"/Mx/MAB.FMEM_001.SFM", 'M', "x/MAB", 1, "FMEM_001.SFM"},
        {"/Media/MLOGO.FMEM_001.SFM", 'M', "LOGO", 1, "FMEM_001.SFM"},
        {"C:\\OUT\\MLOGO.FMEM_007.SFM", 'M', "LOGO", 7, "FMEM_007.SFM"},
        {"C:\\MOV\\MAB.FMEM_007.SFM", 'M', "OV\\MAB", 7, "FMEM_007.SFM"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto parts = ReadFrameMemoryName(c.text);
        ASSERT_TRUE(parts.has_value());
        EXPECT_EQ(parts->letter, c.letter);
        EXPECT_EQ(parts->frameName, c.name);
        EXPECT_EQ(parts->registerNumber, c.number);
        EXPECT_EQ(parts->fileTail, c.tail);
    }
    // FMEM_1000, the key name a picture gets at R = 999, puts "FMEM_" where
    // ".FMEM" must stand.
    for (const char* text : {"MLOGO.FMEM_007.sfm", "MLOGO.FMEM_0a7.SFM", "MLOGO.fmem_007.SFM",
                             "MLOGO.FMEM_007.SFM.tmp", "LOGO.FMEM_007.SFM", "M.FMEM_007.SFM",
                             "SLOGO.FMEM_1000.SFM.TMP", "MLOGO.FMEM_07.SFM", "MLOGO.FMEM_007.SFA",
                             ".FMEM_007.SFM", ""}) {
        EXPECT_FALSE(ReadFrameMemoryName(text).has_value()) << text;
    }
}

TEST(RegisterNames, FileNamesAndListItems) {
    EXPECT_EQ(RegisterFileName(7, RegisterKind::kSf1), "F0007.SF1");
    EXPECT_EQ(RegisterFileName(9999, RegisterKind::kSf3), "F9999.SF3");
    EXPECT_EQ(RegisterListItem("F0003.SF1", "MLOGO.FMEM_007.SFM"), "F0003.SF1(MLOGO.FMEM_007.SFM)");

    struct Case {
        const char* item;
        const char* file;
        const char* inner;
    } cases[] = {
        {"F0003.SF1(MLOGO.FMEM_007.SFM)", "F0003.SF1", "MLOGO.FMEM_007.SFM"},
        {"F0003.SF1", "F0003.SF1", ""},
        {"F0003.SF1(A(B)C)", "F0003.SF1", "A(B"},
        {"F0003.SF1(open", "F0003.SF1", "open"},
        {"F0003.SF1()", "F0003.SF1", ""},
    };
    for (const Case& c : cases) {
        const RegisterItemParts parts = SplitRegisterListItem(c.item);
        EXPECT_EQ(parts.file, c.file) << c.item;
        EXPECT_EQ(parts.inner, c.inner) << c.item;
    }
}

TEST(PictureNames, BaseExtensionAndNumbers) {
    struct Case {
        const char* item;
        int32_t R;
        bool temporary;
        const char* base;
        const char* ext;
        bool sub;
        const char* m;
        const char* s;
    } cases[] = {
        {"LOGO.tga", 1, false, "LOGO", "tga", false, "MLOGO.FMEM_001.SFM", "SLOGO.FMEM_002.SFM"},
        {"LongPictureName.tga", 5, false, "LongPict", "tga", false, "MLongPict.FMEM_005.SFM",
         "SLongPict.FMEM_006.SFM"},
        // The template is chosen from R alone.
        {"a.TIF", 999, false, "a", "tif", false, "Ma.FMEM_999.SFM", "Sa.FMEM_1000.SFM"},
        {"a.tiff", 1000, false, "a", "tiff", false, "Ma.FMEM1000.SFM", "Sa.FMEM1001.SFM"},
        {"a.bmp", 1012, true, "a", "bmp", false, "Ma.FMEM1012.SFM.TMP", "Sa.FMEM1013.SFM.TMP"},
        // SubPicture: a BMP whose stem ends in "sub"; its key keeps R.
        {"LOGOsub.bmp", 7, false, "LOGOsub", "bmp", true, "MLOGOsub.FMEM_007.SFM",
         "SLOGOsub.FMEM_007.SFM"},
        {"verylongSUB.BMP", 7, false, "verylong", "bmp", true, "Mverylong.FMEM_007.SFM",
         "Sverylong.FMEM_007.SFM"},
        {"LOGOsub.tga", 7, false, "LOGOsub", "tga", false, "MLOGOsub.FMEM_007.SFM",
         "SLOGOsub.FMEM_008.SFM"},
        {"sub.bmp", 3, false, "sub", "bmp", true, "Msub.FMEM_003.SFM", "Ssub.FMEM_003.SFM"},
        {"a.b.c.bmp", 3, false, "a.b.c", "bmp", false, "Ma.b.c.FMEM_003.SFM",
         "Sa.b.c.FMEM_004.SFM"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.item);
        const PictureNames n = MakePictureNames(c.item, c.R, c.temporary);
        EXPECT_EQ(n.base, c.base);
        EXPECT_EQ(n.ext, c.ext);
        EXPECT_EQ(n.subPicture, c.sub);
        EXPECT_EQ(n.mName, c.m);
        EXPECT_EQ(n.sName, c.s);
    }
}

TEST(Naming, SmallRules) {
    EXPECT_EQ(RegisterCeiling(3), 1031);
    EXPECT_EQ(RegisterCeiling(4), 2323);
    EXPECT_EQ(RegisterCeiling(2), 4786);
    EXPECT_EQ(RegisterCeiling(1), 5665);
    EXPECT_EQ(RegisterCeiling(-1), -1);
    EXPECT_EQ(StripTempSuffix("MA.FMEM_001.SFM.tmp"), "MA.FMEM_001.SFM");
    EXPECT_EQ(StripTempSuffix("MA.FMEM_001.SFM"), "MA.FMEM_001.SFM");
    EXPECT_EQ(NamePartOf("MLOGO.FMEM_001.SFM"), "LOGO");
    EXPECT_EQ(NamePartOf("F0001.SF1(MLOGO.FMEM_001.SFM)"), "0001");
    EXPECT_EQ(NamePartOf("M"), "");
    EXPECT_EQ(PictureBase("LongPictureName.tga"), "LongPict");
}

TEST(SpaceTest, Verdicts) {
    struct Case {
        int64_t size, free;
        SpaceVerdict verdict;
    } cases[] = {
        {100, 100, SpaceVerdict::kProceed},
        {100, 99, SpaceVerdict::kInsufficient},
        {1, 0, SpaceVerdict::kInsufficient},
        {0, 0, SpaceVerdict::kProceed},
        {100, INT32_MIN + 1, SpaceVerdict::kInsufficient},  // a legacy reading of 2 GiB + 1
        {-1, 1000, SpaceVerdict::kUnknown},
        {100, -1, SpaceVerdict::kUnknown},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TestSpace(c.size, c.free), c.verdict) << c.size << " " << c.free;
    }
}

// The source file's length against the probe's count. (A legacy probe reads
// exactly 4 GiB free as 0: see the free-space and driver tests.)
TEST(SpaceTest, TheSourceFilesLengthMeetsTheFreeCount) {
    testing::TempDir dir;
    testing::WriteText(dir.File("a.SFM"), "frame");
    testing::WriteText(dir.File("empty.SFM"), "");
    const platform::FixedFreeSpaceProbe none(0), four(4), five(5);
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), four), SpaceVerdict::kInsufficient);
    EXPECT_EQ(TestSpaceForFile(dir.File("a.SFM"), dir.path(), five), SpaceVerdict::kProceed);
    EXPECT_EQ(TestSpaceForFile(dir.File("empty.SFM"), dir.path(), none), SpaceVerdict::kProceed);
    EXPECT_EQ(TestSpaceForFile(dir.File("missing.SFM"), dir.path(), five), SpaceVerdict::kUnknown);
}

}  // namespace
}  // namespace fmconv
