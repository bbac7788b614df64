/** Questions with a default answer, which the shell itself does not ask yet. */
#include <gtest/gtest.h>

#include <string>

#include "tests/support/piped_program.h"

namespace {

std::string ask(const std::string &text, const std::string &defaultText,
                const std::string &required, std::string_view input) {
    const support::ProgramResult result =
        support::run({PROMPT_DRIVER, {text, defaultText, "show", required}, {}, {}}, input);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.ending, support::exited(0));
    return result.out;
}

TEST(PromptDefault, isShownInBrackets) {
    EXPECT_EQ(ask("Database", "plays", "required", "\n"), "Database [plays]> \n[plays]\n");
}

TEST(PromptDefault, isReplacedByAnAnswer) {
    EXPECT_EQ(ask("Database", "plays", "required", "poems\n"), "Database [plays]> \n[poems]\n");
}

TEST(PromptDefault, isTakenForAnOptionalAnswerToo) {
    EXPECT_EQ(ask("Database", "plays", "optional", "\n"), "Database [plays]> \n[plays]\n");
}

TEST(PromptDefault, isNotTakenWhenTheUserCancels) {
    EXPECT_EQ(ask("Database", "plays", "optional", "\033"), "Database [plays]> \ncancelled\n");
}

TEST(PromptDefault, isCutAt255Characters) {
    const std::string longer(300, 'd');
    const std::string question = "Q [" + longer;
    EXPECT_EQ(ask("Q", longer, "required", "\n"),
              question.substr(0, 255) + "\n[" + longer.substr(0, 255) + "]\n");
}

TEST(Prompt, withoutDefaultIsCutAt255Characters) {
    EXPECT_EQ(ask(std::string(300, 'q'), "", "optional", "x\n"), std::string(255, 'q') + "\n[x]\n");
}

TEST(Prompt, optionalAnswerMayBeEmpty) {
    EXPECT_EQ(ask("Database", "", "optional", "\n"), "Database> \n[]\n");
}

}  // namespace
