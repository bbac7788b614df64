#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/zdbs/admin/program_fixture.h"
#include "tests/zdbs/support/numbered.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs {

using namespace embedded;
namespace {

using support::exited;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

const char *const smallXml = "<a b='1'>x<!--c--><?t d?><p:e xmlns:p='urn:p'/></a>";

class Program : public ProgramTest {};

/** With one blank between cells, however wide the columns are. */
std::string squeezed(const std::string &table) {
    return std::regex_replace(table, std::regex(" +"), " ");
}

TEST_F(Program, MakesAHomeOnce) {
    EXPECT_EQ(good({"init"}), "The home is in " + homePath_ + ".\n");
    EXPECT_THAT(bad({"init"}), HasSubstr("There is a home already in " + homePath_));
    EXPECT_THAT(home()->users(), IsEmpty());
}

TEST_F(Program, TakesTheHomeThatTheOptionNamesAnywhere) {
    const std::string other = directory_ / "other";
    good({"--home", other, "init"});
    good({"create", "--home", other, "one"});
    good({"--home=" + other, "create", "two"});
    good({"user", "--home", other, "list"});
    good({"user", "list", "--home", other});
    EXPECT_THAT(Home::open(other)->databases(), ElementsAre("one", "two"));
    EXPECT_THAT(bad({"list"}), HasSubstr("There is no home in " + homePath_));
}

TEST_F(Program, WithoutAHomeSaysHowToMakeOne) {
    for (const Words &words : {Words{"list"}, Words{"create", "db"}, Words{"user", "list"},
                               Words{"load", "db", "x.xml"}, Words{"info", "db"}})
        EXPECT_THAT(bad(words), AllOf(HasSubstr(homePath_), HasSubstr("zdbs init")));
}

TEST_F(Program, AdministersUsers) {
    good({"init"});
    EXPECT_EQ(good({"user", "list"}), "USER  DATABASES\n");
    EXPECT_EQ(good({"user", "add", "zoe", "--password-stdin"}, "secret\n"), "");
    good({"user", "add", "adam", "--password-stdin"}, "no line end");
    EXPECT_EQ(good({"user", "list"}), "USER  DATABASES\nadam\nzoe\n");
    EXPECT_TRUE(home()->authenticate("zoe", "secret"));
    EXPECT_TRUE(home()->authenticate("adam", "no line end"));
    good({"user", "passwd", "zoe", "--password-stdin"}, " new \r\nand more\n");
    EXPECT_FALSE(home()->authenticate("zoe", "secret"));
    EXPECT_TRUE(home()->authenticate("zoe", " new \r"));
    good({"user", "remove", "zoe"});
    EXPECT_EQ(good({"user", "list", "--json"}),
              "[{\"user\":\"adam\",\"databases\":[],\"writes\":[]}]\n");
}

TEST_F(Program, TakesAnEmptyLineForAnEmptyPasswordAndNoLineForNone) {
    good({"init"});
    good({"user", "add", "alice", "--password-stdin"}, "\n");
    EXPECT_TRUE(home()->authenticate("alice", ""));
    EXPECT_THAT(bad({"user", "add", "bob", "--password-stdin"}, 1, ""),
                HasSubstr("standard input holds none"));
    EXPECT_THAT(home()->users(), ElementsAre("alice"));
}

TEST_F(Program, RefusesUsersBeforeItReadsAPassword) {
    good({"init"});
    good({"user", "add", "alice", "--password-stdin"}, "secret\n");
    EXPECT_THAT(bad({"user", "add", "alice", "--password-stdin"}), HasSubstr("already: alice"));
    EXPECT_THAT(bad({"user", "add", "a/b", "--password-stdin"}), HasSubstr("a/b"));
    EXPECT_THAT(bad({"user", "passwd", "bob", "--password-stdin"}), HasSubstr("no such user: bob"));
    EXPECT_THAT(bad({"user", "remove", "bob"}), HasSubstr("no such user: bob"));
    EXPECT_THAT(bad({"user", "add", "bob", "--password-stdin"}, 1, std::string(600, 'x') + "\n"),
                HasSubstr("The password cannot be used"));
}

TEST_F(Program, WithoutATerminalPointsToTheOption) {
    good({"init"});
    // A process of its own session has no terminal to ask on.
    const auto result = support::run({"/usr/bin/setsid",
                                      {"--wait", ZDBS_PROGRAM, "user", "add", "x"},
                                      {{"ZDBS_HOME", homePath_}},
                                      {}});
    EXPECT_EQ(result.ending, exited(1));
    EXPECT_THAT(result.err, HasSubstr("--password-stdin"));
}

TEST_F(Program, GrantsAndRevokes) {
    makeDatabase();
    good({"create", "plays"});
    good({"user", "add", "alice", "--password-stdin"}, "secret\n");
    good({"grant", "alice", "plays"});
    good({"grant", "alice", "db"});
    EXPECT_EQ(good({"user", "list"}), "USER   DATABASES\nalice  db plays\n");
    EXPECT_EQ(good({"user", "list", "--json"}),
              "[{\"user\":\"alice\",\"databases\":[\"db\",\"plays\"],\"writes\":[]}]\n");
    good({"revoke", "alice", "plays"});
    EXPECT_FALSE(home()->mayRead("alice", "plays"));
    good({"grant", "alice", "*"});
    EXPECT_TRUE(home()->mayRead("alice", "plays"));
    EXPECT_THAT(bad({"grant", "bob", "db"}), HasSubstr("no such user: bob"));
    EXPECT_THAT(bad({"grant", "alice", "none"}), HasSubstr("no such database: none"));
    EXPECT_THAT(bad({"revoke", "alice", "plays"}), HasSubstr("no such grant for database plays"));
}

TEST_F(Program, MakesListsAndDropsDatabases) {
    good({"init"});
    EXPECT_EQ(good({"list"}), "DATABASE  DOCUMENTS  NODES  ON DISK\n");
    EXPECT_EQ(good({"list", "--json"}), "[]\n");
    good({"create", "plays"});
    EXPECT_THAT(good({"list"}), MatchesRegex("DATABASE  DOCUMENTS  NODES  ON DISK\n"
                                             "plays             0      0  [0-9.]+ kB\n"));
    EXPECT_THAT(good({"list", "--json"}),
                MatchesRegex("\\[\\{\"database\":\"plays\",\"documents\":0,\"nodes\":0,"
                             "\"bytes\":[0-9]+\\}\\]\n"));
    EXPECT_THAT(bad({"create", "plays"}), HasSubstr("already: plays"));
    EXPECT_THAT(bad({"create", "../x"}), HasSubstr("../x"));
    good({"drop", "plays"});
    EXPECT_THAT(bad({"drop", "plays"}), HasSubstr("no such database: plays"));
    EXPECT_THAT(home()->databases(), IsEmpty());
}

TEST_F(Program, ShowsWhatIsInADatabase) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", smallXml)});
    const std::string info = squeezed(good({"info", "db"}));
    for (const char *line :
         {"documents 1\n", "nodes 6\n", " elements 2\n", " attributes 1\n", " texts 1\n",
          " comments 1\n", " instructions 1\n", "COUNT TYPE NAME NAMESPACE\n",
          " 1 ELEMENT p:e urn:p\n", " 1 ATTRIBUTE b\n", " 1 PROCESSING_INSTRUCTION t\n",
          "\n order of texts 0 B\n", "\n trigrams 0 B\n", "\n words 0 B\n", "\n index of values "})
        EXPECT_THAT(info, HasSubstr(line));
    EXPECT_THAT(info, HasSubstr("XML " + std::to_string(std::string(smallXml).size()) + " B\n"));
    EXPECT_THAT(bad({"info", "none"}), HasSubstr("no such database: none"));
}

