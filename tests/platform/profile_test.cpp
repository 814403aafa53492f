#include "platform/profile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "support/file_size_limit.h"
#include "support/temp_dir.h"

namespace fmconv::platform {
namespace {

using fmconv::testing::TempDir;

std::string ReadText(const std::string& path) {
    const auto bytes = fmconv::testing::ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

TEST(Profile, ReadingFindsTheKeyOfTheSectionIgnoringCase) {
    TempDir dir;
    const std::string path = dir.File("ParvoClient.usr");
    fmconv::testing::WriteText(path,
                               "[Other]\r\nSFMFormat=wrong\r\n[filemanager]\r\n"
                               "  sfmformat =  720P  \r\nSFAFormat=\"576i/50\"\r\nEmpty=\r\n"
                               "[FILEMANAGER]\r\nSFMFormat=second\r\n");
    struct Case {
        const char* key;
        const char* value;
    } cases[] = {{"SFMFormat", "720P"},   {"SFAFormat", "576i/50"}, {"Empty", ""},
                 {"Missing", "default"}, {"SFM", "default"}};
    for (const Case& c : cases) {
        EXPECT_EQ(GetPrivateProfileString("FILEMANAGER", c.key, "default", path), c.value) << c.key;
    }
    EXPECT_EQ(GetPrivateProfileString("Nowhere", "SFMFormat", "d", path), "d");
    EXPECT_EQ(GetPrivateProfileString("FILEMANAGER", "k", "d", dir.File("missing")), "d");
}

TEST(Profile, LongValuesAreCutToTheBuffer) {
    TempDir dir;
    const std::string path = dir.File("p.ini");
    fmconv::testing::WriteText(path, "[S]\nk=" + std::string(300, 'x') + "\n");
    EXPECT_EQ(GetPrivateProfileString("S", "k", "", path).size(), 259u);
}

TEST(Profile, WritingChangesOnlyTheKeyAndKeepsLineEnds) {
    struct Case {
        const char* what;
        std::string before;
        std::string after;
    } cases[] = {
        {"existing key, CR LF", "; note\r\n[A]\r\nx=1\r\n[FILEMANAGER]\r\nSFMFormat=720P\r\nZ=9\r\n",
         "; note\r\n[A]\r\nx=1\r\n[FILEMANAGER]\r\nSFMFormat=576i/50\r\nZ=9\r\n"},
        {"existing key, LF, odd spacing", "[FILEMANAGER]\n sfmformat = 720P\n\n[B]\ny=2",
         "[FILEMANAGER]\nSFMFormat=576i/50\n\n[B]\ny=2"},
        {"missing key goes after the section's last entry", "[FILEMANAGER]\nA=1\n\n[B]\ny=2\n",
         "[FILEMANAGER]\nA=1\nSFMFormat=576i/50\n\n[B]\ny=2\n"},
        {"missing section at the end", "[B]\r\ny=2", "[B]\r\ny=2\r\n[FILEMANAGER]\r\nSFMFormat=576i/50\r\n"},
        {"empty file", "", "[FILEMANAGER]\r\nSFMFormat=576i/50\r\n"},
    };
    for (const Case& c : cases) {
        TempDir dir;
        const std::string path = dir.File("ParvoClient.usr");
        fmconv::testing::WriteText(path, c.before);
        ASSERT_TRUE(WritePrivateProfileString("FILEMANAGER", "SFMFormat", "576i/50", path));
        EXPECT_EQ(ReadText(path), c.after) << c.what;
    }
    TempDir dir;
    ASSERT_TRUE(WritePrivateProfileString("FILEMANAGER", "SFMFormat", "720P", dir.File("new.usr")));
    EXPECT_EQ(ReadText(dir.File("new.usr")), "[FILEMANAGER]\r\nSFMFormat=720P\r\n");
    EXPECT_FALSE(WritePrivateProfileString("S", "k", "v", dir.File("no/folder/x.usr")));
}

TEST(Profile, TheFileIsRewrittenWholeWhereItReallyIsOrLeftAsItWas) {
    TempDir dir, elsewhere;
    const std::string real = elsewhere.File("ParvoClient.usr");
    const std::string before = "; other program\r\n[Client]\r\nHost=x\r\n[FILEMANAGER]\r\nSFMFormat=720P\r\n";
    fmconv::testing::WriteText(real, before);
    ::chmod(real.c_str(), 0604);
    std::filesystem::create_symlink(real, dir.File("ParvoClient.usr"));
    const std::vector<std::pair<std::string, std::string>> keys = {{"SFMFormat", "576i/50"},
                                                                   {"SFAFormat", "720P/50"}};
    {
        // A disk that cannot take the new content: the old file stays whole.
        const fmconv::testing::FileSizeLimit limit(before.size() + 10);
        EXPECT_FALSE(WritePrivateProfileStrings("FILEMANAGER", keys, dir.File("ParvoClient.usr")));
    }
    EXPECT_EQ(ReadText(real), before);
    ASSERT_TRUE(WritePrivateProfileStrings("FILEMANAGER", keys, dir.File("ParvoClient.usr")));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.File("ParvoClient.usr")));
    EXPECT_EQ(ReadText(real), "; other program\r\n[Client]\r\nHost=x\r\n[FILEMANAGER]\r\n"
                              "SFMFormat=576i/50\r\nSFAFormat=720P/50\r\n");
    struct stat info {};
    ::stat(real.c_str(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0604u);
}

}  // namespace
}  // namespace fmconv::platform
