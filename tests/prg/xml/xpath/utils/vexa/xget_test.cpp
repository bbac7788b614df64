/** XGET: how the statement is split, what the export filter is told, what is printed. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

namespace {

using support::ProgramResult;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string document = "<result matches=\"1\"><fragment>text</fragment></result>\n";
const std::string specMissing = "ERROR: Missing fragment spec.\n";

/** The recorded call for these arguments, all texts in ASCII without quotes. */
std::string exportCall(const std::string &query, const std::string &spec, int filterOptions = 0,
                       const std::string &status = "1") {
    const size_t length =
        std::string("XPATHQUERY=\nXPATHFRAGMENTS=\n").size() + query.size() + spec.size();
    return "ZdbExport(filter=\"zarnxmlquery\" arguments=\"XPATHQUERY=" + query +
           "\\x0aXPATHFRAGMENTS=" + spec + "\\x0a\" arg_length=" + std::to_string(length) +
           " filter_options=" + std::to_string(filterOptions) +
           " zdb_options=4 rest=zero) = " + status;
}

class Xget : public VexaTest {};

struct Split {
    const char *statement;
    const char *query;
    const char *spec;
};

TEST_F(Xget, queryEndsAtTheFirstBlankThatIsFollowedByASlash) {
    const Split facts[] = {
        {"XGET //a /b", "//a", "/b"},
        {"xget //a /b", "//a", "/b"},
        {"XGET a /", "a", "/"},
        {"XGET //a /b /c //d", "//a", "/b /c //d"},
        {"XGET //a    /b", "//a", "/b"},
        {"XGET //a [b] /c", "//a [b]", "/c"},
        {"XGET //a[b = 'x y'] //c", "//a[b = 'x y']", "//c"},
        {"XGET //a | b /c", "//a | b", "/c"},
        {"XGET //a | /b /c", "//a |", "/b /c"},      // the first one counts
        {"XGET a[b=' /x'] /c", "a[b='", "/x'] /c"},  // in a literal too
        {"XGET /a /b", "/a", "/b"},
        {"XGET  /a /b", "/a", "/b"},  // a blank at position 5 does not count
        {"XGET   /a /b", "", "/a /b"},
        {"XGET    //a /b", "", "//a /b"},
        {"XGET a\t/b /c", "a\t/b", "/c"},
        {"XGET //a /b\n/c", "//a", "/b\n/c"},
    };
    for (const Split &fact : facts) {
        SCOPED_TRACE(fact.statement);
        const size_t before = kernelCalls("ZdbExport").size();
        runStatements(std::string(fact.statement) + "\n;\n");
        std::string query = fact.query;
        std::string spec = fact.spec;
        std::string expected = exportCall(query, spec);
        for (const auto &[from, to] :
             {std::pair<std::string, std::string>{"\t", "\\x09"},
              std::pair<std::string, std::string>{"/b\n/c", "/b\\x0a/c"}}) {
            if (const size_t at = expected.find(from); at != std::string::npos) {
                expected.replace(at, from.size(), to);
            }
        }
        ASSERT_EQ(kernelCalls("ZdbExport").size(), before + 1);
        EXPECT_EQ(kernelCalls("ZdbExport").back(), expected);
    }
}

TEST_F(Xget, withoutSuchABlankTheFragmentSpecIsMissing) {
    for (const char *statement : {"XGET //a", "XGET /", "XGET //a b", "XGET //a/b", "XGET a [b] c",
                                  "XGET  /a", "XGET //a\t/b", "XGET //a\n/b", "XGET a b c d e"}) {
        SCOPED_TRACE(statement);
        expectResult(support::run(quietVexa({"-i"}), std::string(statement) + ";\n"),
                     banner + specMissing, "");
    }
    EXPECT_THAT(kernelCalls("ZdbExport"), IsEmpty());
}

TEST_F(Xget, printsTheDocumentAndALineFeed) {
    expectResult(runStatements("XGET //a /;\n"), session({document}), "");
    EXPECT_THAT(kernelCommands(), IsEmpty());
}

