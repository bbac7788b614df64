/** Cases that somebody else wrote for another engine of XPath 1.0, where a package puts them. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/go_cases.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"

namespace zdbs::conformance {
namespace {

const std::string folder = "/usr/share/gocode/src/github.com/ChrisTrenkamp/goxpath/";

std::vector<GoCase> publicCases() {
    std::vector<GoCase> all;
    for (const char *part : {"comp", "fns", "misc", "path", "value"}) {
        const auto some = goCasesOf(folder + part + "_test.go");
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

/** Cases that expect what the recommendation does not say, and why. */
const std::map<std::string, std::string> exceptions = {
    {"/*[name() = '{http://foo.com}test']", "name() is a QName (4.1), not a URI and a local part"},
    {"/test:p1/namespace::test", "namespace nodes are not kept, and refused"},
};

/** What an expression is, as a case has it. */
std::vector<std::string> answerOf(const GoCase &one, const OpenDatabase &database) {
    const auto expression = xpath::parse(one.expression, {one.namespaces, {}});
    const xpath::Collection collection(database);
    xpath::Evaluator evaluator(collection);
    const xpath::Value value = evaluator.evaluate(*expression);
    if (!one.selects) return {std::string(value.asTexts().text(0))};
    std::vector<std::string> texts;
    const std::span<const xpath::Node> nodes = value.nodes().groups()[0];
    for (std::size_t place = 0; place < nodes.size(); ++place)
        texts.emplace_back(value.nodes().texts()[place]);
    std::sort(texts.begin(), texts.end());
    return texts;
}

class XPathPublicCases : public ::testing::TestWithParam<EngineUnderTest> {};

TEST_P(XPathPublicCases, AreWhatTheirAuthorExpects) {
    std::size_t asked = 0;
    std::size_t excepted = 0;
    for (const GoCase &one : publicCases()) {
        if (exceptions.contains(one.expression)) {
            ++excepted;
            continue;
        }
        ++asked;
        Collection collection(GetParam());
        collection.load({{"document", one.document}});
        try {
            EXPECT_EQ(answerOf(one, *collection.open()), one.expected) << one.expression << "\n"
                                                                       << one.document;
        } catch (const Failure &failure) {
            ADD_FAILURE() << one.expression << ": " << failure.what();
        }
    }
    std::printf("%zu cases, %zu excepted\n", asked, excepted);
    EXPECT_GE(asked, 100U);
}

INSTANTIATE_TEST_SUITE_P(Engines, XPathPublicCases,
                         ::testing::Values(embeddedEngine(), naiveEngine()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
