// `zdbs query` on pipes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "kernel/zdbs.h"
#include "tests/support/test_locale.h"
#include "tests/zdbs/admin/json_value.h"
#include "tests/zdbs/admin/numbered_xml.h"
#include "tests/zdbs/admin/program_fixture.h"

namespace zdbs {
namespace {

using support::exited;
using support::killedBy;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const char *const play =
    "<?style here?><play id='1'><!--by W.--><title>Hamlet</title>\n"
    "<act n='1'><speech n='1' who='Ghost'>List, list, O list!</speech></act>\n"
    "<act n='2'><speech n='2' who='Hamlet'>Words, <em>words</em>, words.</speech>"
    "<speech n='10'>M\xc3\xa4r &amp; \"more\"</speech></act></play>";

class Query : public ProgramTest {
protected:
    Query() {
        makeDatabase();
        good({"load", "db", directory_.write("hamlet.xml", play)});
    }

    /** A shell command line, in which "$0" is the program. */
    support::ProgramResult shell(const std::string &script) const {
        return support::run(
            {"/bin/sh", {"-c", script, ZDBS_PROGRAM}, {{"ZDBS_HOME", homePath_}}, {}});
    }
};

TEST_F(Query, PrintsACountForEachRequest) {
    EXPECT_EQ(good({"query", "db", "//speech"}), "3\n");
    EXPECT_EQ(good({"query", "db", "//speech", "//act/@n", "//nothing", "/play"}), "3\n2\n0\n1\n");
    EXPECT_EQ(good({"query", "db", "speech"}), "3\n");
    EXPECT_EQ(good({"query", "db", "//speech[text()='M\xc3\xa4r & \"more\"']"}), "1\n");
}

TEST_F(Query, TakesEveryNodeToo) {
    const std::string all = good({"query", "db", "//node()", "//@*"});
    const NumberedXml oracle(play);
    EXPECT_EQ(all, std::to_string(oracle.select("//node()").size()) + "\n" +
                       std::to_string(oracle.select("//@*").size()) + "\n");
}

TEST_F(Query, TakesTheLinesOfStandardInput) {
    const std::string lines = "//speech\n\n   \n//act\r\n//play";
    for (const Words &words : {Words{"query", "db"}, Words{"query", "db", "-"}})
        EXPECT_EQ(good(words, lines), "3\n2\n1\n");
    EXPECT_EQ(good({"query", "db", "/play", "-", "//title"}, lines), "1\n3\n2\n1\n1\n");
    EXPECT_EQ(good({"query", "db"}, ""), "");
    EXPECT_EQ(good({"query", "db"}, "\n"), "");
}

TEST_F(Query, RunsTheOthersWhenOneFails) {
    const auto result = run({"query", "db"}, "//speech\n//a[\n//act\nchld::a\n");
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, "3\n-\n2\n-\n");
    EXPECT_EQ(result.err,
              "zdbs: //a[: The request failed: syntax error.\n"
              "zdbs: chld::a: The request failed: Invalid axis \"chld\".\n");
}

TEST_F(Query, SaysWhatBelongsToTheShell) {
    const auto result = run({"query", "db", "XFIND //a", "xget //a /", "//a;", "//act"});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, "-\n-\n-\n2\n");
    EXPECT_THAT(result.err,
                AllOf(HasSubstr("XFIND is a word of the shell"),
                      HasSubstr("XGET is a word of the shell"), HasSubstr("semicolon")));
}

TEST_F(Query, TakesRequestsThatLookLikeSomethingElse) {
    EXPECT_EQ(good({"query", "db", "list", "load", "query"}), "0\n0\n0\n");
    EXPECT_EQ(good({"query", "db", "--", "//act"}), "2\n");
    EXPECT_EQ(run({"query", "db", "[//act]"}).err,
              "zdbs: [//act]: The request failed: syntax error.\n");
    EXPECT_THAT(bad({"query", "db", "--acts"}, 2), HasSubstr("--acts"));
}

struct HostileRequest {
    std::string request;
    const char *count;
};