TEST_F(Xget, documentOfANegativeLengthIsEmpty) {
    for (const char *length : {"-1", "-2147483648"}) {
        kernelAnswers(std::string("export-length ") + length + "\n");
        expectResult(runStatements("XGET //a /;\n"), session({"\n"}), "");
    }
}

TEST_F(Xget, highlightingIsFilterOption32) {
    runStatements(
        "XGET a /;\nHIGHLIGHT;\nXGET a /;\nHIGHLIGHT;\nXGET a /;\nNOHIGHLIGHT;\nXGET a /;\n");
    EXPECT_THAT(kernelCalls("ZdbExport"),
                ElementsAre(exportCall("a", "/"), exportCall("a", "/", 32),
                            exportCall("a", "/", 32), exportCall("a", "/")));
}

TEST_F(Xget, executionSwitchedOffDoesNotConcernIt) {
    const ProgramResult result = runStatements("NOEXECUTE;\nXGET a /;\n");
    EXPECT_EQ(result.out,
              session({"XPath expressions will be be parsed, but not executed.\n", document}));
}

TEST_F(Xget, documentIsPrintedWholeWhateverBytesItHolds) {
    kernelAnswers("export-document <a>%s\\x00\\xff\\n</a>\n");
    expectResult(runStatements("XGET a /;\n"), session({std::string("<a>%s\0\xff\n</a>\n", 13)}),
                 "");
}

TEST_F(Xget, emptyDocumentIsALineFeed) {
    kernelAnswers("export-document \n");
    expectResult(runStatements("XGET a /;\n"), session({"\n"}), "");
}

TEST_F(Xget, largeDocumentIsPrintedWhole) {
    kernelAnswers("export-document 0123456789\nexport-repeat 1000000\n");
    const ProgramResult result = runStatements("XGET a /;\n");
    EXPECT_EQ(result.out.size(), session({"\n"}).size() + 10'000'000);
    EXPECT_EQ(result.ending, support::exited(0));
}

TEST_F(Xget, missingDocumentIsAnErrorButNoFailure) {
    kernelAnswers("export-null\n");
    expectResult(runBatch("XGET a /;\nHIGHLIGHT;\n"),
                 banner + "XGET fragment highlighting enabled.\n",
                 "ERROR: Unexpected NULL result document.\n");
}

TEST_F(Xget, failureIsPrintedWithTheTextOfTheRecord) {
    kernelAnswers("export-fails Unknown fragment \"/[\".\n");
    expectResult(runStatements("XGET a /[;\n"), session({""}), "ERROR: Unknown fragment \"/[\".\n");
    EXPECT_THAT(kernelCalls("ZdbMessage"), IsEmpty());
}

TEST_F(Xget, failureWithoutATextIsPrintedWithTheKernelsMessage) {
    kernelAnswers("export-fails-silently No database is open.\n");
    expectResult(runStatements("XGET a /;\n"), session({""}), "ERROR: No database is open.\n");
    EXPECT_THAT(kernelCalls("ZdbMessage"),
                ElementsAre("ZdbMessage(1002, 256) = 1 \"No database is open.\""));
}

TEST_F(Xget, longTextsOfFailuresAreCut) {
    const std::string message(1000, 'm');
    for (const char *directive : {"export-fails ", "export-fails-silently "}) {
        kernelAnswers(directive + message + "\n");
        expectResult(runStatements("XGET a /;\n"), session({""}),
                     "ERROR: " + message.substr(0, 256) + "\n");
    }
}

TEST_F(Xget, longQueriesAndSpecsArePassedWhole) {
    const std::string query(20000, 'q');
    const std::string spec = "/" + std::string(20000, 's');
    runStatements("XGET " + query + " " + spec + ";\n");
    EXPECT_THAT(kernelCalls("ZdbExport"), ElementsAre(exportCall(query, spec)));
}

TEST_F(Xget, percentSignsAreNoFormat) {
    runStatements("XGET a[b='%s%n'] /%d;\n");
    EXPECT_THAT(kernelCalls("ZdbExport"), ElementsAre(exportCall("a[b='%s%n']", "/%d")));
}

}  // namespace
