/** The commands of the shell and what is no command. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string invalid = "Invalid command.\n";
const std::string executeOn = "XPath expressions will be parsed and executed.\n";
const std::string executeOff = "XPath expressions will be be parsed, but not executed.\n";
const std::string highlightOn = "XGET fragment highlighting enabled.\n";
const std::string highlightOff = "XGET fragment highlighting disabled.\n";
const std::string baseMissing = "Required parameter missing: name of database file.\n";
const std::string inputMissing = "Required parameter missing: name of XPath script file.\n";
const std::string specMissing = "ERROR: Missing fragment spec.\n";

struct Fact {
    const char *statement;
    std::string out;
};

class Command : public VexaTest {
protected:
    void expectOutput(const Fact &fact) const {
        SCOPED_TRACE(fact.statement);
        expectResult(runStatements(std::string(fact.statement) + ";\n"), session({fact.out}), "");
    }
};

TEST_F(Command, byeAndStopLeaveTheShell) {
    for (const char *statement : {"BYE", "STOP", "bye", "stop", "Bye", " sToP "}) {
        expectResult(runStatements(std::string(statement) + ";\nHELP;\n"), banner + prompt, "");
    }
}

TEST_F(Command, byeLeavesABatchAndAScriptToo) {
    expectResult(runBatch("BYE;\nHELP;\n"), banner, "");
    const std::string script = directory_.write("input.txt", "STOP;\nHELP;\n");
    expectResult(runStatements("INPUT " + script + ";\nHELP;\n"), banner + prompt, "");
}

TEST_F(Command, eachCommandAnswers) {
    const Fact facts[] = {
        {"HELP", helpText},
        {"help", helpText},
        {"EXECUTE", executeOn},
        {"execute", executeOn},
        {"NOEXECUTE", executeOff},
        {"noExecute", executeOff},
        {"HIGHLIGHT", highlightOn},
        {"highlight", highlightOn},
        {"NOHIGHLIGHT", highlightOff},
        {"NoHighlight", highlightOff},
        {"BASE", baseMissing},
        {"base", baseMissing},
        {"BASE    ", baseMissing},
        {"BASEx", baseMissing},  // the character behind the prefix is skipped
        {"INPUT", inputMissing},
        {"input  ", inputMissing},
        {"INPUT;", inputMissing},
        {"XGET //a", specMissing},
        {"xget //a", specMissing},
    };
    for (const Fact &fact : facts)
        expectOutput(fact);
    EXPECT_THAT(kernelCommands(), IsEmpty());
}

TEST_F(Command, anythingElseIsInvalid) {
    for (const char *statement : {"",
                                  "BYEBYE",
                                  "BYE NOW",
                                  "STOPS",
                                  "BAS",
                                  "INPU",
                                  "HELP ME",
                                  "HELPX",
                                  "EXECUTE NOW",
                                  "NO EXECUTE",
                                  "HIGHLIGHTS",
                                  "NOHIGHLIGHT x",
                                  "XFIN //a",
                                  "XGET",
                                  "XGETS //a /b",
                                  "XGET\t//a /b",
                                  "//a",
                                  "FIND //a",
                                  "GO",
                                  "QUIT",
                                  "?"}) {
        expectOutput({statement, invalid});
    }
}

TEST_F(Command, characterBehindBaseIsSkippedWhateverItIs) {
    runStatements("BASE plays;\nbase\tplays;\nBASEmydb;\nBASE=plays ;\nBASE   plays;\n");
    EXPECT_THAT(kernelCommands(),
                ElementsAre("BASE plays", "DELETE S=1", "BASE plays", "DELETE S=1", "BASE ydb",
                            "DELETE S=1", "BASE plays", "DELETE S=1", "BASE plays", "DELETE S=1"));
}

TEST_F(Command, nameOnTheNextLineIsTheArgumentOfBase) {
    runStatements("BASE\nplays;\n");
    EXPECT_THAT(kernelCommands(), ElementsAre("BASE plays", "DELETE S=1"));
}

TEST_F(Command, argumentOfInputBeginsBehindTheSkippedCharacter) {
    const std::string script = directory_.write("input.txt", "HIGHLIGHT;\n");
    for (const char *command : {"INPUT ", "input\t", "INPUTx", "INPUT   ", "INPUT/"}) {
        const bool slash = std::string(command).ends_with('/');
        const std::string name = slash ? "/" + script : script;
        expectResult(runStatements(command + name + ";\nBYE;\n"),
                     banner + prompt + highlightOn + prompt, "");
    }
}

TEST_F(Command, argumentOfXfindBeginsBehindTheSkippedCharacter) {
    expectResult(runStatements("XFIND //a;\nxfind//b;\nXFIND\t //c ;\n"),
                 session({"<1>\t<1>\t//a\n", "<2>\t<1>\t/b\n", "<3>\t<1>\t//c\n"}), "");
}

TEST_F(Command, xfindWithoutARequestIsASyntaxError) {
    expectResult(runStatements("XFIND;\nXFINDx;\n"), session({"", ""}),
                 "EXCEPTION: syntax error\nEXCEPTION: syntax error\n");
}

TEST_F(Command, thereIsNoPlainRequest) {
    expectOutput({"/a/b", invalid});
    EXPECT_THAT(kernelCommands(), IsEmpty());
}

}  // namespace