TEST_F(Program, ShowsWhatIsInADatabaseAsJson) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", "<a><b x='1'/><b/></a>")});
    EXPECT_THAT(good({"info", "db", "--json"}),
                MatchesRegex(
                    "\\{\"database\":\"db\",\"documents\":1,\"nodes\":4,\"types\":\\{\"ELEMENT\":3,"
                    "\"ATTRIBUTE\":1,\"TEXT\":0,\"COMMENT\":0,\"PROCESSING_INSTRUCTION\":0\\},"
                    "\"names\":\\[\\{\"type\":\"ELEMENT\",\"name\":\"b\",\"prefix\":\"\","
                    "\"namespace\":\"\",\"count\":2\\},\\{\"type\":\"ELEMENT\",\"name\":\"a\","
                    "\"prefix\":\"\",\"namespace\":\"\",\"count\":1\\},\\{\"type\":\"ATTRIBUTE\","
                    "\"name\":\"x\",\"prefix\":\"\",\"namespace\":\"\",\"count\":1\\}\\],"
                    "\"xmlBytes\":21,\"diskBytes\":\\{\"all\":[0-9]+,\"structure\":[0-9]+,"
                    "\"pathOfNode\":[0-9]+,\"values\":[0-9]+,\"textOrder\":[0-9]+,"
                    "\"numberOrder\":[0-9]+,\"trigrams\":[0-9]+,\"words\":[0-9]+,"
                    "\"valueIndex\":[0-9]+,\"documents\":[0-9]+,\"names\":[0-9]+,\"paths\":[0-9]+,"
                    "\"unused\":[0-9]+\\}\\}\n"));
}

