// `fmconv ui` driven by scripts, as automation drives it.
#include <gtest/gtest.h>

#include "image/picture_files.h"
#include "run_fmconv.h"
#include "support/temp_dir.h"

namespace fmconv::testing {
namespace {

ProcessResult Ui(const TempDir& dir, const std::string& script) {
    return RunFmconv(dir.path(), {"ui"}, script);
}

TEST(UiCommand, EveryLineIsOneJsonObject) {
    TempDir dir;
    const ProcessResult r = Ui(dir, "dump\nbogus line\nmenu 16\nmenu 32771\nmenu 32773\nmenu 5\n");
    EXPECT_EQ(r.exitCode, 0);
    ASSERT_EQ(r.outLines.size(), 6u);
    for (const std::string& line : r.outLines) {
        EXPECT_EQ(line.front(), '{');
        EXPECT_EQ(line.back(), '}');
    }
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"1019\": {\"text\": \"Image File\", \"checked\": true, "
                                        "\"enabled\": true, \"visible\": true}"}));
    EXPECT_TRUE(
        AnyLineHas(r.outLines, {"\"1017\": {\"text\": \"SF1/SF3 Sort\", \"checked\": false, "
                                "\"enabled\": true, \"visible\": false}"}));
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"3:1085\": {\"text\": \"clear\""}));
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"page\": 0"}));
    EXPECT_EQ(r.outLines[1].rfind("{\"error\": ", 0), 0u);
    EXPECT_EQ(r.outLines[2],
              "{\"dialog\": {\"title\": \"About Oxbrin\", \"texts\": [\"Tavlo Utility Version "
              "1.05(2009.08.28)\", \"Copyright (C) 2009 Oxbrin. All rights reserved.\"]}}");
    EXPECT_EQ(r.outLines[3], "{\"launch\": {\"command\": \"gnome-disks\"}}");
    EXPECT_EQ(r.outLines[4], "{\"launch\": {\"command\": \"xdg-open DiskManagementGuide.pdf\"}}");
    EXPECT_EQ(r.outLines[5].rfind("{\"error\": ", 0), 0u);
    EXPECT_FALSE(FileExists(dir.File("ParvoClient.usr")));  // written on close only
    // The same commands from a script file; a script that is not there is a usage error.
    WriteText(dir.File("s.txt"), "dump\n");
    EXPECT_EQ(RunFmconv(dir.path(), {"ui", "--script", dir.File("s.txt")}).outLines.size(), 1u);
    EXPECT_EQ(RunFmconv(dir.path(), {"ui", "--script", dir.File("missing")}).exitCode, 2);
}

TEST(UiCommand, FoldersSelectionAndCounts) {
    TempDir dir;
    const std::string src = dir.MakeDir("my src");
    const std::string dst = dir.MakeDir("dst");
    for (const char* f : {"c.Bmp", "a.TIF", "b.tiff"}) WriteText(src + "/" + f, "x");
    const ProcessResult r = Ui(dir, "folder source " + src + "\nfolder dest " + dst +
                                        "\nselect 0 2\ndump\nselect none\nfolder source\ndump\n");
    ASSERT_EQ(r.outLines.size(), 2u) << r.out;
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"source_list\": {\"items\": [\"a.TIF\", \"b.tiff\", "
                                        "\"c.Bmp\"], \"selected\": [0, 2]}",
                                        "\"1012\": {\"text\": \"2 files\"",
                                        "\"1010\": {\"text\": \"Exec\", \"checked\": false, "
                                        "\"enabled\": true",
                                        "\"1013\": {\"text\": \"not found\""}));
    // A cancelled picker (empty path) keeps the folder.
    EXPECT_TRUE(
        AnyLineHas(r.outLines, {"\"selected\": []", "\"1012\": {\"text\": \"0 files\"", "my src"}));
}

TEST(UiCommand, ChannelFieldsAndTheSettingsFileOnClose) {
    TempDir dir;
    WriteText(dir.File("ParvoClient.usr"), "[Other]\nkeep=1\n");
    const ProcessResult r =
        Ui(dir,
           "wav 1 /early.wav\nclick 1024\nwav 2 /x/left one.wav\nwav 9 /x/b.wav\n"
           "tab 2\nwav 2 clear\nwav 3 /x/c.wav\nwav 3\ndump\nclose\ndump\n");
    ASSERT_EQ(r.outLines.size(), 1u) << r.out;  // nothing after close
    const std::string& state = r.outLines[0];
    EXPECT_NE(state.find("\"0:1055\": {\"text\": \"\""), std::string::npos);  // audio was off
    EXPECT_NE(state.find("\"0:1008\": {\"text\": \"\""), std::string::npos);  // cleared
    EXPECT_NE(state.find("\"2:1066\": {\"text\": \"/x/b.wav\""), std::string::npos);
    EXPECT_NE(state.find("\"0:1041\": {\"text\": \"/x/c.wav\""), std::string::npos);  // kept
    EXPECT_NE(state.find("\"page\": 2"), std::string::npos);
    const auto bytes = ReadBytes(dir.File("ParvoClient.usr"));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "[Other]\nkeep=1\n[FILEMANAGER]\nOriginal_File_Directory_Type=Image File\n"
              "Convert_File_Directory_Type=SFA\nSFMFormat=1080i/1080PsF\nSFAFormat=1080i/59.94\n");
}

TEST(UiCommand, ARunStopsWhereCancelAfterSays) {
    TempDir dir;
    const std::string src = dir.MakeDir("src"), dst = dir.MakeDir("dst");
    for (const char* name : {"A.tga", "B.tga"})
        WriteBytes(src + "/" + name, TgaFile(Numbered(4, 2)));
    const ProcessResult r =
        Ui(dir, "folder source " + src + "\nfolder dest " + dst + "\ncancel-after 1\nexec\ndump\n");
    EXPECT_FALSE(AnyLineHas(r.outLines, {"\"box\""}));  // Cancel shows nothing
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"stdout\": \"fseek RGB = 18\\n\""}));
    EXPECT_TRUE(AnyLineHas(r.outLines, {"\"dest_list\": {\"items\": [\"MA.FMEM_001.SFM\", "
                                        "\"SA.FMEM_002.SFM\"]}"}));
}

}  // namespace
}  // namespace fmconv::testing
