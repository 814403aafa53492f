#include <functional>

#include "fmfiles/register_file.h"
#include "window_fixture.h"

namespace fmconv::testing {
namespace {

// One file of every type in a folder.
void FillFolder(const std::string& folder) {
    WriteText(folder + "/MA.FMEM_001.SFM", "sfm");
    WriteText(folder + "/MB.FMEM_001.SFA", "sfa");
    for (auto [name, inner] : {std::pair{"F0001.SF1", "MX.FMEM_001.SFM"},
                               std::pair{"F0002.SF3", "MY.FMEM_002.SFA"}}) {
        std::vector<uint8_t> bytes(10, 1);
        const RegisterTrailer t = BuildRegisterTrailer(inner);
        bytes.insert(bytes.end(), t.begin(), t.end());
        WriteBytes(folder + "/" + name, bytes);
    }
}

const std::vector<std::string> kSfmFiles = {"MA.FMEM_001.SFM"};
const std::vector<std::string> kSfaFiles = {"MB.FMEM_001.SFA"};
const std::vector<std::string> kSf1Files = {"F0001.SF1(MX.FMEM_001.SFM)"};
const std::vector<std::string> kSf3Files = {"F0002.SF3(MY.FMEM_002.SFA)"};
const std::vector<std::string> kNothing = {};

struct RuleCase {
    const char* what;
    std::vector<std::string> settings;               // source, destination
    std::function<void(CMainDlg&)> action;           // run after both folders are set
    int checkedDest;                                 // the one checked destination radio
    std::vector<int> enabledDest;
    bool pictures, audio;
    std::vector<std::string> destList;               // kNothing: not refreshed
    int checkedSource;
    std::vector<std::string> sourceList;
};

const RuleCase kRuleCases[] = {
    {"SFM clicked while SFM is the destination", {"Image File", "SFM"},
     [](CMainDlg& d) { d.Click(kIdSourceSfm); }, kIdDestSfa, {kIdDestSfa, kIdDestSf1}, false, true,
     kSfaFiles, kIdSourceSfm, kSfmFiles},
    {"SFM clicked while SF1 is the destination", {"Image File", "SF1"},
     [](CMainDlg& d) { d.Click(kIdSourceSfm); }, kIdDestSf1, {kIdDestSfa, kIdDestSf1}, false,
     false, kSf1Files, kIdSourceSfm, kSfmFiles},
    {"SFM as destination while SFM is the source", {"SFM", "SFA"},
     [](CMainDlg& d) {
         d.Surface().SetChecked(kIdDestSfa, false);
         d.Surface().SetChecked(kIdDestSfm, true);
         d.OnDestSfm();
     },
     kIdDestSfm, {kIdDestSfm}, false, false, kSfmFiles, kIdSourceSf1, kSf1Files},
    {"SF3 clicked while SFA is the destination", {"Image File", "SFA"},
     [](CMainDlg& d) { d.Click(kIdSourceSf3); }, kIdDestSfa, {kIdDestSfa}, false, false, kSfaFiles,
     kIdSourceSf3, kSf3Files},
    {"SF3 clicked while SF1 is the destination", {"Image File", "SF1"},
     [](CMainDlg& d) { d.Click(kIdSourceSf3); }, kIdDestSfa, {kIdDestSfa}, false, false, kSfaFiles,
     kIdSourceSf3, kSf3Files},
    {"SFA clicked with SFM already the destination refreshes nothing", {"Image File", "SFM"},
     [](CMainDlg& d) { d.Click(kIdSourceSfa); }, kIdDestSfm, {kIdDestSfm, kIdDestSf3}, false,
     false, kNothing, kIdSourceSfa, kSfaFiles},
    {"SFA clicked while SF1 is the destination", {"Image File", "SF1"},
     [](CMainDlg& d) { d.Click(kIdSourceSfa); }, kIdDestSfm, {kIdDestSfm, kIdDestSf3}, false,
     false, kSfmFiles, kIdSourceSfa, kSfaFiles},
    {"SF1 clicked while SFA is the destination", {"Image File", "SFA"},
     [](CMainDlg& d) { d.Click(kIdSourceSf1); }, kIdDestSfm, {kIdDestSfm}, false, false, kSfmFiles,
     kIdSourceSf1, kSf1Files},
    {"Image File clicked keeps the destination and refreshes nothing", {"SFA", "SF3"},
     [](CMainDlg& d) { d.Click(kIdSourceImage); }, kIdDestSf3,
     {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3}, false, true, kNothing, kIdSourceImage,
     {"p.tga"}},
    {"SF3 destination clicked with pictures", {"Image File", "SFM"},
     [](CMainDlg& d) { d.Click(kIdDestSf3); }, kIdDestSf3,
     {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3}, false, true, kSf3Files, kIdSourceImage,
     {"p.tga"}},
    {"SF1 destination clicked with pictures", {"Image File", "SFA"},
     [](CMainDlg& d) { d.Click(kIdDestSf1); }, kIdDestSf1,
     {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3}, true, false, kSf1Files, kIdSourceImage,
     {"p.tga"}},
    {"SF3 destination clicked from SFA", {"SFA", "SFM"},
     [](CMainDlg& d) { d.Click(kIdDestSf3); }, kIdDestSf3, {kIdDestSfm, kIdDestSf3}, false, false,
     kSf3Files, kIdSourceSfa, kSfaFiles},
    {"SFA as destination while SFA is the source", {"SFA", "SF3"},
     [](CMainDlg& d) {
         d.Surface().SetChecked(kIdDestSf3, false);
         d.Surface().SetChecked(kIdDestSfa, true);
         d.OnDestSfa();
     },
     kIdDestSfa, {kIdDestSfa}, false, false, kSfaFiles, kIdSourceSf3, kSf3Files},
    {"SF1 as destination while SF1 is the source", {"SF1", "SFM"},
     [](CMainDlg& d) {
         d.Surface().SetChecked(kIdDestSfm, false);
         d.Surface().SetChecked(kIdDestSf1, true);
         d.OnDestSf1();
     },
     kIdDestSf1, {kIdDestSfa, kIdDestSf1}, false, false, kSf1Files, kIdSourceSfm, kSfmFiles},
};

TEST_F(WindowTest, SelectionRules) {
    const std::string src = dir.MakeDir("src");
    const std::string dst = dir.MakeDir("dst");
    FillFolder(src);
    FillFolder(dst);
    WriteText(src + "/p.tga", "tga");
    const int dests[] = {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3};
    const int sources[] = {kIdSourceImage, kIdSourceSfm, kIdSourceSfa, kIdSourceSf1, kIdSourceSf3};
    for (const RuleCase& c : kRuleCases) {
        SCOPED_TRACE(c.what);
        Open({c.settings[0], c.settings[1], "1080i/1080PsF", "1080i/59.94"});
        PickSource(src);
        PickDest(dst);
        S().ListReset(kIdDestList);  // shows whether the action refreshed it
        c.action(*dlg);
        for (int id : dests) {
            EXPECT_EQ(Checked(id), id == c.checkedDest) << id;
            const bool enabled =
                std::find(c.enabledDest.begin(), c.enabledDest.end(), id) != c.enabledDest.end();
            EXPECT_EQ(Enabled(id), enabled) << id;
        }
        for (int id : sources) EXPECT_EQ(Checked(id), id == c.checkedSource) << id;
        EXPECT_EQ(PicturesOn(), c.pictures);
        EXPECT_EQ(AudioOn(), c.audio);
        EXPECT_EQ(Items(kIdDestList), c.destList);
        EXPECT_EQ(Items(kIdSourceList), c.sourceList);
        EXPECT_EQ(S().ListSelCount(kIdSourceList), static_cast<int>(c.sourceList.size()));
        EXPECT_EQ(Text(kIdSourceCount), std::to_string(c.sourceList.size()) + " files");
        EXPECT_EQ(dlg->TabCtrl().CurrentPage(), 0);
    }
}

TEST_F(WindowTest, ASourceClickWithoutAFolderLeavesTheListAndStillAppliesTheRules) {
    Open();
    S().ListAdd(kIdSourceList, "left.tga");
    dlg->Click(kIdSourceSfm);
    EXPECT_EQ(Items(kIdSourceList), (std::vector<std::string>{"left.tga"}));
    EXPECT_EQ(Text(kIdSourceCount), "not found");
    EXPECT_TRUE(Checked(kIdDestSfa));
    EXPECT_TRUE(AudioOn());
    EXPECT_TRUE(host.Boxes().empty());
}

TEST_F(WindowTest, ClicksOnDisabledOrHiddenControlsDoNothing) {
    Open();
    dlg->Click(kIdSourceSfm);  // destinations SFA and SF1 only
    dlg->Click(kIdDestSfm);
    EXPECT_FALSE(Checked(kIdDestSfm));
    dlg->Click(kIdSortSf1Sf3);
    EXPECT_FALSE(Checked(kIdSortSf1Sf3));
    dlg->Click(kIdExec);
    EXPECT_EQ(Text(kIdExec), "Exec");
}

}  // namespace
}  // namespace fmconv::testing
