/** The questions for user name and password, answered through a pipe. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Prompt : public VexaTest {
protected:
    void expectLogin(const std::string &user, const std::string &password) const {
        EXPECT_THAT(kernelCalls("ZdbStartZarn"), ElementsAre("ZdbStartZarn(\"" + user + "\", \"" +
                                                             password + "\", 9, 4096) = 1"));
    }
    /** Whichever question is cancelled, both have been asked. */
    void expectCancelled(std::string_view input) const {
        expectResult(run({}, input), banner + bothQuestions_ + usageText, "", 1);
        EXPECT_THAT(kernelCalls(), IsEmpty());
    }

    const std::string bothQuestions_ = "Username> \nPassword> \n";
};

TEST_F(Prompt, missingUserAndPasswordAreAskedFor) {
    expectResult(run({}, "ann\nsecret\nHELP;\n"),
                 banner + bothQuestions_ + welcome + prompt + helpText + prompt, "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, onlyWhatIsMissingIsAskedFor) {
    expectResult(run({"-u", "ann"}, "secret\n"), banner + "Password> \n" + welcome + prompt, "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, userAloneIsAskedForWhenThePasswordIsGiven) {
    expectResult(run({"-p", "secret"}, "ann\n"), banner + "Username> \n" + welcome + prompt, "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, quietAndBatchModeAskToo) {
    expectResult(run({"-q", "-i"}, "ann\nsecret\nHELP;\n"), banner + bothQuestions_ + helpText, "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, emptyUserIsAskedForAgain) {
    expectResult(run({"-q"}, "\n\nann\nsecret\n"),
                 banner +
                     "Username> \nThe information is required.\n"
                     "Username> \nThe information is required.\n" +
                     bothQuestions_ + prompt,
                 "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, emptyPasswordIsPassedOn) {
    expectResult(run({"-q"}, "ann\n\n"), banner + bothQuestions_ + prompt, "");
    expectLogin("ann", "");
}

TEST_F(Prompt, carriageReturnEndsAnAnswer) {
    expectResult(run({"-q"}, "ann\rsecret\r"), banner + bothQuestions_ + prompt, "");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, backspaceRemovesTheCharacterBefore) {
    run({}, "\b\bbob\b\b\bann\nsecrex\bt\n");
    expectLogin("ann", "secret");
}

TEST_F(Prompt, answerEmptiedWithBackspacesIsEmpty) {
    expectResult(run({"-q"}, "x\b\nann\n\n"),
                 banner + "Username> \nThe information is required.\n" + bothQuestions_ + prompt,
                 "");
    expectLogin("ann", "");
}

TEST_F(Prompt, otherControlCharactersAreStored) {
    run({}, "a\tn\003n\004\032\nse\177cret\n");
    expectLogin("a\\x09n\\x03n\\x04\\x1a", "se\\x7fcret");
}

TEST_F(Prompt, escapeCancels) {
    expectCancelled("\033");
    expectCancelled("ann\033\n");
    expectCancelled("ann\n\033");
    expectCancelled("ann\nsec\033ret\n");
}

TEST_F(Prompt, endOfInputCancels) {
    expectCancelled("");
    expectCancelled("ann");
    expectCancelled("ann\n");
    expectCancelled("ann\nsecret");
}

TEST_F(Prompt, cancelledQuestionIsTheOnlyOneWhenNothingElseIsMissing) {
    expectResult(run({"-p", "secret"}, "\033"), banner + "Username> \n" + usageText, "", 1);
    expectResult(run({"-u", "ann"}, "\033"), banner + "Password> \n" + usageText, "", 1);
}

TEST_F(Prompt, answerEndsAfter255CharactersAndTheRestStaysInTheInput) {
    const std::string user(255, 'u');
    expectResult(run({"-q"}, user + "secret\n"), banner + bothQuestions_ + prompt, "");
    expectLogin(user, "secret");
}

TEST_F(Prompt, cancellingControlCharactersCountAsTheLastThatFits) {
    for (const char c : {'\003', '\004', '\032', '\033'}) {
        expectCancelled(std::string(254, 'u') + c + "\nsecret\n");
    }
}

TEST_F(Prompt, nulByteEndsTheTextButNotTheAnswer) {
    run({}, std::string_view("an\0n\nsecret\n", 12));
    expectLogin("an", "secret");
}

TEST_F(Prompt, noSttyCommandRunsWithoutATerminal) {
    const std::string log = directory_ / "stty.log";
    std::filesystem::create_directory(directory_ / "bin");
    const std::string stty = directory_.write("bin/stty", "#!/bin/sh\necho ran >>'" + log + "'\n");
    std::filesystem::permissions(stty, std::filesystem::perms::owner_all);
    environment_ = {{"PATH", (directory_ / "bin") + ":/usr/bin:/bin"}};
    expectResult(run({"-q"}, "ann\nsecret\n"), banner + bothQuestions_ + prompt, "");
    EXPECT_FALSE(std::filesystem::exists(log));
}

TEST_F(Prompt, questionsAreSeenBeforeTheyAreAnswered) {
    support::PipedProgram program(vexa({"-q"}));
    ASSERT_TRUE(program.waitForOutput("Username> "));
    ASSERT_TRUE(program.send("ann\n"));
    ASSERT_TRUE(program.waitForOutput("Password> "));
    ASSERT_TRUE(program.send("secret\n"));
    ASSERT_TRUE(program.waitForOutput(prompt));
    EXPECT_EQ(program.finish().ending, support::exited(0));
}

}  // namespace
