#include "base/text.h"

#include <gtest/gtest.h>

namespace fmconv {
namespace {

TEST(Text, AtoiLikeReadsLeadingDigitsOnly) {
    struct Case {
        const char* text;
        int32_t value;
    } cases[] = {
        {"0999", 999}, {"_010", 0},  {"010", 10},
        {"abcd", 0},   {"12ab", 12}, {" 42", 42},
        {"-7", -7},    {"", 0},      {"99999999999", INT32_MAX},
    };
    for (const Case& c : cases) EXPECT_EQ(AtoiLike(c.text), c.value) << c.text;
}

TEST(Text, StemAndExtensionSplitAtTheLastDot) {
    EXPECT_EQ(StemOf("MLOGO.FMEM_001.SFM.TMP"), "MLOGO.FMEM_001.SFM");
    EXPECT_EQ(ExtensionOf("MLOGO.FMEM_001.SFM.TMP"), "TMP");
    EXPECT_EQ(StemOf("noext"), "noext");
    EXPECT_EQ(ExtensionOf("noext"), "");
    EXPECT_EQ(ExtensionOf("trailing."), "");
}

TEST(Text, CaseIsIgnoredForAsciiLettersOnly) {
    EXPECT_TRUE(EqualsIgnoreCase("LOGO", "logo"));
    EXPECT_FALSE(EqualsIgnoreCase("LOGO", "LOGO "));
    EXPECT_FALSE(EqualsIgnoreCase("\xC4", "\xE4"));  // bytes above 127 compare as they are
    EXPECT_TRUE(EndsWithIgnoreCase("a.SFM.tmp", ".TMP"));
    EXPECT_FALSE(EndsWithIgnoreCase("TMP", ".TMP"));
}

}  // namespace
}  // namespace fmconv
