#include <algorithm>

#include "window_fixture.h"

namespace fmconv::testing {
namespace {

const std::vector<std::string> kSfmFiles = {"MA.FMEM_001.SFM"};
const std::vector<std::string> kSfaFiles = {"MB.FMEM_001.SFA"};
const std::vector<std::string> kSf1Files = {"F0001.SF1(MX.FMEM_001.SFM)"};
const std::vector<std::string> kSf3Files = {"F0002.SF3(MY.FMEM_002.SFA)"};
const std::vector<std::string> kNothing = {};

// Each source type: the destinations it allows (the others disabled) and
// what it lists from a folder holding one file of every type.
const struct {
    int source;
    std::vector<int> allowed;
    std::vector<std::string> listed;
} kSourceTypes[] = {
    {kIdSourceImage, {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3}, {"p.tga"}},
    {kIdSourceSfm, {kIdDestSfa, kIdDestSf1}, kSfmFiles},
    {kIdSourceSfa, {kIdDestSfm, kIdDestSf3}, kSfaFiles},
    {kIdSourceSf1, {kIdDestSfm}, kSf1Files},
    {kIdSourceSf3, {kIdDestSfa}, kSf3Files},
};

struct RuleCase {
    const char* source;  // the settings the window opens with
    const char* dest;
    int click;    // the control clicked once both folders are set
    bool forced;  // a disabled radio, checked and its handler run as the restore does
    int checkedSource, checkedDest;
    bool pictures, audio;
    std::vector<std::string> destList;  // kNothing: not refreshed
};

const RuleCase kRuleCases[] = {
    // Source clicks.
    {"Image File", "SFM", kIdSourceSfm, false, kIdSourceSfm, kIdDestSfa, false, true, kSfaFiles},
    {"Image File", "SF1", kIdSourceSfm, false, kIdSourceSfm, kIdDestSf1, false, false, kSf1Files},
    {"Image File", "SFA", kIdSourceSf3, false, kIdSourceSf3, kIdDestSfa, false, false, kSfaFiles},
    {"Image File", "SF1", kIdSourceSf3, false, kIdSourceSf3, kIdDestSfa, false, false, kSfaFiles},
    {"Image File", "SFM", kIdSourceSfa, false, kIdSourceSfa, kIdDestSfm, false, false, kNothing},
    {"Image File", "SF1", kIdSourceSfa, false, kIdSourceSfa, kIdDestSfm, false, false, kSfmFiles},
    {"Image File", "SFA", kIdSourceSf1, false, kIdSourceSf1, kIdDestSfm, false, false, kSfmFiles},
    {"SFA", "SF3", kIdSourceImage, false, kIdSourceImage, kIdDestSf3, false, true, kNothing},
    {"SF1/SF3 Sort", "SFM", kIdSourceSf1, false, kIdSourceSf1, kIdDestSfm, false, false, kSfmFiles},
    // Destination clicks.
    {"Image File", "SFM", kIdDestSf3, false, kIdSourceImage, kIdDestSf3, false, true, kSf3Files},
    {"Image File", "SFA", kIdDestSf1, false, kIdSourceImage, kIdDestSf1, true, false, kSf1Files},
    {"SFA", "SFM", kIdDestSf3, false, kIdSourceSfa, kIdDestSf3, false, false, kSf3Files},
    // A destination the source does not allow switches the source instead.
    {"SFM", "SFA", kIdDestSfm, true, kIdSourceSf1, kIdDestSfm, false, false, kSfmFiles},
    {"SFA", "SF3", kIdDestSfa, true, kIdSourceSf3, kIdDestSfa, false, false, kSfaFiles},
    {"SF1", "SFM", kIdDestSf1, true, kIdSourceSfm, kIdDestSf1, false, false, kSf1Files},
};

TEST_F(WindowTest, SelectionRules) {
    const std::string src = dir.MakeDir("src");
    const std::string dst = dir.MakeDir("dst");
    for (const std::string& folder : {src, dst}) {
        WriteText(folder + "/MA.FMEM_001.SFM", "sfm");
        WriteText(folder + "/MB.FMEM_001.SFA", "sfa");
        WriteRegister(folder + "/F0001.SF1", "MX.FMEM_001.SFM");
        WriteRegister(folder + "/F0002.SF3", "MY.FMEM_002.SFA");
    }
    WriteText(src + "/p.tga", "tga");
    const int dests[] = {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3};
    for (const RuleCase& c : kRuleCases) {
        SCOPED_TRACE(std::string(c.source) + " to " + c.dest + ", then control " +
                     std::to_string(c.click));
        Open({c.source, c.dest});
        PickSource(src);
        PickDest(dst);
        S().ListReset(kIdDestList);  // shows whether the action refreshed it
        if (c.forced) {
            for (int id : dests) S().SetChecked(id, id == c.click);
            dlg->OnCommand(c.click);
        } else {
            dlg->Click(c.click);
        }
        for (const auto& type : kSourceTypes) {
            EXPECT_EQ(Checked(type.source), type.source == c.checkedSource) << type.source;
            if (type.source != c.checkedSource) continue;
            for (int id : dests) {
                EXPECT_EQ(Checked(id), id == c.checkedDest) << id;
                EXPECT_EQ(Enabled(id), std::ranges::count(type.allowed, id) == 1) << id;
            }
            EXPECT_EQ(Items(kIdSourceList), type.listed);
            EXPECT_EQ(S().ListSelCount(kIdSourceList), static_cast<int>(type.listed.size()));
            EXPECT_EQ(Text(kIdSourceCount), std::to_string(type.listed.size()) + " files");
        }
        EXPECT_FALSE(Checked(kIdSortSf1Sf3));
        EXPECT_EQ(PicturesOn(), c.pictures);
        EXPECT_EQ(AudioOn(), c.audio);
        EXPECT_EQ(Items(kIdDestList), c.destList);
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
    for (int id : {kIdDestSfm, kIdSortSf1Sf3}) {
        dlg->Click(id);
        EXPECT_FALSE(Checked(id));
    }
    dlg->Click(kIdExec);
    EXPECT_EQ(Text(kIdExec), "Exec");
}

}  // namespace
}  // namespace fmconv::testing
