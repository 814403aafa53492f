#include "window_fixture.h"

namespace fmconv::testing {
namespace {

TEST_F(WindowTest, ChannelFieldsTakeTheChosenPathAndKeepItOnCancel) {
    Open({"Image File", "SFA"});
    CChannelPageDlg& page0 = dlg->ChannelPage(0);
    // A path, then a cancelled chooser, then "clear".
    for (const auto& [answer, button, text] :
         {std::tuple{"/audio/left.wav", kChannels[1].button, "/audio/left.wav"},
          std::tuple{"", kChannels[1].button, "/audio/left.wav"},
          std::tuple{"", kChannels[1].clear, ""}}) {
        host.ScriptFile(answer);
        page0.Click(button);
        EXPECT_EQ(page0.Surface().Text(kChannels[1].edit), text);
    }
    // Ids are local to a page: 1055 is channel 1's edit on page 0 and
    // channel 5's "clear" on page 1.
    EXPECT_EQ(page0.Surface().Kind(1055), platform::ControlKind::kEdit);
    EXPECT_EQ(dlg->ChannelPage(1).Surface().Kind(1055), platform::ControlKind::kPushButton);
}

TEST_F(WindowTest, TheTabControlSwitchesPagesOnlyWhileEnabled) {
    Open();  // pictures into SFM: audio off
    dlg->OnTabClick(2);
    EXPECT_EQ(dlg->TabCtrl().CurrentPage(), 0);
    dlg->Click(kIdDestSfa);  // audio on
    dlg->OnTabClick(2);
    dlg->OnTabClick(2);  // the page shown: nothing changes
    EXPECT_EQ(dlg->TabCtrl().CurrentPage(), 2);
    EXPECT_EQ(S().TabCurrent(kIdTab), 2);
    dlg->Click(kIdDestSfm);  // audio off selects the first page again
    EXPECT_EQ(dlg->TabCtrl().CurrentPage(), 0);
    EXPECT_FALSE(Enabled(kIdTab));
    // Only the first page's controls are ever switched one by one.
    EXPECT_FALSE(dlg->ChannelPage(0).Surface().Enabled(kChannels[3].clear));
    EXPECT_TRUE(dlg->ChannelPage(2).Surface().Enabled(kChannels[8].button));
}

TEST(PageTabCtrl, RefusesASeventeenthPageAndPagesOutOfRange) {
    platform::ControlSurface tabs(MainDialogTemplate());
    CPageTabCtrl ctrl(tabs, kIdTab);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(ctrl.AddPage("p", nullptr, 130), 1);
    EXPECT_EQ(ctrl.AddPage("p17", nullptr, 130), 0);
    EXPECT_EQ(ctrl.PageCount(), 16);
    ctrl.CreatePages();
    EXPECT_EQ(tabs.State(kIdTab).tabs.size(), 16u);
    // The previous page, or -1 out of range.
    for (auto [page, result] : {std::pair{16, -1}, {-1, -1}, {5, 0}, {5, 5}, {1, 5}}) {
        EXPECT_EQ(ctrl.SetCurrentPage(page), result) << page;
    }
}

// About from the Help menu and the system menu (its id masked with 0xFFF0);
// other system commands take the default path. Then the two launches.
TEST_F(WindowTest, ToolAndHelpCommands) {
    Open();
    dlg->OnCommand(kCmdAbout);
    dlg->OnSysCommand(kCmdAboutSystemMenu | 0x3);
    dlg->OnSysCommand(0xF060);  // close
    dlg->OnCommand(kCmdShowDiskManagement);
    dlg->OnCommand(kCmdGuideDocument);
    const auto events = host.Events();
    ASSERT_EQ(events.size(), 4u);
    for (std::size_t i = 0; i < 2; ++i) {
        const auto& about = std::get<platform::ModalDialogContent>(events[i]);
        EXPECT_EQ(about.title, "About Oxbrin");
        EXPECT_EQ(about.texts.at(0), "Tavlo Utility Version 1.05(2009.08.28)");
    }
    EXPECT_EQ(std::get<platform::LaunchRequest>(events[2]).commandLine, "gnome-disks");
    EXPECT_EQ(std::get<platform::LaunchRequest>(events[3]).commandLine,
              "xdg-open DiskManagementGuide.pdf");
}

}  // namespace
}  // namespace fmconv::testing