TEST_F(Program, ListsTheDocumentsOfADatabase) {
    makeDatabase();
    EXPECT_EQ(good({"list", "db"}), "NODES  XML  DOCUMENT\n");
    EXPECT_EQ(good({"list", "db", "--json"}), "[]\n");
    good({"load", "db", directory_.write("one.xml", "<a/>")});
    good({"load", "db", directory_.write("two\".xml", smallXml)});
    EXPECT_EQ(good({"list", "db"}),
              "NODES   XML  DOCUMENT\n"
              "    1   4 B  one.xml\n"
              "    6  51 B  two\".xml\n");
    EXPECT_EQ(good({"list", "db", "--json"}),
              "[{\"document\":\"one.xml\",\"nodes\":1,\"first\":1,\"xmlBytes\":4},"
              "{\"document\":\"two\\\".xml\",\"nodes\":6,\"first\":2,\"xmlBytes\":51}]\n");
    EXPECT_THAT(bad({"list", "none"}), HasSubstr("no such database: none"));
}

TEST_F(Program, RemovesAndReplacesDocuments) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", "<old/>")});
    directory_.write("d.xml", "<new/>");
    good({"replace", "db", directory_ / "d.xml"});
    EXPECT_EQ(good({"dump", "db"}), "<new/>\n");
    good({"replace", "db", "-", "--name", "d.xml"}, "<newer/>");
    EXPECT_EQ(good({"dump", "db"}), "<newer/>\n");
    EXPECT_THAT(bad({"replace", "db", "-"}, 1, "<x/>"),
                HasSubstr("no such document: stdin.xml in database db"));
    EXPECT_THAT(bad({"replace", "db", "-", "--name", "d.xml"}, 1, "<x>"),
                HasSubstr("<x> of 1:1 does not end"));
    EXPECT_EQ(good({"dump", "db"}), "<newer/>\n");
    EXPECT_THAT(bad({"remove", "db", "e.xml"}), HasSubstr("no such document: e.xml"));
    good({"remove", "db", "d.xml"});
    EXPECT_THAT(snapshotOf(*home())->documents(), IsEmpty());
}

