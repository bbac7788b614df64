/** Every count that XFIND reports is what an independent XPath 1.0 engine counts. */
#include <gtest/gtest.h>

#include <fstream>

#include "tests/answers/local_names.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"

namespace answers {
namespace {

struct Row {
    std::string database;
    std::string request;
    std::string expression;
};

/** data/requests.txt, whose first lines say how it is written. */
std::vector<Row> readTable() {
    std::vector<Row> rows;
    std::ifstream file(ANSWERS_DIR "/data/requests.txt");
    std::string database;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with('[')) {
            database = line.substr(1, line.size() - 2);
            continue;
        }
        const std::string arrow = " => ";
        const std::size_t at = line.find(arrow);
        const std::string request = line.substr(0, at);
        rows.push_back({database, request,
                        at == std::string::npos ? expressionOf(request)
                                                : byLocalName(line.substr(at + arrow.size()))});
    }
    return rows;
}

TEST(Answers, OfEveryRequestOfTheTableAreThoseOfXPath) {
    const std::vector<Row> rows = readTable();
    EXPECT_GE(rows.size(), 200U);
    const SampleDatabases databases;
    std::size_t compared = 0;
    for (const Sample &sample : samples()) {
        XPathOracle oracle(sample.file);
        std::vector<Row> here;
        std::vector<std::string> requests;
        for (const Row &row : rows) {
            if (row.database != sample.database) continue;
            here.push_back(row);
            requests.push_back(row.request);
        }
        const std::vector<Answer> answers = databases.find(sample.database, requests);
        for (std::size_t index = 0; index < here.size(); ++index, ++compared)
            EXPECT_EQ(answers[index].count, oracle.count(here[index].expression))
                << sample.database << ": " << here[index].request << " as "
                << here[index].expression << "\n"
                << answers[index].message;
    }
    EXPECT_EQ(compared, rows.size());
}

}  // namespace
}  // namespace answers
