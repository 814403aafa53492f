// Start-up: the single-instance guard and the settings file.
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "app/converter_app.h"
#include "window_fixture.h"

namespace fmconv::testing {
namespace {

std::string ReadText(const std::string& path) {
    const auto bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

// The window as it opens, from no settings file or from one, and what Close
// then writes.
TEST_F(WindowTest, SettingsRestoreAndWriteBack) {
    const int kAllDest[] = {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3};
    const int kSfa = kIdDestSfa, kSf1 = kIdDestSf1, kSf3 = kIdDestSf3;
    const struct {
        const char* what;
        std::vector<std::string> settings;  // none: no file
        std::vector<int> checked, unchecked;
        std::vector<int> disabled;  // destination radios
        bool pictures, audio;
        std::vector<std::string> written;  // after Close
    } cases[] = {
        {"no settings file", {}, {kIdSourceImage, kIdDestSfm, kIdSfm1080, kIdSfa1080i5994}, {}, {},
         true, false, {"Image File", "SFM", "1080i/1080PsF", "1080i/59.94"}},
        {"plain pair", {"SFA", "SF3", "576i/50", "720P/50"},
         {kIdSourceSfa, kIdDestSf3, kIdSfm576i, kIdSfa720p50}, {kIdSourceImage}, {kSfa, kSf1},
         false, false, {"SFA", "SF3", "576i/50", "720P/50"}},
        {"SFM with SFM: the destination step turns the source into SF1",
         {"SFM", "SFM", "720P", "1080i/50"}, {kIdSourceSf1, kIdDestSfm}, {kIdSourceSfm},
         {kSfa, kSf1, kSf3}, false, false, {"SF1", "SFM", "720P", "1080i/50"}},
        {"unknown format values leave their groups unchecked",
         {"Image File", "SF1", "1080i", "1080i/59"}, {kIdSourceImage, kIdDestSf1},
         {kIdSfm1080, kIdSfm720p, kIdSfm576i, kIdSfm480i, kIdSfa1080i5994, kIdSfa720p50}, {},
         true, false, {"Image File", "SF1", "1080i/1080PsF", "720P/50"}},
        {"captions compare case-sensitively", {"image file", "sfa", "720p", "576I/50"},
         {kIdSourceImage, kIdDestSfm}, {kIdSfm720p, kIdSfa576i50}, {}, true, false,
         {"Image File", "SFM", "1080i/1080PsF", "720P/50"}},
        {"sort mode disables every destination", {"SF1/SF3 Sort", "SF1"},
         {kIdSortSf1Sf3, kIdDestSf1}, {kIdSourceSf1, kIdSourceImage, kIdSourceSfm},
         {kIdDestSfm, kSfa, kSf1, kSf3}, false, false,
         {"SF1/SF3 Sort", "SF1", "1080i/1080PsF", "1080i/59.94"}},
        // SF1 leaves no destination checked; the restore then checks the
        // disabled SFA radio and its handler switches the audio controls on.
        {"a pair clicks cannot make", {"SF1", "SFA"}, {kIdSourceSf1, kIdDestSfa}, {},
         {kSfa, kSf1, kSf3}, false, true, {"SF1", "SFA", "1080i/1080PsF", "1080i/59.94"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Open(c.settings);
        EXPECT_EQ(FileExists(Settings()), !c.settings.empty());  // reading creates nothing
        for (int id : c.checked) EXPECT_TRUE(Checked(id)) << id;
        for (int id : c.unchecked) EXPECT_FALSE(Checked(id)) << id;
        for (int id : kAllDest) EXPECT_EQ(Enabled(id), !std::ranges::count(c.disabled, id)) << id;
        EXPECT_EQ(PicturesOn(), c.pictures);
        EXPECT_EQ(AudioOn(), c.audio);
        EXPECT_FALSE(S().Visible(kIdSortSf1Sf3));
        EXPECT_FALSE(S().Visible(kIdProgress));
        EXPECT_FALSE(Enabled(kIdExec));
        EXPECT_EQ(S().State(kIdTab).tabs,
                  (std::vector<std::string>{"ch1-4", "ch5-8", "ch9-12", "ch13-16"}));
        const auto menu = S().SystemMenu();
        ASSERT_EQ(menu.size(), 2u);
        EXPECT_EQ(menu[0].id, 0);  // the separator
        EXPECT_EQ(menu[1].id, 16);
        EXPECT_EQ(menu[1].text, "&About Oxbrin...");
        dlg->Click(kIdClose);
        EXPECT_TRUE(host.Ended());
        EXPECT_EQ(ReadText(Settings()), SettingsText(c.written));
    }
}

TEST_F(WindowTest, TheLastCheckedControlInIdOrderIsWritten) {
    struct Case {
        std::vector<int> on;
        std::vector<int> off;
        const char* source;
        const char* dest;
    } cases[] = {
        {{kIdSourceSf1, kIdSortSf1Sf3}, {kIdSourceImage}, "SF1/SF3 Sort", "SFM"},
        {{kIdSortSf1Sf3, kIdSourceSfm}, {kIdSourceImage}, "SFM", "SFM"},
        {{}, {kIdSourceImage, kIdDestSfm}, "Image File", "SF1"},  // empty groups
        {{kIdDestSf3}, {}, "Image File", "SF3"},
    };
    for (const Case& c : cases) {
        std::remove(Settings().c_str());
        Open();
        for (int id : c.on) S().SetChecked(id, true);
        for (int id : c.off) S().SetChecked(id, false);
        dlg->OnCancel();
        EXPECT_EQ(ReadText(Settings()),
                  SettingsText({c.source, c.dest, "1080i/1080PsF", "1080i/59.94"}));
    }
}

TEST_F(WindowTest, TheSettingsFileFollowsTheCurrentDirectoryOfTheMoment) {
    WriteText(Settings(), "[FILEMANAGER]\r\nSFMFormat=720P\r\n");
    Open();
    EXPECT_TRUE(Checked(kIdSfm720p));
    cwd = dir.MakeDir("elsewhere");
    dlg->OnCancel();
    EXPECT_TRUE(FileExists(cwd + "/ParvoClient.usr"));
    EXPECT_EQ(ReadText(Settings()), "[FILEMANAGER]\r\nSFMFormat=720P\r\n");
}

// While a first copy runs its window, a second one ends at once, silently and
// without a window; once the first has ended, a new copy runs its window.
// (The guard is a lock on an open file, so two copies in one process meet it
// as two processes do; the desktop test starts the real program twice.)
TEST(ConverterApp, ASecondInstanceEndsAtOnceAndSilently) {
    const std::string name = "converter app test " + std::to_string(::getpid());
    CConverterApp first(name);
    bool firstRan = false, secondRan = false, thirdRan = false;
    EXPECT_FALSE(first.InitInstance([&] {
        firstRan = true;
        CConverterApp second(name);
        EXPECT_FALSE(second.InitInstance([&] { secondRan = true; }));
        EXPECT_TRUE(second.SecondInstance());
    }));
    EXPECT_TRUE(firstRan);
    EXPECT_FALSE(secondRan);
    EXPECT_FALSE(first.SecondInstance());
    first.ExitInstance();

    CConverterApp third(name);
    EXPECT_FALSE(third.InitInstance([&] { thirdRan = true; }));
    EXPECT_TRUE(thirdRan);
    third.ExitInstance();
    ::unlink(platform::InstanceLock::PathFor(name).c_str());
}

}  // namespace
}  // namespace fmconv::testing
