#include "platform/files.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace fmconv::platform {
namespace {

using fmconv::testing::TempDir;
using fmconv::testing::WriteText;

TEST(ListDirectory, MatchesTheTextAfterTheLastDotIgnoringCase) {
    TempDir dir;
    for (const char* name :
         {"a.TIF", "b.tiff", "c.Bmp", "d.tif.bak", "e.tga", "tif", "f.TIF ", "Z.tif"}) {
        WriteText(dir.File(name), "x");
    }
    dir.MakeDir("folder.tif");  // folders are not excluded

    // In list order: letters ignoring case, so Z after folder.
    EXPECT_EQ(ListDirectory(dir.path(), "tif"),
              (std::vector<std::string>{"a.TIF", "folder.tif", "Z.tif"}));
    EXPECT_EQ(ListDirectory(dir.path(), "tiff"), (std::vector<std::string>{"b.tiff"}));
    EXPECT_EQ(ListDirectory(dir.path(), "bmp"), (std::vector<std::string>{"c.Bmp"}));
    EXPECT_TRUE(ListDirectory(dir.File("missing"), "tif").empty());
}

}  // namespace
}  // namespace fmconv::platform
