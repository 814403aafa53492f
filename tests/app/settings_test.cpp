#include <cstdio>

#include "window_fixture.h"

namespace fmconv::testing {
namespace {

std::string ReadText(const std::string& path) {
    const auto bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

TEST_F(WindowTest, WithoutASettingsFileTheDefaultsAreChecked) {
    Open();
    for (int id : {kIdSourceImage, kIdDestSfm, kIdSfm1080, kIdSfa1080i5994}) EXPECT_TRUE(Checked(id));
    EXPECT_FALSE(S().Visible(kIdProgress));
    EXPECT_FALSE(Enabled(kIdExec));
    EXPECT_FALSE(S().Visible(kIdSortSf1Sf3));
    EXPECT_TRUE(PicturesOn());
    EXPECT_FALSE(AudioOn());
    EXPECT_EQ(S().State(kIdTab).tabs, (std::vector<std::string>{"ch1-4", "ch5-8", "ch9-12", "ch13-16"}));
    const auto menu = S().SystemMenu();
    ASSERT_EQ(menu.size(), 2u);
    EXPECT_EQ(menu[0].id, 0);
    EXPECT_EQ(menu[1].id, 16);
    EXPECT_EQ(menu[1].text, "&About Oxbrin...");
    EXPECT_FALSE(FileExists(Settings()));  // reading creates nothing
}

struct RestoreCase {
    const char* what;
    std::vector<std::string> settings;
    std::vector<int> checked;
    std::vector<int> unchecked;
    std::vector<std::string> written;  // after Close
};

TEST_F(WindowTest, SettingsRestoreAndWriteBack) {
    const RestoreCase cases[] = {
        {"plain pair", {"SFA", "SF3", "576i/50", "720P/50"},
         {kIdSourceSfa, kIdDestSf3, kIdSfm576i, kIdSfa720p50}, {kIdSourceImage},
         {"SFA", "SF3", "576i/50", "720P/50"}},
        {"SFM with SFM: the destination step turns the source into SF1",
         {"SFM", "SFM", "720P", "1080i/50"}, {kIdSourceSf1, kIdDestSfm}, {kIdSourceSfm},
         {"SF1", "SFM", "720P", "1080i/50"}},
        {"unknown format values leave their groups unchecked",
         {"Image File", "SF1", "1080i", "1080i/59"}, {kIdSourceImage, kIdDestSf1},
         {kIdSfm1080, kIdSfm720p, kIdSfm576i, kIdSfm480i, kIdSfa1080i5994, kIdSfa720p50},
         {"Image File", "SF1", "1080i/1080PsF", "720P/50"}},
        {"captions compare case-sensitively", {"image file", "sfa", "720p", "576I/50"},
         {kIdSourceImage, kIdDestSfm}, {kIdSfm720p, kIdSfa576i50},
         {"Image File", "SFM", "1080i/1080PsF", "720P/50"}},
        {"sort mode", {"SF1/SF3 Sort", "SF1", "1080i/1080PsF", "1080i/59.94"},
         {kIdSortSf1Sf3, kIdDestSf1}, {kIdSourceSf1, kIdSourceImage, kIdSourceSfm},
         {"SF1/SF3 Sort", "SF1", "1080i/1080PsF", "1080i/59.94"}},
    };
    for (const RestoreCase& c : cases) {
        SCOPED_TRACE(c.what);
        Open(c.settings);
        for (int id : c.checked) EXPECT_TRUE(Checked(id)) << id;
        for (int id : c.unchecked) EXPECT_FALSE(Checked(id)) << id;
        dlg->Click(kIdClose);
        EXPECT_TRUE(host.Ended());
        EXPECT_EQ(ReadText(Settings()),
                  "[FILEMANAGER]\r\nOriginal_File_Directory_Type=" + c.written[0] +
                      "\r\nConvert_File_Directory_Type=" + c.written[1] +
                      "\r\nSFMFormat=" + c.written[2] + "\r\nSFAFormat=" + c.written[3] + "\r\n");
    }
}

TEST_F(WindowTest, SortModeDisablesEverythingAndStaysHidden) {
    Open({"SF1/SF3 Sort", "SFM", "1080i/1080PsF", "1080i/59.94"});
    for (int id : {kIdDestSfm, kIdDestSfa, kIdDestSf1, kIdDestSf3}) EXPECT_FALSE(Enabled(id));
    EXPECT_FALSE(PicturesOn());
    EXPECT_FALSE(AudioOn());
    EXPECT_FALSE(S().Visible(kIdSortSf1Sf3));
    // Any source click ends the mode.
    dlg->Click(kIdSourceSf1);
    EXPECT_FALSE(Checked(kIdSortSf1Sf3));
}

TEST_F(WindowTest, APairClicksCannotMakeSurvivesTheRestore) {
    // SF1 leaves no destination checked; the restore then checks the
    // disabled SFA radio and its handler switches the audio controls on.
    Open({"SF1", "SFA", "1080i/1080PsF", "1080i/59.94"});
    EXPECT_TRUE(Checked(kIdSourceSf1));
    EXPECT_TRUE(Checked(kIdDestSfa));
    EXPECT_FALSE(Enabled(kIdDestSfa));
    EXPECT_TRUE(AudioOn());
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
        const std::string text = ReadText(Settings());
        EXPECT_NE(text.find(std::string("Original_File_Directory_Type=") + c.source + "\r\n"),
                  std::string::npos) << text;
        EXPECT_NE(text.find(std::string("Convert_File_Directory_Type=") + c.dest + "\r\n"),
                  std::string::npos) << text;
    }
}

TEST_F(WindowTest, OtherSectionsAndKeysSurviveByteForByte) {
    const std::string before =
        "; system manager\n[Network]\nHost=10.0.0.1\n\n[FILEMANAGER]\nLastUser=op\n"
        "SFMFormat=720P\nOriginal_File_Directory_Type=SFA\n\n[Tail]\nx=\"y\"\n";
    WriteText(Settings(), before);
    Open();
    EXPECT_TRUE(Checked(kIdSfm720p));
    dlg->OnCancel();
    EXPECT_EQ(ReadText(Settings()),
              "; system manager\n[Network]\nHost=10.0.0.1\n\n[FILEMANAGER]\nLastUser=op\n"
              "SFMFormat=720P\nOriginal_File_Directory_Type=SFA\n"
              "Convert_File_Directory_Type=SFM\nSFAFormat=1080i/59.94\n\n[Tail]\nx=\"y\"\n");
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

}  // namespace
}  // namespace fmconv::testing
