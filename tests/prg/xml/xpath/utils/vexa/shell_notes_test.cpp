/** Notes beside the fixed texts: on a terminal, dim, on standard error. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"
#include "tests/support/test_locale.h"

namespace {

using support::exited;
using support::TerminalProgram;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string dim = "\033[2m";
const std::string bright = "\033[22m\r\n";

class ShellNotes : public VexaTest {
protected:
    ShellNotes() {
        environment_ = {
            {"TERM", "xterm"}, {"LC_ALL", "C.UTF-8"}, {"XDG_STATE_HOME", directory_ / "state"}};
        // What a kernel answers that has lists of names.
        kernelAnswers("export-document E\\t9\\t1\\t\\tpl\xc3\xa4nt\\nA\\t3\\t0\\tsoil\\tid\\n\n");
    }
    support::Command talkingVexa() const { return vexa({"-u", "ann", "-p", "secret"}); }

    static void expectAfter(TerminalProgram &program, const std::string &line,
                            const std::string &shown) {
        ASSERT_TRUE(program.expect(prompt));
        program.type(line + "\r");
        ASSERT_TRUE(program.expect(line + "\r\n"));
        EXPECT_TRUE(program.expect(shown)) << program.unseen();
    }
    static void leave(TerminalProgram &program) {
        ASSERT_TRUE(program.expect(prompt));
        program.type("bye;\r");
        EXPECT_EQ(program.finish(), exited(0));
    }
};

TEST_F(ShellNotes, standBehindTheFixedTexts) {
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(talkingVexa(), columns);
        expectAfter(program, "xfind //id[.='x'];",
                    ">\t<1>\t//id[.='x']\r\n" + dim + "A dot compared with a literal");
        expectAfter(program, "xfind //pl\xc3\xa4n;",
                    ">\t<1>\t//pl\xc3\xa4n\r\n" + dim +
                        "No element of this database is named pl\xc3\xa4n; the nearest is "
                        "pl\xc3\xa4nt." +
                        bright);
        expectAfter(program, "xfind //x:id;",
                    dim + "No name of this database has the prefix x; there are soil." + bright);
        leave(program);
    }
}

TEST_F(ShellNotes, caretStandsUnderThePlaceOfASyntaxError) {
    TerminalProgram program(talkingVexa(), 40);
    expectAfter(program, "xfind //bed[a];", "\r\n");
    expectAfter(program, "xfind //b\xc3\xa4[)];",
                "EXCEPTION: syntax error\r\n" + dim + "//b\xc3\xa4[)]" + bright + dim +
                    "     ^ Not understood from here on." + bright);
    expectAfter(program, "noexecute;", "not executed.\r\n");
    expectAfter(program, "xfind //b[;", "ERROR: syntax error\r\n" + dim + "//b[" + bright);
    leave(program);
}

TEST_F(ShellNotes, areInTheCharacterSetOfTheLocale) {
    for (const auto &[name, value] : support::makeLocale(directory_, "en_US", "ISO-8859-1"))
        environment_[name] = value;
    TerminalProgram program(talkingVexa());
    expectAfter(program, "xfind //pl\344n;", "is named pl\344n; the nearest is pl\344nt." + bright);
    leave(program);
}

TEST_F(ShellNotes, sayWhatToTypeInsteadOfAnInvalidCommand) {
    TerminalProgram program(talkingVexa());
    const std::string invalid = "Invalid command.\r\n" + dim;
    expectAfter(program, "quit;", invalid + "Type bye; to leave." + bright);
    expectAfter(program, "EXIT;", invalid + "Type bye; to leave." + bright);
    expectAfter(program, "?;", invalid + "A request is a path");
    expectAfter(program, "help xfind;", invalid + "A request is a path");
    expectAfter(program, "xfnd //a;", invalid + "Do you mean xfind?" + bright);
    expectAfter(program, "//a;", invalid + "Type xfind in front of it." + bright);
    leave(program);
}

TEST_F(ShellNotes, areNotDimWhereNobodyWantsColours) {
    environment_["NO_COLOR"] = "1";
    TerminalProgram program(talkingVexa());
    expectAfter(program, "quit;", "Invalid command.\r\nType bye; to leave.\r\n");
    leave(program);
}

TEST_F(ShellNotes, goToStandardErrorAndOnlyToATerminal) {
    const std::string errors = directory_ / "errors.txt";
    TerminalProgram program(support::throughShell(talkingVexa(), "2>'" + errors + "'"));
    expectAfter(program, "xfind //b[;", "");
    expectAfter(program, "quit;", "Invalid command.\r\n");
    leave(program);
    EXPECT_EQ(support::readFile(errors), "EXCEPTION: syntax error\n");
}

TEST_F(ShellNotes, thereAreNoneInAQuietSessionOrInScripts) {
    const std::string script = directory_.write("input.txt", "quit;\nXFIND //id[.='x'];\n");
    TerminalProgram quiet(quietVexa());
    expectAfter(quiet, "quit;", "Invalid command.\r\n");
    leave(quiet);
    EXPECT_THAT(quiet.screen(), Not(HasSubstr(dim)));
    TerminalProgram program(talkingVexa());
    ASSERT_TRUE(program.expect(prompt));
    program.type("input " + script + ";\r");
    ASSERT_TRUE(program.expect("Invalid command.\r\n"));
    ASSERT_TRUE(program.expect("Script error"));
    leave(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("A dot")));
    EXPECT_THAT(program.screen(), Not(HasSubstr("Type bye")));
}

TEST_F(ShellNotes, nothingIsSaidOfNamesWhereSomeAreNotTold) {
    kernelAnswers("export-document E\\t9\\t1\\t\\tplant\\nE\\t3\\t0\\t\\t*\\n\n");
    TerminalProgram program(talkingVexa());
    expectAfter(program, "xfind //plan;", ">\t<1>\t//plan\r\n");
    leave(program);
    EXPECT_THAT(program.screen(), Not(HasSubstr("nearest")));
}

TEST_F(ShellNotes, namesAreAskedForOnlyAtATerminal) {
    EXPECT_EQ(runStatements("XFIND //a;\nBYE;\n").err, "");
    EXPECT_TRUE(kernelCalls("ZdbExport").empty());
    TerminalProgram program(talkingVexa());
    expectAfter(program, "xfind //b;", ">\t<1>\t//b\r\n");
    leave(program);
    EXPECT_EQ(kernelCalls("ZdbExport").size(), 1U);
}

}  // namespace