TEST_F(Program, DumpsDocuments) {
    makeDatabase();
    EXPECT_THAT(bad({"dump", "db"}), HasSubstr("the database is empty"));
    good({"load", "db", directory_.write("d.xml", smallXml)});
    const std::string dumped = "<a b=\"1\">x<!--c--><?t d?><p:e xmlns:p=\"urn:p\"/></a>\n";
    EXPECT_EQ(good({"dump", "db"}), dumped);
    EXPECT_EQ(good({"dump", "db", "d.xml"}), dumped);
    good({"load", "db", "-", "--name", "folder/e.xml"}, "<e>\xc3\xa9</e>");
    EXPECT_THAT(bad({"dump", "db"}, 2), HasSubstr("There are 2 documents"));
    EXPECT_EQ(good({"dump", "db", "folder/e.xml"}), "<e>\xc3\xa9</e>\n");
    EXPECT_THAT(bad({"dump", "db", "none"}), HasSubstr("no such document: none in database db"));

    const std::string out = directory_ / "out";
    EXPECT_EQ(good({"dump", "db", "--output", out}), "");
    EXPECT_EQ(support::readFile(out + "/d.xml"), dumped);
    EXPECT_EQ(support::readFile(out + "/folder/e.xml"), "<e>\xc3\xa9</e>\n");
    good({"remove", "db", "d.xml"});
    good({"load", "db", "-", "--name", "d.xml"}, "<again/>");
    good({"dump", "db", "d.xml", "--output", out});
    EXPECT_EQ(support::readFile(out + "/d.xml"), "<again/>\n");
    const auto entries = std::filesystem::recursive_directory_iterator(out);
    EXPECT_EQ(std::distance(entries, {}), 3) << "something is left over";
}

TEST_F(Program, DumpsWhatCanBeAFileAndTellsTheRest) {
    makeDatabase();
    const std::string step(255, 's');
    const std::string tooLong(256, 'n');
    for (const std::string &name : {std::string("a"), "folder/" + step, "folder/" + tooLong,
                                    "z" + step + "/b", std::string("linked/c"), std::string("z")})
        good({"load", "db", "-", "--name", name}, "<e/>");
    const std::filesystem::path out = directory_ / "out";
    const std::filesystem::path elsewhere = directory_ / "elsewhere";
    std::filesystem::create_directory(out);
    std::filesystem::create_directory(elsewhere);
    std::filesystem::create_directory_symlink(elsewhere, out / "linked");
    const std::string messages = bad({"dump", "db", "--output", out});
    EXPECT_THAT(messages, HasSubstr("linked"));
    EXPECT_THAT(messages, HasSubstr(tooLong));
    EXPECT_THAT(messages, HasSubstr("File name too long"));
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
    EXPECT_EQ(support::readFile((out / "a").native()), "<e/>\n");
    EXPECT_EQ(support::readFile((out / "z").native()), "<e/>\n");
    EXPECT_EQ(support::readFile((out / "folder" / step).native()), "<e/>\n");
}

TEST_F(Program, EscapesWhatATerminalWouldObeyAndShortensWhatIsLong) {
    makeDatabase();
    const std::string turned =
        "a\xe2\x80\xae"
        "b\xc2\x9b.xml";
    good({"load", "db", "-", "--name", turned}, "<e/>");
    EXPECT_THAT(good({"list", "db"}), HasSubstr("a\\u202eb\\x9b.xml"));
    EXPECT_THAT(bad({"dump", "db", turned + "\xe2\x80\xa8"}),
                HasSubstr("a\\u202eb\\x9b.xml\\u2028"));
    EXPECT_THAT(bad({turned}, 2), HasSubstr("\\u202e"));
    EXPECT_LT(bad({"dump", "db", std::string(100000, 'x')}).size(), 2000U);
    EXPECT_LT(bad({std::string(100000, 'x')}, 2).size(), 2000U);
}

TEST_F(Program, NoticesThatItCannotWrite) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", smallXml)});
    const auto full = support::run({"/bin/sh",
                                    {"-c", "exec \"$0\" dump db >/dev/full", ZDBS_PROGRAM},
                                    {{"ZDBS_HOME", homePath_}},
                                    {}});
    EXPECT_EQ(full.ending, exited(1));
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written: No space left"));
    directory_.write("file", "");
    EXPECT_THAT(bad({"dump", "db", "--output", directory_ / "file"}),
                HasSubstr("cannot be written: "));
}

