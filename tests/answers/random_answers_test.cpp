/** Random requests on random documents: what XFIND counts is what XPath 1.0 counts. */
#include <gtest/gtest.h>

#include "tests/answers/random_requests.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/zdbs/support/random_document.h"

namespace answers {
namespace {

class RandomAnswers : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomAnswers, AreThoseOfXPath) {
    constexpr std::size_t many = 1500;
    const support::TemporaryDirectory directory;
    const std::string xml = zdbs::testing::RandomDocument(GetParam()).make();
    const std::string file = directory.write("random.xml", xml);
    const SampleDatabases databases({{"random", file}});
    XPathOracle oracle(file);
    RandomRequests source(GetParam());
    std::vector<std::string> requests(many);
    std::vector<std::string> expressions(many);
    for (std::size_t index = 0; index < many; ++index)
        source.make(requests[index], expressions[index]);
    const std::vector<Answer> answers = databases.find("random", requests);
    for (std::size_t index = 0; index < many; ++index)
        EXPECT_EQ(answers[index].count, oracle.count(expressions[index]))
            << requests[index] << " as " << expressions[index] << " on " << xml << "\n"
            << answers[index].message;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomAnswers, ::testing::Values(4U, 6U, 8U, 11U));

}  // namespace
}  // namespace answers
