// `zdbs explain` on pipes and on a terminal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/support/terminal_program.h"
#include "tests/zdbs/admin/json_value.h"
#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::exited;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class Explain : public ProgramTest {
protected:
    Explain() {
        makeDatabase();
        good({"load", "db",
              directory_.write("d.xml", "<a><b x='1'>one</b><b x='2'>two</b><c>one</c></a>")});
    }

    JsonValue explained(const std::string &request) const {
        return readJsonLine(good({"explain", "db", "--json", request}));
    }
};

/** The text with each time as "T ms" and what found the sets as it is; columns shrink with it. */
std::string withoutTimes(const std::string &text) {
    return std::regex_replace(text, std::regex(" +[0-9]+\\.[0-9]{3} ms"), " T ms");
}

/** Number, records and condition of each line of the table. */
std::vector<std::string> tableOf(const std::string &text) {
    std::vector<std::string> rows;
    const std::regex row(" *S([0-9]+) +([0-9]+) +[0-9]+\\.[0-9]{3} ms  (.*[^ ])  +([^ ].*)");
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        std::smatch parts;
        const std::string line = text.substr(at, end - at);
        if (std::regex_match(line, parts, row))
            rows.push_back(parts.str(1) + ' ' + parts.str(2) + ' ' + parts.str(4));
        at = end + 1;
    }
    return rows;
}

TEST_F(Explain, ShowsTheSetsOfARequestInOrder) {
    const std::string text = good({"explain", "db", "//a[c/text()='one']/b"});
    EXPECT_THAT(tableOf(text),
                testing::ElementsAre(
                    "1 1 N_TYPE=ELEMENT AND.T N_NAME=\"a\"", "2 1 XPATH(child,0,1,2)",
                    "3 2 N_TYPE=TEXT AND.T N_TVALUE=&one&", "4 1 N_TYPE=ELEMENT AND.T N_NAME=\"c\"",
                    "5 1 XPATH(descendant,4,3,1)", "6 1 XPATH(child,2,5,1)",
                    "7 2 N_TYPE=ELEMENT AND.T N_NAME=\"b\"", "8 2 XPATH(child,6,7,2)"))
        << text;
    EXPECT_THAT(withoutTimes(text), HasSubstr("\n\ntranslation T ms\nkernel T ms\n  sets T ms\n"
                                              "  hits T ms\nresult       S8, 2 records\n"));
    EXPECT_EQ(text.substr(0, 4), "SET ");
}

TEST_F(Explain, TellsOfEachSetWhatFoundIt) {
    for (const char *request :
         {"//b", "/a", "//@x", "//b[@x='1']", "//b[@x>1]", "//b[contains(text(),'w')]", "//b[2]",
          "//b[position()=last()]", "//b | //c", "//a[b and c]", "//a[b or c]", "//b/..",
          "//b/following-sibling::c", "//node()", "//text()", "//b[x/y]"}) {
        const JsonValue object = explained(request);
        EXPECT_EQ(object["request"].text, request);
        ASSERT_FALSE(object["sets"].items.empty()) << request;
        int number = 0;
        double sum = 0;
        for (const JsonValue &set : object["sets"].items) {
            EXPECT_EQ(set["set"].number, ++number) << request;
            EXPECT_NE(set["condition"].text, "") << request;
            EXPECT_NE(set["foundBy"].text, "") << request;
            EXPECT_TRUE(set.has("records") && set.has("hits")) << request;
            sum += set["milliseconds"].number;
        }
        EXPECT_NEAR(object["setsMilliseconds"].number, sum, 0.001 * number) << request;
        EXPECT_EQ(std::to_string(static_cast<int>(object["result"]["records"].number)) + '\n',
                  good({"query", "db", request}))
            << request;
        EXPECT_EQ(object["result"]["keptAs"].number, 1) << request;
        EXPECT_FALSE(object.has("error"));
    }
}

TEST_F(Explain, TakesFindCommandsThatNameSetsBeforeThem) {
    const std::string text = good({"explain", "db", "FIND N_NAME=\"b\"", "find XPATH(child,1,0,2)",
                                   "Find N_NAME=\"none\"", "FIND S=2 OR S=3"});
    EXPECT_THAT(tableOf(text), testing::ElementsAre("1 2 N_NAME=\"b\"", "2 2 XPATH(child,1,0,2)",
                                                    "3 0 N_NAME=\"none\"", "4 2 S=2 OR S=3"))
        << text;
    EXPECT_THAT(text, HasSubstr("result       S4, 2 records\n"));
    EXPECT_EQ(text.find("SET"), text.rfind("SET")) << text;
}