TEST_F(Query, TakesHostileRequests) {
    const std::string longLiteral(1000000, 'x');
    std::string longPath = "play";
    for (int i = 0; i < 500; ++i)
        longPath += "/play";
    const HostileRequest requests[] = {
        {"//speech[@who=\"Ghost\"]", "1"},
        {"//speech[@who='Gh\"ost']", "0"},
        {"//title[text()='&$\"S=1 OR N_ID=$']", "0"},
        {"//title[text()='\\'']", "0"},
        {"//speech[text()='\xff\xfe']", "0"},
        {"//speech[text()='" + longLiteral + "']", "0"},
        {"//" + longLiteral, "0"},
        {longPath, "0"},
        {std::string("//a\0[b]", 7), "-"},
        {"\x1b[31m", "-"},
        {"//a" + std::string(20000, '['), "-"},
        {"//speech", "3"},
    };
    std::string input;
    std::string expected;
    for (const HostileRequest &row : requests) {
        input += row.request + '\n';
        expected += std::string(row.count) + '\n';
    }
    const auto result = run({"query", "db"}, input);
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, expected);
    EXPECT_THAT(result.err,
                AllOf(StartsWith("zdbs: //a\\x00[b]: The request failed: it holds a NUL"),
                      HasSubstr("zdbs: \\x1b[31m: The request failed: syntax error.\n"),
                      HasSubstr("zdbs: //a" + std::string(54, '[') + "...: The request failed")));
    EXPECT_LT(result.err.size(), 500U);
}

TEST_F(Query, TakesALiteralOverTwoLines) {
    EXPECT_EQ(good({"query", "db", "//play[text()='\n']", "//play[text()='\n\n']"}), "1\n0\n");
}

TEST_F(Query, IsInUtf8WhateverTheLocaleIs) {
    support::Command asking =
        command({"query", "db", "--json", "//speech[contains(text(),'\xc3\xa4')]", "//\xc3\xa4["});
    asking.environment.merge(support::makeLocale(directory_, "en_US", "ISO-8859-1"));
    const auto result = support::run(asking);
    const auto objects = readJsonLines(result.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["records"].number, 1);
    EXPECT_EQ(objects[1]["request"].text, "//\xc3\xa4[");
    EXPECT_EQ(result.err, "zdbs: //\xc3\xa4[: The request failed: syntax error.\n");
}

TEST_F(Query, ListsTheNumbersThatAnotherEngineFinds) {
    const NumberedXml oracle(play);
    for (const char *request :
         {"//speech", "//node()", "//@*", "/play/act", "//act/@n", "//text()", "//comment()",
          "/processing-instruction()", "//speech[@n=10]", "//speech[contains(text(),'ist')]",
          "//act[speech/em]", "//em/..", "//act[2]/speech[1]", "//nothing", "//title | //em",
          "//act/preceding-sibling::title", "//speech[@who]/@who"}) {
        std::string expected;
        for (const int number : oracle.select(request))
            expected += std::to_string(number) + '\n';
        EXPECT_EQ(good({"query", "db", "--ids", request}), expected) << request;
        const std::size_t count = oracle.select(request).size();
        EXPECT_EQ(good({"query", "db", request}), std::to_string(count) + '\n') << request;
    }
}

TEST_F(Query, ListsTheNumbersOfSeveralRequestsBehindEachOther) {
    EXPECT_EQ(good({"query", "db", "--ids", "/play", "//nothing", "//play/@id"}), "2\n3\n");
    const auto result = run({"query", "db", "--ids", "//a[", "/play"});
    EXPECT_EQ(result.out, "2\n");
    EXPECT_EQ(result.ending, exited(1));
}

TEST_F(Query, ListsManyNumbers) {
    std::string xml = "<a>";
    std::string expected;
    for (int i = 0; i < 50000; ++i) {
        xml += "<b/>";
        expected += std::to_string(i + 2) + '\n';
    }
    good({"create", "many"});
    good({"load", "many", directory_.write("many.xml", xml + "</a>")});
    EXPECT_EQ(good({"query", "many", "--ids", "//b"}), expected);
    const JsonValue object = readJsonLine(good({"query", "many", "--ids", "--json", "/a/b"}));
    EXPECT_EQ(object["ids"].items.size(), 50000U);
    EXPECT_EQ(object["ids"].items.back().number, 50001);
}

/** What the library hands back for the same request. */
std::string exported(const std::string &request, const std::string &specs, bool highlight) {
    const std::string arguments = "XPATHQUERY=" + request + "\nXPATHFRAGMENTS=" + specs + "\n";
    FilterData data{};
    std::strcpy(data.filter_name, "zarnxmlquery");
    std::string text = arguments;
    data.filter_arguments = text.data();
    data.arg_length = static_cast<std::int32_t>(text.size());
    data.filter_options = highlight ? ZDB_FILTER_HIGHLIGHT : 0;
    EXPECT_EQ(ZdbExport(&data) & 1, 1) << data.errortext;
    const std::string document(data.buffer, static_cast<std::size_t>(data.buffer_length));
    std::free(data.buffer);
    return document;
}

