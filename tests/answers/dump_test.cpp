/** What was loaded comes out of `zdbs dump` the same, in canonical form. */
#include <gtest/gtest.h>

#include "tests/answers/sample_databases.h"
#include "tests/zdbs/support/xml_text.h"

namespace answers {
namespace {

using zdbs::testing::canonical;

class Dump : public ::testing::TestWithParam<Sample> {};

TEST_P(Dump, HasTheCanonicalFormOfItsSource) {
    const Sample &sample = GetParam();
    const SampleDatabases databases({sample});
    const std::string source = canonical(support::readFile(sample.file));
    const std::string dumped = canonical(databases.dump(sample.database));
    EXPECT_GT(source.size(), 1000U);
    // Not EXPECT_EQ: millions of characters are nobody's message.
    EXPECT_TRUE(dumped == source);
}

INSTANTIATE_TEST_SUITE_P(Samples, Dump, ::testing::ValuesIn(samples()),
                         [](const auto &one) { return one.param.database; });

}  // namespace
}  // namespace answers
