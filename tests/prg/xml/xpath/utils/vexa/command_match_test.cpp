#include "prg/xml/xpath/utils/vexa/command_match.h"

#include <gtest/gtest.h>

namespace {

TEST(CommandMatch, wholeTextsAreComparedWithoutRegardToCase) {
    EXPECT_TRUE(equalsNoCase("Help", "hELP"));
    EXPECT_TRUE(equalsNoCase("", ""));
    EXPECT_FALSE(equalsNoCase("HELP", "HELPX"));
    EXPECT_FALSE(equalsNoCase("HELPX", "HELP"));
    EXPECT_FALSE(equalsNoCase("HELP", ""));
}

TEST(CommandMatch, onlyTheLettersOfAsciiHaveCase) {
    EXPECT_FALSE(equalsNoCase("@", "`"));
    EXPECT_FALSE(equalsNoCase("[", "{"));
    EXPECT_FALSE(equalsNoCase("\xe9", "\xc9"));
}

TEST(CommandMatch, prefixesAreComparedInTheSameWay) {
    EXPECT_TRUE(startsWithNoCase("basement", "BASE"));
    EXPECT_TRUE(startsWithNoCase("BASE", "BASE"));
    EXPECT_TRUE(startsWithNoCase("x", ""));
    EXPECT_FALSE(startsWithNoCase("BAS", "BASE"));
    EXPECT_FALSE(startsWithNoCase("abase", "BASE"));
}

}  // namespace
