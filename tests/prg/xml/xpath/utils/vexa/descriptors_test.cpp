/** Descriptors: those that are closed when the shell starts, and those that it opens. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::exited;
using support::ProgramResult;

class Descriptors : public VexaTest {};

/** Each subset of the three standard descriptors, closed. */
class ClosedDescriptors : public Descriptors, public ::testing::WithParamInterface<int> {
protected:
    static bool isClosed(int descriptor) { return (GetParam() >> descriptor & 1) != 0; }

    static std::string closing() {
        std::string redirections;
        for (int descriptor = 0; descriptor < 3; ++descriptor) {
            if (isClosed(descriptor)) redirections += " " + std::to_string(descriptor) + ">&-";
        }
        return redirections;
    }
};

TEST_P(ClosedDescriptors, areNotTakenByTheFilesOfTheShell) {
    const std::string log = directory_ / "vexa.log";
    const std::string batch = directory_.write("batch.txt", "XFIND a/;\n");
    const ProgramResult result =
        support::run(throughShell(quietVexa({"-l", "2", "-f", log, "-i", batch}), closing()));
    // Without an output the shell ends before it reads a statement.
    const std::string logged =
        "\\[.*  ERROR\\] ZXProcessorMain::Query: XPath parsing error: syntax error\n";
    EXPECT_THAT(support::readFile(log), ::testing::MatchesRegex(isClosed(1) ? "" : logged));
    EXPECT_EQ(support::readFile(batch), "XFIND a/;\n");
    EXPECT_EQ(result.out, isClosed(1) ? "" : banner);
    const std::string lost = "ERROR: Cannot write to standard output: Bad file descriptor\n";
    EXPECT_EQ(result.err, isClosed(2) ? "" : isClosed(1) ? lost : "EXCEPTION: syntax error\n");
    EXPECT_EQ(result.ending, exited(isClosed(1) ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(EverySubset, ClosedDescriptors, ::testing::Range(0, 8));

TEST_F(Descriptors, ofScriptsAreClosedWhenTheyEndAndWhenTheyAreGivenUp) {
    const std::string script = directory_.write("script.txt", "XFIND //a;\nHELP;\n");
    const std::string empty = directory_.write("empty.txt", "");
    std::string statements;
    for (int i = 0; i < 100; ++i)
        statements += "INPUT " + script + ";\nINPUT " + empty + ";\n";
    const ProgramResult result = support::run(throughShell(quietVexa(), "", "ulimit -n 20"),
                                              statements + "HIGHLIGHT;\nBYE;\n");
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out.ends_with("XGET fragment highlighting enabled.\n" + prompt));
    EXPECT_EQ(result.ending, exited(0));
}

TEST_F(Descriptors, ofScriptsThatReplaceOneAnotherAreClosed) {
    // Each script names the next one.
    constexpr int scripts = 100;
    for (int i = 0; i < scripts; ++i) {
        directory_.write(std::to_string(i),
                         "INPUT " + (directory_ / std::to_string(i + 1)) + ";\n");
    }
    directory_.write(std::to_string(scripts), "HIGHLIGHT;\nBYE;\n");
    expectResult(
        support::run(throughShell(quietVexa({"-i", directory_ / "0"}), "", "ulimit -n 20")),
        banner + "XGET fragment highlighting enabled.\n", "");
}

}  // namespace
