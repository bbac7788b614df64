/** Every count that XFIND reports is what an independent XPath 1.0 engine counts. */
#include <gtest/gtest.h>

#include "tests/answers/request_table.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"

namespace answers {
namespace {

class Answers : public ::testing::TestWithParam<Sample> {};

TEST_P(Answers, OfEveryRequestOfTheTableAreThoseOfXPath) {
    const Sample &sample = GetParam();
    const std::vector<Row> rows = readTable(sample.database);
    EXPECT_GE(rows.size(), 50U);
    std::vector<std::string> requests;
    for (const Row &row : rows)
        requests.push_back(row.request);
    const SampleDatabases databases({sample});
    const std::vector<Answer> answers = databases.find(sample.database, requests);
    XPathOracle oracle(sample.file);
    for (std::size_t index = 0; index < rows.size(); ++index)
        EXPECT_EQ(answers[index].count, oracle.count(rows[index].expression))
            << rows[index].request << " as " << rows[index].expression << "\n"
            << answers[index].message;
}

INSTANTIATE_TEST_SUITE_P(Samples, Answers, ::testing::ValuesIn(samples()),
                         [](const auto &one) { return one.param.database; });

TEST(AnswersTable, IsLong) {
    std::size_t rows = 0;
    for (const Sample &sample : samples())
        rows += readTable(sample.database).size();
    EXPECT_GE(rows, 600U);
}

}  // namespace
}  // namespace answers
