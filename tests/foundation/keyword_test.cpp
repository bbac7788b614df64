#include "foundation/keyword.h"

#include <gtest/gtest.h>

namespace {

TEST(Keyword, wholeTextsAreComparedWithoutRegardToCase) {
    EXPECT_TRUE(equalsNoCase("Help", "hELP"));
    EXPECT_TRUE(equalsNoCase("", ""));
    EXPECT_FALSE(equalsNoCase("HELP", "HELPX"));
    EXPECT_FALSE(equalsNoCase("HELPX", "HELP"));
    EXPECT_FALSE(equalsNoCase("HELP", ""));
}

TEST(Keyword, onlyTheLettersOfAsciiHaveCase) {
    EXPECT_FALSE(equalsNoCase("@", "`"));
    EXPECT_FALSE(equalsNoCase("[", "{"));
    EXPECT_FALSE(equalsNoCase("\xe9", "\xc9"));
}

TEST(Keyword, prefixesAreComparedInTheSameWay) {
    EXPECT_TRUE(startsWithNoCase("basement", "BASE"));
    EXPECT_TRUE(startsWithNoCase("BASE", "BASE"));
    EXPECT_TRUE(startsWithNoCase("x", ""));
    EXPECT_FALSE(startsWithNoCase("BAS", "BASE"));
    EXPECT_FALSE(startsWithNoCase("abase", "BASE"));
}

}  // namespace
