#include "fmfiles/register_file.h"
#include "window_fixture.h"

namespace fmconv::testing {
namespace {

void WriteRegister(const std::string& path, const std::string& inner) {
    std::vector<uint8_t> bytes(20, 7);
    const RegisterTrailer t = BuildRegisterTrailer(inner);
    bytes.insert(bytes.end(), t.begin(), t.end());
    WriteBytes(path, bytes);
}

TEST_F(WindowTest, PicturesAreListedOnceEachSortedSelectedAndCounted) {
    const std::string src = dir.MakeDir("src");
    for (const char* f : {"c.Bmp", "b.tiff", "a.TIF", "d.jpeg", "e.tif.bak"})
        WriteText(src + "/" + f, "x");
    Open();
    PickSource(src);
    EXPECT_EQ(Items(kIdSourceList), (std::vector<std::string>{"a.TIF", "b.tiff", "c.Bmp"}));
    EXPECT_EQ(S().ListSelCount(kIdSourceList), 3);
    EXPECT_EQ(Text(kIdSourceCount), "3 files");
    EXPECT_EQ(dlg->SourceFolderMemory(), src.substr(0, 4));
    EXPECT_FALSE(Enabled(kIdExec));  // the destination is not chosen yet

    PickSource("");  // a cancelled picker changes nothing; it opened at the memory
    EXPECT_EQ(Text(kIdSourcePath), src);
    EXPECT_EQ(host.LastFolderSelection(), src.substr(0, 4));
    EXPECT_EQ(Items(kIdSourceList).size(), 3u);
    PickDest("");
    EXPECT_FALSE(Enabled(kIdExec));
    PickDest(dir.MakeDir("dst"));
    EXPECT_TRUE(Enabled(kIdExec));
    EXPECT_EQ(Text(kIdDestCount), "not found");

    // "All" clears a full selection and fills any other.
    const std::pair<std::vector<int>, int> steps[] = {{{0, 1, 2}, 0}, {{}, 3}, {{1}, 3}};
    for (const auto& [before, after] : steps) {
        S().ListSetSelection(kIdSourceList, before);
        dlg->Click(kIdAll);
        EXPECT_EQ(S().ListSelCount(kIdSourceList), after);
        EXPECT_EQ(Text(kIdSourceCount), std::to_string(after) + " files");
    }
    S().ListSetSelection(kIdSourceList, {2});
    dlg->OnSourceListSelChange();
    EXPECT_EQ(Text(kIdSourceCount), "1 files");
}

TEST_F(WindowTest, RegisterFilesShowTheirInnerNames) {
    const std::string src = dir.MakeDir("src");
    WriteRegister(src + "/F0001.SF1", "MLOGO.FMEM_001.SFM");
    WriteText(src + "/F0002.SF1", "short");  // shorter than a trailer: shown as it is
    std::vector<uint8_t> noTrailer(400, 0);
    WriteBytes(src + "/F0003.SF1", noTrailer);  // no markers: the empty name all the same
    dir.MakeDir("src/F0004.SF1");               // cannot be opened
    Open({"SF1", "SFM", "1080i/1080PsF", "1080i/59.94"});
    PickSource(src);
    EXPECT_EQ(Items(kIdSourceList),
              (std::vector<std::string>{"F0001.SF1(MLOGO.FMEM_001.SFM)", "F0002.SF1", "F0003.SF1()",
                                        "F0004.SF1"}));
    EXPECT_TRUE(S().Visible(kIdProgress));  // annotation shows the bar and leaves it
    EXPECT_EQ(S().State(kIdProgress).upper, 4);
    EXPECT_EQ(S().State(kIdProgress).position, 0);
}

struct OverlapCase {
    const char* what;
    std::vector<std::string> settings;
    std::vector<std::string> files;
    std::string warning;  // empty: none
};

TEST_F(WindowTest, OverlapWarnings) {
    const OverlapCase cases[] = {
        {"two frames of one name",
         {"SFM", "SFA"},
         {"MLOGO.FMEM_001.SFM", "MLOGO.FMEM_002.SFM"},
         "FM name overlaps\n\n[MLOGO.FMEM_001.SFM and MLOGO.FMEM_002.SFM]"},
        {"fill and key do not overlap",
         {"SFM", "SFA"},
         {"MLOGO.FMEM_001.SFM", "SLOGO.FMEM_002.SFM"},
         ""},
        {"pictures are not checked", {"Image File", "SFM"}, {"logo.bmp", "LOGO.tga"}, ""},
        {"sort mode: annotated items take the 8-character rule",
         {"SF1/SF3 Sort", "SF1"},
         {"F0001.SF1", "F0001.SF3"},
         "FM name overlaps\n\n[F0001.SF1(MA.FMEM_001.SFM) and F0001.SF3(MA.FMEM_001.SFA)]"},
    };
    for (const OverlapCase& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir folder;
        for (const std::string& f : c.files) {
            if (f.ends_with(".SF1") || f.ends_with(".SF3")) {
                WriteRegister(folder.File(f),
                              f.ends_with(".SF1") ? "MA.FMEM_001.SFM" : "MA.FMEM_001.SFA");
            } else {
                WriteText(folder.File(f), "x");
            }
        }
        Open({c.settings[0], c.settings[1], "1080i/1080PsF", "1080i/59.94"});
        const std::size_t before = host.Boxes().size();
        PickSource(folder.path());
        const auto boxes = host.Boxes();
        if (c.warning.empty()) {
            EXPECT_EQ(boxes.size(), before);
        } else {
            ASSERT_EQ(boxes.size(), before + 1);
            EXPECT_EQ(boxes.back().caption, "Warning");
            EXPECT_EQ(boxes.back().icon, platform::BoxIcon::kExclamation);
            EXPECT_EQ(boxes.back().text, c.warning);
        }
    }
}

TEST_F(WindowTest, FindOverlappingNamesCutsAgainstTheRegisterItem) {
    Open();
    // A register item B cuts A's key to five characters, never its own.
    S().ListInsert(kIdSourceList, -1, "F0001.SFM");
    S().ListInsert(kIdSourceList, -1, "F0001.SF1");
    EXPECT_EQ(dlg->FindOverlappingNames(), "F0001.SFM and F0001.SF1");
    S().ListReset(kIdSourceList);
    S().ListInsert(kIdSourceList, -1, "F0001.SF1");
    S().ListInsert(kIdSourceList, -1, "F00012.SF3");
    EXPECT_EQ(dlg->FindOverlappingNames(), "");
    S().ListReset(kIdSourceList);
    S().ListInsert(kIdSourceList, -1, "only.sfm");
    EXPECT_EQ(dlg->FindOverlappingNames(), "");
}

TEST_F(WindowTest, TheDestinationListFollowsItsType) {
    const std::string dst = dir.MakeDir("dst");
    WriteRegister(dst + "/F0007.SF1", "MLOGO.FMEM_001.SFM");
    WriteText(dst + "/MLOGO.FMEM_001.SFM", "x");
    Open({"Image File", "SF1", "1080i/1080PsF", "1080i/59.94"});
    PickDest(dst);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"F0007.SF1(MLOGO.FMEM_001.SFM)"}));
    EXPECT_EQ(Text(kIdDestCount), "1 files");
    EXPECT_EQ(S().ListSelCount(kIdDestList), 0);
    dlg->Click(kIdDestSfm);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"MLOGO.FMEM_001.SFM"}));
}

}  // namespace
}  // namespace fmconv::testing
