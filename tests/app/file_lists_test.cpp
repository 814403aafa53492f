#include "window_fixture.h"

namespace fmconv::testing {
namespace {

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
    WriteBytes(src + "/F0003.SF1", std::vector<uint8_t>(400, 0));  // no markers: the empty name
    dir.MakeDir("src/F0004.SF1");                                   // cannot be opened
    Open({"SF1", "SFM"});
    PickSource(src);
    EXPECT_EQ(Items(kIdSourceList),
              (std::vector<std::string>{"F0001.SF1(MLOGO.FMEM_001.SFM)", "F0002.SF1", "F0003.SF1()",
                                        "F0004.SF1"}));
    EXPECT_TRUE(S().Visible(kIdProgress));  // annotation shows the bar and leaves it
    EXPECT_EQ(S().State(kIdProgress).upper, 4);
    EXPECT_EQ(S().State(kIdProgress).position, 0);
}

const std::vector<std::string> kNone;

struct OverlapCase {
    const char* what;
    std::vector<std::string> settings;
    std::vector<std::string> files;
    std::string warning;  // empty: none
};

TEST_F(WindowTest, OverlapWarnings) {
    const OverlapCase cases[] = {
        {"two frames of one name", {"SFM", "SFA"}, {"MLOGO.FMEM_001.SFM", "MLOGO.FMEM_002.SFM"},
         "FM name overlaps\n\n[MLOGO.FMEM_001.SFM and MLOGO.FMEM_002.SFM]"},
        {"fill and key do not overlap", {"SFM", "SFA"}, {"MLOGO.FMEM_001.SFM", "SLOGO.FMEM_002.SFM"},
         ""},
        {"pictures are not checked", {"Image File", "SFM"}, {"logo.bmp", "LOGO.tga"}, ""},
        {"sort mode: annotated items take the 8-character rule", {"SF1/SF3 Sort", "SF1"},
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
        Open(c.settings);
        const auto before = static_cast<std::ptrdiff_t>(host.Boxes().size());
        PickSource(folder.path());
        const auto boxes = BoxTexts();
        EXPECT_EQ(std::vector<std::string>(boxes.begin() + before, boxes.end()),
                  c.warning.empty() ? kNone : std::vector<std::string>{"Warning: " + c.warning});
        if (!c.warning.empty()) {
            EXPECT_EQ(host.Boxes().back().icon, platform::BoxIcon::kExclamation);
        }
    }
    // A register item B cuts A's key to five characters, never its own.
    const std::pair<std::vector<std::string>, std::string> lists[] = {
        {{"F0001.SFM", "F0001.SF1"}, "F0001.SFM and F0001.SF1"},
        {{"F0001.SF1", "F00012.SF3"}, ""},
        {{"only.sfm"}, ""},
    };
    for (const auto& [items, overlap] : lists) {
        S().ListReset(kIdSourceList);
        for (const std::string& item : items) S().ListInsert(kIdSourceList, -1, item);
        EXPECT_EQ(dlg->FindOverlappingNames(), overlap) << items[0];
    }
}

TEST_F(WindowTest, TheDestinationListFollowsItsType) {
    const std::string dst = dir.MakeDir("dst");
    WriteRegister(dst + "/F0007.SF1", "MLOGO.FMEM_001.SFM");
    WriteText(dst + "/MLOGO.FMEM_001.SFM", "x");
    Open({"Image File", "SF1"});
    PickDest(dst);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"F0007.SF1(MLOGO.FMEM_001.SFM)"}));
    EXPECT_EQ(Text(kIdDestCount), "1 files");
    EXPECT_EQ(S().ListSelCount(kIdDestList), 0);
    dlg->Click(kIdDestSfm);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"MLOGO.FMEM_001.SFM"}));
}

}  // namespace
}  // namespace fmconv::testing
