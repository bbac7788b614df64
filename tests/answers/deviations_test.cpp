/** The tables of docs/deviations.md: what they say about this system and about XPath 1.0. */
#include <gtest/gtest.h>

#include <set>

#include "prg/xml/xpath/notes/notes.h"
#include "tests/answers/local_names.h"
#include "tests/answers/page_tables.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"

namespace answers {
namespace {

constexpr const char *page = "deviations.md";

/** What XPath 1.0 counts, as the page writes it; a dash for what is no XPath. */
std::string xpathCount(XPathOracle &oracle, const std::string &request) {
    try {
        return std::to_string(oracle.count(expressionOf(request)));
    } catch (const std::runtime_error &) {
        return "—";
    }
}

TEST(Deviations, EveryRequestOfThePageCountsAsThePageSays) {
    const PageTable table = tableOf(page, {"request", "here", "XPath"});
    EXPECT_GE(table.rows.size(), 50U);
    const SampleDatabases databases({garden()});
    const std::vector<Answer> answers = databases.find("garden", table.firsts());
    XPathOracle oracle(garden().file);
    for (std::size_t index = 0; index < table.rows.size(); ++index) {
        const std::vector<std::string> &row = table.rows[index];
        ASSERT_EQ(row.size(), 3U);
        EXPECT_EQ(std::to_string(answers[index].count), row[1]) << row[0] << "\n"
                                                                << answers[index].message;
        EXPECT_EQ(xpathCount(oracle, row[0]), row[2]) << row[0];
    }
}

/** What a note says to write instead; empty where none names a form. */
std::string formFor(const std::string &request) {
    constexpr std::string_view write = " Write ";
    for (const notes::Note &note : notes::notesOn(request, "", nullptr))
        if (const std::size_t at = note.text.find(write); at != std::string::npos)
            return note.text.substr(at + write.size());
    return {};
}

TEST(Deviations, FormsThatNotesNameCountAsXPathDoes) {
    // An attribute is nowhere at the top, and the root of a document is no record.
    const std::set<std::string> others = {"/@name", "/attribute::id", "descendant-or-self::node()",
                                          "..", "parent::node()"};
    std::vector<std::string> forms;
    std::vector<std::string> counts;
    for (const std::vector<std::string> &row : tableOf(page, {"request", "here", "XPath"}).rows) {
        const std::string form = formFor(row[0]);
        if (form.empty() || others.contains(row[0])) continue;
        forms.push_back(form);
        counts.push_back(row[2] == "—" ? row[1] : row[2]);
    }
    EXPECT_GE(forms.size(), 25U);
    const SampleDatabases databases({garden()});
    const std::vector<Answer> answers = databases.find("garden", forms);
    for (std::size_t index = 0; index < forms.size(); ++index)
        EXPECT_EQ(std::to_string(answers[index].count), counts[index]) << forms[index];
}

/** The line of a set that the shell prints, or what the page writes for none. */
std::string setLine(const std::vector<std::string> &row) {
    if (row[1] == "—") return {};
    return "<" + row[1] + ">\t<" + row[2] + ">\t" + row[0];
}

TEST(Deviations, RequestsOfOneSessionFindWhatThePageSaysOfThoseBefore) {
    const PageTable table = tableOf(page, {"next request", "set", "nodes"});
    EXPECT_GE(table.rows.size(), 5U);
    std::string statements;
    std::string expected;
    for (const std::vector<std::string> &row : table.rows) {
        ASSERT_EQ(row.size(), 3U);
        statements += "XFIND " + row[0] + ";\n";
        if (const std::string line = setLine(row); !line.empty()) expected += line + "\n";
    }
    const SampleDatabases databases({garden()});
    EXPECT_EQ(setLinesOf(databases.run("garden", statements).out), expected);
}

TEST(Deviations, EveryRefusedRequestOfThePageIsRefusedWithItsMessage) {
    const PageTable table = tableOf(page, {"request", "XPath", "message"});
    EXPECT_GE(table.rows.size(), 20U);
    const SampleDatabases databases({garden()});
    const std::vector<Answer> answers = databases.find("garden", table.firsts());
    XPathOracle oracle(garden().file);
    for (std::size_t index = 0; index < table.rows.size(); ++index) {
        const std::vector<std::string> &row = table.rows[index];
        ASSERT_EQ(row.size(), 3U);
        EXPECT_EQ(answers[index].count, noCount) << row[0];
        EXPECT_EQ(answers[index].message, row[2]) << row[0];
        EXPECT_EQ(xpathCount(oracle, row[0]), row[1]) << row[0];
    }
}

}  // namespace
}  // namespace answers
