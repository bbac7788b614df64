/** Notes of `zdbs query` and `zdbs explain`. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/terminal_program.h"
#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::exited;
using support::TerminalProgram;
using testing::HasSubstr;
using testing::Not;

class RequestNotes : public ProgramTest {
protected:
    RequestNotes() {
        good({"init"});
        good({"create", "plays"});
        good({"load", "plays", directory_.write("a.xml", "<play><title>Hamlet</title></play>")});
    }
};

TEST_F(RequestNotes, AreInJsonUnlessTheyAreNotWanted) {
    for (const char *command : {"query", "explain"}) {
        const std::string out = good({command, "plays", "--json", "//titel[.='x']"});
        EXPECT_THAT(out,
                    HasSubstr("\"notes\":[\"A dot compared with a literal is no condition. Write "
                              "//titel[text()='x']\",\"No element of this database is named "
                              "titel; the nearest is title.\"]"));
        EXPECT_THAT(good({command, "plays", "--json", "--no-notes", "//titel"}),
                    Not(HasSubstr("notes")));
        EXPECT_THAT(good({command, "plays", "--json", "//title"}), Not(HasSubstr("notes")));
    }
}

TEST_F(RequestNotes, TellThePlaceOfASyntaxErrorInJson) {
    for (const char *command : {"query", "explain"})
        EXPECT_THAT(run({command, "plays", "--json", "//title["}).out,
                    HasSubstr("\"notes\":[\"Column 9: Not understood from here on.\"]"));
}

TEST_F(RequestNotes, AreOnATerminalOnly) {
    for (const char *command : {"query", "explain"}) {
        EXPECT_EQ(run({command, "plays", "//titel"}).err, "");
        TerminalProgram program(this->command({command, "plays", "//titel", "--no-notes"}), 40);
        EXPECT_EQ(program.finish(), exited(0));
        EXPECT_THAT(program.screen(), Not(HasSubstr("nearest")));
        TerminalProgram shown(this->command({command, "plays", "//titel"}), 40);
        EXPECT_EQ(shown.finish(), exited(0));
        EXPECT_THAT(shown.screen(), HasSubstr("\033[2mNo element of this database is named titel; "
                                              "the nearest is title.\033[22m\r\n"));
    }
}

TEST_F(RequestNotes, ShowThePlaceOfASyntaxErrorBelowIt) {
    TerminalProgram program(command({"query", "plays", "//title["}), 40);
    EXPECT_EQ(program.finish(), exited(1));
    EXPECT_THAT(program.screen(), HasSubstr("\033[2m//title[\033[22m\r\n"
                                            "\033[2m        ^ Not understood from here on."));
}

TEST_F(RequestNotes, ThereAreNoneOnFindCommands) {
    EXPECT_THAT(good({"explain", "plays", "--json", "FIND N_NAME=titel"}), Not(HasSubstr("notes")));
}

}  // namespace
}  // namespace zdbs