TEST_F(Query, PrintsTheExportDocumentOfTheLibrary) {
    struct Row {
        const char *request;
        const char *specs;
    };
    const Row rows[] = {{"//speech", "/"},
                        {"//speech[contains(text(),'ord')]", "/ /@n //em/text()"},
                        {"//act[@n='2']", "/speech[@n=10] /@n"},
                        {"//nothing", "/"},
                        {"//@who", "/"},
                        {"//speech[text()='M\xc3\xa4r & \"more\"']", "/ /.."}};
    good({"user", "add", "reader", "--password-stdin"}, "secret\n");
    good({"grant", "reader", "db"});
    std::vector<std::string> expected;
    ::setenv("ZDBS_HOME", homePath_.c_str(), 1);
    ASSERT_EQ(ZdbStartZarn("reader", "secret", 9, 4096) & 1, 1);
    std::int32_t unused = 0;
    ASSERT_EQ(ZdbExecuteCcl("BASE db", &unused) & 1, 1);
    for (const Row &row : rows) {
        expected.push_back(exported(row.request, row.specs, false));
        expected.push_back(exported(row.request, row.specs, true));
    }
    ZdbStopZarn(0);
    ::unsetenv("ZDBS_HOME");

    std::string all;
    Words requests = {"query", "db", "--fragments", "/"};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Words words = {"query", "db", "--fragments", rows[i].specs, rows[i].request};
        EXPECT_EQ(good(words), expected[2 * i]) << rows[i].request;
        Words highlighted = words;
        highlighted.emplace_back("--highlight");
        EXPECT_EQ(good(highlighted), expected[2 * i + 1]) << rows[i].request;
        highlighted.emplace_back("--json");
        const JsonValue object = readJsonLine(good(highlighted));
        EXPECT_EQ(object["fragments"].text, expected[2 * i + 1]) << rows[i].request;
    }
    EXPECT_NE(expected[2], expected[3]) << "nothing was highlighted";
    EXPECT_EQ(good({"query", "db", "--fragments", "/", "//speech", "//nothing"}),
              expected[0] + expected[6]);
}

TEST_F(Query, TakesSpecsFromSeveralOptions) {
    const std::string together = good({"query", "db", "--fragments", "/@n /em", "//speech"});
    EXPECT_EQ(good({"query", "db", "--fragments", "/@n", "//speech", "--fragments", "/em"}),
              together);
    EXPECT_THAT(together, AllOf(HasSubstr("path=\"/play[1]/act[2]/speech[1]/em[1]\""),
                                HasSubstr("path=\"/play[1]/act[1]/speech[1]/@n\"")));
}

TEST_F(Query, WritesAJsonObjectForEachRequest) {
    const auto result = run({"query", "db", "--json", "--ids"},
                            "//speech[contains(text(),'ist')]\n//a[\n//act[@n=\"7\"]\n");
    EXPECT_EQ(result.ending, exited(1));
    const auto objects = readJsonLines(result.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0]["request"].text, "//speech[contains(text(),'ist')]");
    EXPECT_EQ(objects[0]["records"].number, 1);
    EXPECT_GE(objects[0]["hits"].number, 1);
    EXPECT_EQ(objects[0]["ids"].items.size(), 1U);
    EXPECT_TRUE(objects[0].has("milliseconds"));
    EXPECT_FALSE(objects[0].has("fragments"));
    EXPECT_FALSE(objects[0].has("error"));
    EXPECT_EQ(objects[1]["request"].text, "//a[");
    EXPECT_EQ(objects[1]["error"].text, "The request failed: syntax error.");
    EXPECT_FALSE(objects[1].has("records"));
    EXPECT_EQ(objects[2]["records"].number, 0);
    EXPECT_TRUE(objects[2]["ids"].items.empty());
    EXPECT_EQ(result.err, "zdbs: //a[: The request failed: syntax error.\n");
}

TEST_F(Query, EscapesRequestsInJson) {
    const std::string request = std::string("//a\0[\"", 6) + "\t\xc3\xa4\\\x1b";
    const auto objects = readJsonLines(run({"query", "db", "--json"}, request + '\n').out);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0]["request"].text, request);
}

