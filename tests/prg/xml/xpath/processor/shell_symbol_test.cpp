#include "prg/xml/xpath/processor/shell_symbol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/prg/xml/xpath/processor/fake_kernel.h"

namespace {

using ::testing::ElementsAre;

const std::string blanks(12, ' ');

class ShellSymbolTest : public ::testing::TestWithParam<FakeKernel::TextStyle> {
protected:
    void SetUp() override {
        kernel_.reset();
        kernel_.setTextStyle(GetParam());
    }

    FakeKernel &kernel_ = FakeKernel::instance();
};

TEST_P(ShellSymbolTest, AsksWithTheSymbolFilledWithBlanksTo16) {
    const ShellSymbol symbol("FIN");
    EXPECT_THAT(kernel_.calls(), ElementsAre("ShellSymbol [FIN " + blanks + "] 16"));
}

TEST_P(ShellSymbolTest, AWordEndsAtItsLength) {
    EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "DELETE");
    EXPECT_STREQ(ShellSymbol("SXX").GetWord(), "S");
}

TEST_P(ShellSymbolTest, AWordAsLongAsTheFieldIsUsedWhole) {
    kernel_.setWord("DEL", "SIXTEENCHARACTER");
    EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "SIXTEENCHARACTER");
}

TEST_P(ShellSymbolTest, ALongerWordIsCutAtTheField) {
    kernel_.setWord("DEL", "SEVENTEENCHARACTERS");
    EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "SEVENTEENCHARACT");
}

TEST_P(ShellSymbolTest, AnEmptyWordIsEmpty) {
    kernel_.setWord("DEL", "");
    EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "");
}

TEST_P(ShellSymbolTest, ALengthOutsideTheFieldDoesNotReachBeyondIt) {
    kernel_.setWord("DEL", "SIXTEENCHARACTER");
    for (const std::int32_t length : {17, 1000, INT32_MAX}) {
        kernel_.tellWordLength(length);
        EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "SIXTEENCHARACTER") << length;
    }
    for (const std::int32_t length : {-1, INT32_MIN}) {
        kernel_.tellWordLength(length);
        EXPECT_STREQ(ShellSymbol("DEL").GetWord(), "") << length;
    }
}

TEST_P(ShellSymbolTest, AnUnknownSymbolIsItsOwnWord) {
    kernel_.forgetWord("DEL");
    EXPECT_EQ(ShellSymbol("DEL").GetWord(), "DEL " + blanks);
}

INSTANTIATE_TEST_SUITE_P(Styles, ShellSymbolTest,
                         ::testing::Values(FakeKernel::TextStyle::terminated,
                                           FakeKernel::TextStyle::padded),
                         [](const auto &style) {
                             return style.param == FakeKernel::TextStyle::terminated ? "Terminated"
                                                                                     : "Padded";
                         });

TEST(ShellSymbolUncut, AWordIsUsedAsTheKernelLeftIt) {
    FakeKernel &kernel = FakeKernel::instance();
    kernel.reset();
    EXPECT_STREQ(ShellSymbol("DEL", WORD_CUT_NOT).GetWord(), "DELETE");
    kernel.setTextStyle(FakeKernel::TextStyle::padded);
    EXPECT_STREQ(ShellSymbol("DEL", WORD_CUT_NOT).GetWord(), "DELETE          ");
}

}  // namespace
