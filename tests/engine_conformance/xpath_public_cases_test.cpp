/** Cases that somebody else wrote for another engine of XPath 1.0, where a package puts them. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>

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

/** Forms of cases that expect what the recommendation does not say, or what is refused; and why. */
const std::map<std::string, std::string> exceptions = {
    {R"(namespace *::)", "namespace nodes are not kept"},
    {R"(\* *: *\w)", "*:name is no node test (2.3)"},
    {R"(\w +: +\w)", "no white space stands in a QName (3.7)"},
    {R"(name\(\) = '\{)", "name() is a QName (4.1), not a URI and a local part"},
};

bool isExcepted(const std::string &expression) {
    return std::any_of(exceptions.begin(), exceptions.end(), [&](const auto &exception) {
        return std::regex_search(expression, std::regex(exception.first));
    });
}

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
        if (isExcepted(one.expression)) {
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

INSTANTIATE_TEST_SUITE_P(Engines, XPathPublicCases, ::testing::Values(naiveEngine()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
