/** Tab on a terminal. */
#include <filesystem>
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/terminal_program.h"
#include "tests/support/test_locale.h"

namespace {

using support::exited;
using support::TerminalProgram;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string result = ">\t<1>\t";

class Completion : public VexaTest {
protected:
    Completion() {
        environment_ = {
            {"TERM", "xterm"}, {"LC_ALL", "C.UTF-8"}, {"XDG_STATE_HOME", directory_ / "state"}};
    }
    /** A kernel that has these lists, whatever it is asked for. */
    void offers(const std::string &list) const { kernelAnswers("export-document " + list + "\n"); }

    static void expectAfter(TerminalProgram &program, const std::string &typed,
                            const std::string &shown) {
        ASSERT_TRUE(program.expect(prompt));
        program.type(typed + "\r");
        EXPECT_TRUE(program.expect(shown)) << program.unseen();
    }
    static void leave(TerminalProgram &program) {
        expectAfter(program, "by\t", "e;\r\n");
        EXPECT_EQ(program.finish(), exited(0));
    }
};

TEST_F(Completion, CompletesStatements) {
    TerminalProgram program(quietVexa(), 40);
    expectAfter(program, "hel\t", "Available Vexa-specific commands:\r\n");
    expectAfter(program, "XF\t//bed;", result + "//bed\r\n");
    expectAfter(program, "xf\t//bed;", result + "//bed\r\n");
    expectAfter(program, "noh\t", "highlighting disabled.\r\n");
    leave(program);
}

TEST_F(Completion, CompletesDatabases) {
    offers("plays\\npoems\\ngarden\\n");
    TerminalProgram program(quietVexa());
    expectAfter(program, "base g\t;", "BASE garden\r\n");
    expectAfter(program, "base p\t\tl\t;", "BASE plays\r\n");
    leave(program);
    EXPECT_THAT(program.screen(), HasSubstr("\r\nplays  poems\r\n"));
}

TEST_F(Completion, CompletesFilesBehindInput) {
    std::filesystem::create_directory(directory_ / "scripts");
    directory_.write("scripts/highlight.txt", "HIGHLIGHT;\n");
    TerminalProgram program(quietVexa());
    expectAfter(program, "input " + (directory_ / "scr") + "\thi\t;", "highlighting enabled.\r\n");
    leave(program);
}

TEST_F(Completion, CompletesNamesOfARequest) {
    offers(
        "E\\t9\\t1\\t\\tperson\\nA\\t5\\t0\\t\\tage\\nE\\t3\\t0\\t\\tprofession\\n"
        "E\\t2\\t0\\tdc\\ttitle\\nE\\t1\\t0\\t\\tnot_there\\n");
    TerminalProgram program(quietVexa());
    expectAfter(program, "xfind //person/pro\tf\t;", result + "//person/profession\r\n");
    expectAfter(program, "xfind //per\t;", result + "//person\r\n");
    expectAfter(program, "xfind //person[@a\t>3];", result + "//person[@age>3]\r\n");
    expectAfter(program, "xfind //dc:\t;", result + "//dc:title\r\n");
    expectAfter(program, "xfind //person/not\t;", result + "//person/not\r\n");
    expectAfter(program, "xfind\r//person/pers\t;", result + "//person/person\r\n");
    leave(program);
    EXPECT_THAT(kernelCalls("ZdbExport").front(),
                HasSubstr("filter=\"zarnxmlnames\" arguments=\"//person/\""));
}

TEST_F(Completion, ListsChoicesByHowOftenTheyOccur) {
    offers("E\\t9\\t1\\t\\tperson\\nE\\t5\\t0\\t\\tpeople\\nA\\t2\\t0\\t\\tpeer\\n");
    for (const unsigned short columns : {80, 40}) {
        TerminalProgram program(quietVexa(), columns);
        expectAfter(program, "xfind //pe\t\tr\t;", result + "//person\r\n");
        leave(program);
        EXPECT_THAT(program.screen(), HasSubstr("\r\nperson  people\r\n"));
    }
}

TEST_F(Completion, CompletesAxesTestsAndFunctions) {
    TerminalProgram program(quietVexa());
    expectAfter(program, "xfind //a/te\t;", result + "//a/text()\r\n");
    expectAfter(program, "xfind //a/par\tb;", result + "//a/parent::b\r\n");
    expectAfter(program, "xfind //a[cont\tb/te\t,'x')];",
                result + "//a[contains(b/text(),'x')]\r\n");
    expectAfter(program, "xfind //a[b='x' an\t c];", result + "//a[b='x' and c]\r\n");
    leave(program);
}

TEST_F(Completion, CompletesInTheCharacterSetOfTheLocale) {
    offers("E\\t9\\t1\\t\\tp\\xc3\\xa4rson\\n");
    for (const auto &[name, value] : support::makeLocale(directory_, "en_US", "ISO-8859-1"))
        environment_[name] = value;
    TerminalProgram program(quietVexa());
    expectAfter(program, "xfind //p\344\t;", result + "//p\344rson\r\n");
    leave(program);
}

TEST_F(Completion, FindsNothingWhereAKernelHasNoLists) {
    kernelAnswers("export-fails Unknown filter.\n");
    TerminalProgram program(quietVexa());
    expectAfter(program, "xfind //per\tson;", result + "//person\r\n");
    expectAfter(program, "base gar\tden;", "BASE garden\r\n");
    leave(program);
}

}  // namespace
