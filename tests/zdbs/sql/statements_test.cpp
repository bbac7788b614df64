/** What is sent to the server: hostile literals are values there, and statements are of few words.
 */
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/engine_conformance/side.h"
#include "tests/support/database_server.h"
#include "tests/zdbs/support/random_document.h"

namespace zdbs::conformance {
namespace {

class Statements : public ::testing::Test {
protected:
    void SetUp() override {
        if (serverEngines().empty()) GTEST_SKIP() << "PostgreSQL's programs are not installed";
    }
};

const std::vector<std::string> literals = {"'",
                                           "''",
                                           "' or '1'='1",
                                           "\\",
                                           "\\'",
                                           "%",
                                           "_",
                                           "%_\\%",
                                           "$1",
                                           "$$",
                                           "\"",
                                           ";",
                                           "--",
                                           "/*",
                                           "\n",
                                           "\t",
                                           "a'b",
                                           "a\\b",
                                           "100%",
                                           "a_b",
                                           "\xc3\xa4",
                                           "\xf0\x9f\x99\x82",
                                           "\x01",
                                           "'); drop table node; --",
                                           "E'\\\\'",
                                           "NULL",
                                           "null",
                                           "-1e400",
                                           "1e400",
                                           "NaN",
                                           "Infinity",
                                           std::string(100, '\''),
                                           std::string(70, 'x') + "y",
                                           std::string(64, 'x'),
                                           "  ",
                                           "0x10",
                                           "1_000"};

std::string escaped(const std::string &text) {
    std::string xml;
    for (const char each : text) {
        if (each == '<' || each == '&' || each == '\'' || each == '\n' || each == '\t')
            xml += "&#" + std::to_string(static_cast<int>(each)) + ";";
        else if (each != '\x01')
            xml += each;
    }
    return xml;
}

Condition condition(Field field, Relation relation, const std::string &text) {
    Condition result;
    result.conjuncts.emplace_back().push_back({false, FieldTerm{field, relation, text}});
    return result;
}

TEST_F(Statements, FindHostileLiteralsAsTheyAreWritten) {
    Side server(serverEngines().front());
    Side naive(naiveEngine());
    std::string xml = "<r>";
    for (const std::string &literal : literals)
        xml += "<e a='" + escaped(literal) + "'>" + escaped(literal) + "</e><f>x" +
               escaped(literal) + "y" + escaped(literal) + "</f>";
    for (Side *side : {&server, &naive}) {
        side->collection.load({{"d", xml + "</r>"}});
        side->database->refresh({});
        side->startAgain();
    }
    std::vector<std::string> asked = literals;
    asked.insert(asked.end(), {"\xff", "a\xc3", std::string("a\0b", 3), std::string("\0", 1)});
    std::size_t found = 0;
    for (const std::string &literal : asked) {
        for (int relation = 0; relation < 9; ++relation) {
            for (const Field field : {Field::value, Field::name, Field::nameSpace, Field::type}) {
                const Condition one = condition(field, static_cast<Relation>(relation), literal);
                const std::string expected = naive.described(*naive.finder->find(one));
                EXPECT_EQ(server.described(*server.finder->find(one)), expected)
                    << literal << " " << relation;
                found += expected.starts_with("0 ") ? 0 : 1;
            }
        }
    }
    EXPECT_GT(found, 400U);
}

TEST_F(Statements, OfNamesAndDocumentsKeepHostileTextsApart) {
    Collection collection(serverEngines().front());
    for (const char *name : {"a'b", "a;b", "a\"b", "a--b", "$1", "%"})
        collection.load({{name, "<r/>"}});
    EXPECT_EQ(collection.administration().summary("db").documents, 6U);
    collection.remove({"a'b", "%"});
    EXPECT_EQ(collection.administration().documents("db")->list().size(), 4U);
    for (const char *user : {"'", "x' or '1'='1", "reader'--"}) {
        EXPECT_FALSE(collection.engine().authenticate(user, "secret")) << user;
        EXPECT_FALSE(collection.engine().hasDatabase(user, "db")) << user;
        EXPECT_FALSE(collection.engine().hasDatabase("reader", user)) << user;
    }
}

/** All words that requests may use; databases that distribute tables understand no more together.
 */
const std::set<std::string> allowed = {
    "select", "from", "where", "and", "or", "not", "in", "between", "is", "null", "like", "as",
    "inner", "join", "on", "union", "all", "group", "by", "having", "order", "desc", "over",
    "partition", "row_number", "count", "min", "max", "sum", "bit_or", "left", "length", "replace",
    "insert", "into", "delete",
    // Tables and their columns.
    "node", "setnode", "part", "id", "doc", "path", "parent", "last", "ord", "num", "value",
    "number"};

bool isOwnName(const std::string &word) {
    static const std::regex name("[a-z]|a[0-9]+");
    return std::regex_match(word, name);
}

/** Words of statements that concern nodes, as the server wrote them down. */
std::map<std::string, std::string> wordsIn(const std::string &log) {
    std::map<std::string, std::string> words;
    std::ifstream file(log);
    constexpr std::string_view mark = "execute <unnamed>: ";
    static const std::regex word("[A-Za-z_][A-Za-z_0-9]*");
    for (std::string line; std::getline(file, line);) {
        const std::size_t at = line.find(mark);
        if (at == std::string::npos) continue;
        const std::string text = line.substr(at + mark.size());
        if (text.find(" node ") == std::string::npos && text.find("setnode") == std::string::npos)
            continue;
        for (std::sregex_iterator each(text.begin(), text.end(), word), end; each != end; ++each)
            words.emplace(each->str(), text);
    }
    return words;
}

TEST_F(Statements, OfRequestsUseTheWordsOfTheDialectOnly) {
    support::DatabaseServer &server = support::DatabaseServer::ofProcess();
    Side side(serverEngines().front());
    for (unsigned seed = 0; seed < 4; ++seed)
        side.collection.load({{std::to_string(seed), testing::RandomDocument(seed).make()}});
    side.database->refresh({});
    server.run(side.collection.location(), "alter system set log_statement = 'all'");
    server.run(side.collection.location(), "select pg_reload_conf()");
    for (unsigned seed = 0; seed < 20; ++seed) {
        side.startAgain();
        for (unsigned each = 0; each < 12; ++each) {
            side.found(seed * 1000 + each);
            side.told(seed * 1000 + each);
        }
    }
    server.run(side.collection.location(), "alter system reset log_statement");
    server.run(side.collection.location(), "select pg_reload_conf()");
    const auto words = wordsIn(server.folder() + "/log");
    EXPECT_GT(words.size(), 40U);
    for (const auto &[word, text] : words)
        EXPECT_TRUE(allowed.contains(word) || isOwnName(word)) << word << " in " << text;
    for (const char *used : {"row_number", "bit_or", "union", "having", "setnode", "join", "like"})
        EXPECT_TRUE(words.contains(used)) << used;
}

}  // namespace
}  // namespace zdbs::conformance