TEST_F(Program, HelpsForEveryCommand) {
    for (const Words &words :
         {Words{}, Words{"init"}, Words{"user"}, Words{"user", "add"}, Words{"user", "passwd"},
          Words{"user", "remove"}, Words{"user", "list"}, Words{"grant"}, Words{"revoke"},
          Words{"create"}, Words{"drop"}, Words{"list"}, Words{"info"}, Words{"load"},
          Words{"remove"}, Words{"replace"}, Words{"dump"}, Words{"query"}, Words{"explain"}}) {
        for (const char *option : {"--help", "-h"}) {
            Words asking = words;
            asking.emplace_back(option);
            const std::string help = good(asking);
            EXPECT_THAT(help, AllOf(HasSubstr("Usage: zdbs"), HasSubstr("--home DIR")));
            if (!words.empty()) {
                EXPECT_THAT(help, HasSubstr(words.back()));
            }
        }
    }
    EXPECT_FALSE(std::filesystem::exists(homePath_));
}

TEST_F(Program, TellsItsVersion) {
    EXPECT_THAT(good({"--version"}), MatchesRegex("zdbs [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Program, RefusesCommandLinesThatMakeNoSense) {
    for (const Words &words :
         {Words{}, Words{"nonsense"}, Words{"--nonsense"}, Words{"list", "--nonsense"},
          Words{"user"}, Words{"user", "nonsense"}, Words{"user", "add"}, Words{"create"},
          Words{"create", "a", "b"}, Words{"load"}, Words{"load", "db"}, Words{"grant", "a"},
          Words{"load", "db", "x", "--stop", "--skip"},
          Words{"load", "db", "x", "--max-depth", "0"},
          Words{"load", "db", "x", "--max-depth", "deep"}, Words{"replace", "db", "x", "y"},
          Words{"list", "--home"}, Words{"init", "list"}})
        EXPECT_THAT(bad(words, 2), HasSubstr("--help"));
}

TEST_F(Program, NamesTheCommandThatItDoesNotKnow) {
    const std::string more = "\nzdbs --help and zdbs COMMAND --help tell more.\n";
    EXPECT_EQ(bad({"lsit"}, 2), "zdbs: There is no command lsit; do you mean list?" + more);
    EXPECT_EQ(bad({"nonsense", "db"}, 2), "zdbs: There is no command nonsense" + more);
    EXPECT_EQ(bad({"user", "ad"}, 2), "zdbs: There is no command ad; do you mean add?" + more);
    EXPECT_EQ(bad({"\x1b[31m"}, 2), "zdbs: There is no command \\x1b[31m" + more);
    EXPECT_EQ(bad({}, 2), "zdbs: Which command?" + more);
    EXPECT_EQ(bad({"create"}, 2), "zdbs: DATABASE is required" + more);
}

TEST_F(Program, WaitsForAnotherOneThatWritesAndSaysSo) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", smallXml)});
    for (const Words &words : {Words{"remove", "db", "d.xml"},
                               Words{"load", "db", directory_ / "d.xml"}, Words{"drop", "db"}}) {
        auto writer = home()->write("db");
        support::PipedProgram waiting(command(words));
        ASSERT_TRUE(waiting.waitForError("zdbs: waiting for another one that changes db ..."));
        writer.reset();
        EXPECT_EQ(waiting.finish().ending, exited(0));
    }
    EXPECT_FALSE(home()->hasDatabase("db"));
}

TEST_F(Program, ReadsWhileAnotherOneWrites) {
    makeDatabase();
    good({"load", "db", directory_.write("d.xml", smallXml)});
    const auto writer = home()->write("db");
    writer->beginDocument("half");
    writer->startElement(numbered({"e", "", ""}));
    EXPECT_THAT(squeezed(good({"info", "db"})), StartsWith("documents 1\n"));
    EXPECT_THAT(good({"dump", "db"}), StartsWith("<a b=\"1\">"));
}

}  // namespace
}  // namespace zdbs
