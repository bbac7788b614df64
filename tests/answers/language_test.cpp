/** The tables of docs/language.md: how each construct is answered, and what stands in for others.
 */
#include <gtest/gtest.h>

#include "tests/answers/local_names.h"
#include "tests/answers/page_tables.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"

namespace answers {
namespace {

TEST(Language, EveryConstructCountsAsThePageAndXPathSay) {
    const PageTable table = tableOf("language.md", {"request", "last conditions", "nodes"});
    EXPECT_GE(table.rows.size(), 40U);
    const SampleDatabases databases({garden()});
    const std::vector<Answer> answers = databases.find("garden", table.firsts());
    XPathOracle oracle(garden().file);
    for (std::size_t index = 0; index < table.rows.size(); ++index) {
        const std::vector<std::string> &row = table.rows[index];
        ASSERT_EQ(row.size(), 3U) << row[0];
        EXPECT_EQ(std::to_string(answers[index].count), row[2]) << row[0];
        EXPECT_EQ(oracle.count(expressionOf(row[0])), answers[index].count) << row[0];
    }
}

TEST(Language, EveryConstructEndsInTheConditionsOfThePage) {
    const SampleDatabases databases({garden()});
    for (const auto &row : tableOf("language.md", {"request", "last conditions", "nodes"}).rows) {
        std::string conditions;
        for (const std::string &condition : databases.conditions("garden", row[0]))
            conditions += "; " + condition;
        EXPECT_TRUE(conditions.ends_with("; " + row[1])) << row[0] << "\n" << conditions;
    }
}

TEST(Language, WhatStandsInForARefusedRequestCountsAsXPathDoesOfThat) {
    const PageTable table = tableOf("language.md", {"refused", "instead"});
    EXPECT_GE(table.rows.size(), 15U);
    std::vector<std::string> instead;
    for (const std::vector<std::string> &row : table.rows)
        instead.push_back(row[1]);
    const SampleDatabases databases({garden()});
    const std::vector<Answer> refused = databases.find("garden", table.firsts());
    const std::vector<Answer> answers = databases.find("garden", instead);
    XPathOracle oracle(garden().file);
    for (std::size_t index = 0; index < table.rows.size(); ++index) {
        const std::string &request = table.rows[index][0];
        EXPECT_EQ(refused[index].count, noCount) << request;
        EXPECT_EQ(answers[index].count, oracle.count(expressionOf(request))) << request;
    }
}

}  // namespace
}  // namespace answers
