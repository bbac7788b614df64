#include "zdbs/language/parsed_commands.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/language/command_text.h"
#include "zdbs/base/status.h"

namespace zdbs {
namespace {

using testing::parsed;
using testing::textOf;

TEST(ParsedCommands, AnswerWhatIsAskedAgainWithoutParsingIt) {
    ParsedCommands commands;
    const auto first = commands.parse("FIND XPATH(child,1,2,2)");
    EXPECT_EQ(commands.parse("FIND XPATH(child,1,2,2)"), first);
    EXPECT_NE(commands.parse("FIND XPATH(child,1,2,1)"), first);
    EXPECT_EQ(textOf(*first), parsed("FIND XPATH(child,1,2,2)"));
}

TEST(ParsedCommands, AreThoseOfTheirTextsWhereverManyShareAPlace) {
    ParsedCommands commands;
    for (int round = 0; round < 3; ++round) {
        for (int number = 1; number <= 2000; ++number) {
            const std::string line = "DELETE S=" + std::to_string(number);
            ASSERT_EQ(textOf(*commands.parse(line)), parsed(line));
        }
    }
}

TEST(ParsedCommands, StayAsTheyAreForWhoHasThem) {
    ParsedCommands commands;
    const auto held = commands.parse("DELETE S=1");
    for (int number = 2; number <= 2000; ++number)
        commands.parse("DELETE S=" + std::to_string(number));
    EXPECT_EQ(textOf(*held), "delete 1");
}

TEST(ParsedCommands, ThatAreLongAreParsedEachTime) {
    ParsedCommands commands;
    const std::string line = "FIND N_TVALUE=\"" + std::string(1000, 'x') + "\"";
    const auto first = commands.parse(line);
    const auto second = commands.parse(line);
    EXPECT_NE(first, second);
    EXPECT_EQ(textOf(*second), parsed(line));
}

TEST(ParsedCommands, FailAgainAsTheyDidBefore) {
    ParsedCommands commands;
    for (int round = 0; round < 2; ++round) {
        try {
            commands.parse("FIND N_FOO=1");
            FAIL() << "an unknown field was taken";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::unknownField);
            EXPECT_STREQ(failure.what(), "Unknown field N_FOO at column 6.");
        }
    }
}

}  // namespace
}  // namespace zdbs