TEST_F(Query, AnswersEachRequestBeforeTheNext) {
    support::PipedProgram program(command({"query", "db", "--json"}));
    for (const char *request : {"//speech", "//a[", "//act"}) {
        ASSERT_TRUE(program.send(std::string(request) + '\n'));
        ASSERT_TRUE(program.waitForOutput("{\"request\":\"" + std::string(request) + "\""));
    }
    EXPECT_EQ(program.finish().ending, exited(1));
}

TEST_F(Query, SeesOneStateOfTheDatabase) {
    support::PipedProgram program(command({"query", "db"}));
    ASSERT_TRUE(program.send("//act\n"));
    ASSERT_TRUE(program.waitForOutput("2\n"));
    good({"load", "db", directory_.write("faust.xml", "<play><act/></play>")});
    ASSERT_TRUE(program.send("//act\n"));
    program.closeInput();
    const auto result = program.finish();
    EXPECT_EQ(result.ending, exited(0)) << result.err;
    EXPECT_EQ(result.out, "2\n2\n");
    EXPECT_EQ(good({"query", "db", "//act"}), "3\n");
}

TEST_F(Query, EndsQuietlyWhenNobodyReads) {
    support::PipedProgram program(command({"query", "db"}));
    program.closeOutput();
    program.send("//act\n");
    const auto result = program.finish();
    EXPECT_EQ(result.ending, killedBy(SIGPIPE));
    EXPECT_EQ(result.err, "");
}

TEST_F(Query, NoticesThatItCannotWrite) {
    support::Command deaf = command({"query", "db"});
    deaf.ignoredSignals = {SIGPIPE};
    support::PipedProgram program(deaf);
    program.closeOutput();
    program.send("//act\n//act\n");
    const auto closed = program.finish();
    EXPECT_EQ(closed.ending, exited(1));
    EXPECT_THAT(closed.err, HasSubstr("standard output cannot be written: Broken pipe"));

    for (const char *options : {"", "--ids", "--json", "--fragments /"}) {
        const auto full =
            shell("exec \"$0\" query db //act //act " + std::string(options) + " >/dev/full");
        EXPECT_EQ(full.ending, exited(1)) << options;
        EXPECT_EQ(full.err,
                  "zdbs: The file standard output cannot be written: No space left on device.\n");
    }
}

TEST_F(Query, SaysThatItCannotRead) {
    const auto result = shell("exec \"$0\" query db </");
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_THAT(result.err, HasSubstr("standard input cannot be read: Is a directory"));
}

TEST_F(Query, RefusesWhatMakesNoSense) {
    EXPECT_THAT(bad({"query"}, 2), HasSubstr("DATABASE"));
    EXPECT_THAT(bad({"query", "db", "--highlight", "//a"}, 2), HasSubstr("--fragments"));
    EXPECT_THAT(bad({"query", "db", "--ids", "--fragments", "/", "//a"}, 2), HasSubstr("--json"));
    EXPECT_THAT(bad({"query", "db", "--fragments", "em", "//a"}, 2), HasSubstr("begin with \"/\""));
    EXPECT_THAT(bad({"query", "db", "--fragments", " ", "//a"}, 2), HasSubstr("no specification"));
    EXPECT_THAT(bad({"query", "db", "--fragments"}, 2), HasSubstr("--fragments"));
    EXPECT_THAT(bad({"query", "none", "//a"}), HasSubstr("no such database: none"));
    EXPECT_THAT(bad({"query", "../db", "//a"}), HasSubstr("no such database: ../db"));
}

/** Root may read everything, so it becomes somebody else. */
TEST_F(Query, NeedsAHomeThatItsCallerMayRead) {
    const std::string program = directory_ / "zdbs";
    std::filesystem::copy_file(ZDBS_PROGRAM, program);
    ASSERT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
    support::Command asking = {program, {"query", "db", "//a"}, {{"ZDBS_HOME", homePath_}}, {}};
    if (::geteuid() == 0) {
        asking.arguments.insert(asking.arguments.begin(),
                                {"--reuid=65534", "--clear-groups", program});
        asking.program = "/usr/bin/setpriv";
    } else {
        ASSERT_EQ(::chmod(homePath_.c_str(), 0), 0);
    }
    const auto result = support::run(asking);
    ::chmod(homePath_.c_str(), 0700);
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err,
                AllOf(StartsWith("zdbs: "), HasSubstr(homePath_), HasSubstr("Permission denied")));
}

}  // namespace
}  // namespace zdbs