TEST_F(Explain, TakesRequestsAndCommandsTogether) {
    const std::string text =
        good({"explain", "db", "/a/b", "FIND S=1 AND N_NAME=\"b\"", "//c", "FIND S=2 OR S=3"});
    EXPECT_THAT(withoutTimes(text),
                MatchesRegex("/a/b\n\nSET(.|\n)*result       S[0-9], 2 records; "
                             "kept as S1\n\nSET(.|\n)* S2 +2 (.|\n)*"
                             "\n\n//c\n\nSET(.|\n)*; kept as S3\n\nSET(.|\n)*"
                             "result       S4, 3 records\n"))
        << text;
}

TEST_F(Explain, ShowsTheSetsBeforeAFailure) {
    const auto result = run({"explain", "db", "FIND N_NAME=\"b\"", "FIND S=7", "FIND S=1"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_THAT(tableOf(result.out), testing::ElementsAre("1 2 N_NAME=\"b\""));
    EXPECT_THAT(result.out, Not(HasSubstr("result")));
    EXPECT_EQ(result.err, "zdbs: FIND S=7: There is no such set: S=7 at column 6.\n");

    const auto json = run({"explain", "db", "--json", "FIND N_NAME=\"b\"", "FIND S=7", "FIND S=1"});
    EXPECT_EQ(json.ending, exited(1));
    const auto objects = readJsonLines(json.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["result"]["records"].number, 2);
    EXPECT_EQ(objects[1]["error"].text, "There is no such set: S=7 at column 6.");
    EXPECT_FALSE(objects[1].has("result"));
}

TEST_F(Explain, SaysWhatIsWrongWithARequest) {
    struct Row {
        const char *request;
        const char *message;
    };
    const Row rows[] = {{"//a[", "zdbs: //a[: The request failed: syntax error.\n"},
                        {"XFIND //a", "XFIND is a word of the shell"},
                        {"//a;", "semicolon"},
                        {"FIND nonsense", "FIND nonsense: "},
                        {"FIND N_NAME=\"a\" OR", "FIND N_NAME=\"a\" OR: "}};
    for (const Row &row : rows)
        EXPECT_THAT(bad({"explain", "db", row.request}), HasSubstr(row.message));
    EXPECT_THAT(bad({"explain", "none", "//a"}), HasSubstr("no such database: none"));
    EXPECT_THAT(bad({"explain", "db"}, 2), HasSubstr("REQUEST"));
}

TEST_F(Explain, ShowsTheSetsOfARequestThatCannotBeTranslatedToItsEnd) {
    const auto result = run({"explain", "db", "a[b=c]"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_THAT(tableOf(result.out), testing::ElementsAre("1 1 N_TYPE=ELEMENT AND.T N_NAME=\"a\""));
    EXPECT_THAT(result.err, HasSubstr("requires a location step and a scalar value"));
}

TEST_F(Explain, TakesAnElementThatIsCalledFind) {
    EXPECT_EQ(explained("FIND")["sets"].items[0]["condition"].text,
              "N_TYPE=ELEMENT AND.T N_NAME=\"FIND\"");
}

TEST_F(Explain, KeepsLongConditionsWholeOnAPipe) {
    const std::string literal(5000, 'x');
    EXPECT_THAT(good({"explain", "db", "//b[text()='" + literal + "']"}),
                HasSubstr("N_TVALUE=&" + literal + "&\n"));
    EXPECT_THAT(good({"explain", "db", "//b[text()='1\n2']"}), HasSubstr("N_TVALUE=&1\\n2&\n"));
}

TEST_F(Explain, WrapsLongConditionsOnATerminal) {
    const std::string literal(5000, 'x');
    support::TerminalProgram program(command({"explain", "db", "//b[text()='" + literal + "']"}));
    EXPECT_EQ(program.finish(), exited(0));
    EXPECT_THAT(program.screen(),
                AllOf(HasSubstr("SET "), HasSubstr("...\r\n"), Not(HasSubstr(literal))));
    const std::string &screen = program.screen();
    for (std::size_t at = 0; at < screen.size();) {
        const std::size_t end = screen.find("\r\n", at);
        EXPECT_LE(end - at, 80U) << screen.substr(at, end - at);
        at = end == std::string::npos ? end : end + 2;
    }
}

TEST_F(Explain, NoticesThatItCannotWrite) {
    const auto full = support::run({"/bin/sh",
                                    {"-c", "exec \"$0\" explain db //a >/dev/full", ZDBS_PROGRAM},
                                    {{"ZDBS_HOME", homePath_}},
                                    {}});
    EXPECT_EQ(full.ending, exited(1));
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written: No space left"));
}

}  // namespace
}  // namespace zdbs
