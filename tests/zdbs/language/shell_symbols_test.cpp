#include "zdbs/language/shell_symbols.h"

#include <gtest/gtest.h>

namespace zdbs {
namespace {

TEST(ShellSymbols, StandForCommandWords) {
    EXPECT_EQ(wordForSymbol("OPN"), "BASE");
    EXPECT_EQ(wordForSymbol("DEL"), "DELETE");
    EXPECT_EQ(wordForSymbol("SXX"), "S");
    EXPECT_EQ(wordForSymbol("FIN"), "FIND");
    EXPECT_EQ(wordForSymbol("ORX"), "OR");
    EXPECT_EQ(wordForSymbol("ANT"), "AND.T");
    EXPECT_EQ(wordForSymbol("DEF"), "DEFINE");
    EXPECT_EQ(wordForSymbol("HIL"), "HITS");
    EXPECT_EQ(wordForSymbol("REN"), "RENUMBER");
    EXPECT_EQ(wordForSymbol("MIN"), "MIN");
    EXPECT_EQ(wordForSymbol("opn"), "BASE");
}

TEST(ShellSymbols, AreNoOtherTexts) {
    EXPECT_EQ(wordForSymbol(""), std::nullopt);
    EXPECT_EQ(wordForSymbol("OP"), std::nullopt);
    EXPECT_EQ(wordForSymbol("OPNX"), std::nullopt);
    EXPECT_EQ(wordForSymbol("FIND"), std::nullopt);
}

}  // namespace
}  // namespace zdbs
