/**
 * XPath 1.0 over both engines: what expressions made at random are is what an independent engine
 * makes of them, node by node, text by text, number by number.
 */
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/answers/real_documents.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/engine_conformance/collection.h"
#include "tests/zdbs/xpath/random_expressions.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"

namespace zdbs::conformance {
namespace {

using xpath::Value;
using xpath::ValueType;

const xpath::Surroundings surroundings{{{"p", "urn:p"}, {"q", "urn:q"}}, {}};

/** An answer as the oracle writes it; the first record is 1. */
std::string textOf(const Value &value, RecordId first) {
    switch (value.type()) {
        case ValueType::number:
            return answers::numberText(value.number(0));
        case ValueType::boolean:
            return value.truth(0) ? "boolean true" : "boolean false";
        case ValueType::string:
            return "string " + std::string(value.text(0));
        case ValueType::nodeSet:
            break;
    }
    std::string text = "nodes";
    for (const xpath::Node node : value.nodes().groups()[0])
        text += " " + std::to_string(isRoot(node) ? 0 : recordOf(node) - first + 1);
    return text;
}

std::string answerOf(const OpenDatabase &database, const std::string &expression,
                     xpath::Limits limits) {
    const xpath::ExpressionPtr tree = xpath::parse(expression, surroundings);
    const xpath::Collection collection(database);
    xpath::Evaluator evaluator(collection, limits);
    return textOf(evaluator.evaluate(*tree), collection.tree().documents()[0].first);
}

constexpr xpath::Limits fewAtOnce{3, 5, 2};

/** How many documents; the environment may ask for more. */
unsigned wantedDocuments() {
    const char *wanted = std::getenv("ZDBS_XPATH_DOCUMENTS");
    return wanted ? static_cast<unsigned>(std::atoi(wanted)) : 20;
}

/** Asks both, and counts. */
class Comparison {
public:
    Comparison(const OpenDatabase &database, answers::XPathOracle &oracle, std::string document)
        : database_(database), oracle_(oracle), document_(std::move(document)) {
        oracle.declare("p", surroundings.namespaces.at("p"));
        oracle.declare("q", surroundings.namespaces.at("q"));
    }

    void ask(const std::string &expression, xpath::Limits limits) {
        const std::string expected = oracle_.answer(expression);
        const std::string answer = answerOf(database_, expression, limits);
        found_ += expected != "nodes" ? 1 : 0;
        if (answer == expected) return;
        if (++different_ < 20)
            ADD_FAILURE() << document_ << "\n"
                          << expression << "\n"
                          << answer.substr(0, 1000) << "\ninstead of\n"
                          << expected.substr(0, 1000);
    }

    std::size_t different() const { return different_; }
    std::size_t found() const { return found_; }

private:
    const OpenDatabase &database_;
    answers::XPathOracle &oracle_;
    std::string document_;
    std::size_t different_ = 0;
    std::size_t found_ = 0;
};

bool isDeep(unsigned seed) {
    return seed % 10 == 4;
}

/** Some documents are deeper than what a store keeps by path. */
std::string documentOf(unsigned seed) {
    const std::string xml = testing::randomXPathDocument(seed);
    if (!isDeep(seed)) return xml;
    std::string begin;
    std::string end;
    for (int level = 0; level < 198; ++level) {
        begin += level % 2 == 0 ? "<b x='1'>" : "<a>v1";
        end = (level % 2 == 0 ? "</b>" : "</a>") + end;
    }
    return begin + xml + end;
}

class XPathOracleTest : public ::testing::TestWithParam<EngineUnderTest> {};

TEST_P(XPathOracleTest, AgreesOnExpressionsMadeAtRandom) {
    constexpr unsigned expressionsEach = 200;
    std::size_t found = 0;
    for (unsigned seed = 0; seed < wantedDocuments(); ++seed) {
        const std::string xml = documentOf(seed);
        Collection collection(GetParam());
        collection.load({{"document", xml}});
        const auto database = collection.open();
        answers::XPathOracle oracle(xml, "document");
        Comparison comparison(*database, oracle, xml);
        testing::RandomExpressions expressions(seed, testing::smallVocabulary());
        for (unsigned count = 0; count < (isDeep(seed) ? 40 : expressionsEach); ++count) {
            // Every other document is answered a few contexts at a time.
            comparison.ask(expressions.any(), seed % 2 == 0 ? xpath::Limits() : fewAtOnce);
        }
        EXPECT_EQ(comparison.different(), 0U);
        found += comparison.found();
    }
    EXPECT_GT(found, wantedDocuments() * expressionsEach / 3);
}

INSTANTIATE_TEST_SUITE_P(Of, XPathOracleTest, ::testing::Values(embeddedEngine(), naiveEngine()),
                         nameOfEngine);

/** Names of nodes in no namespace, and some short values. */
testing::Vocabulary vocabularyOf(const OpenDatabase &database) {
    testing::Vocabulary words{{"q:a"}, {"xml:id", "xml:lang"}, {"", "a", "1"}};
    const auto tree = database.tree();
    const auto add = [&](NodeKind kind, std::vector<std::string> &list) {
        for (const NodeName &name : tree->names(*tree->matching({kind})).distinct) {
            if (name.uri.empty() && !name.local.empty()) list.emplace_back(name.local);
        }
    };
    add(NodeKind::element, words.elements);
    add(NodeKind::attribute, words.attributes);
    const auto values = tree->values(*tree->matching({NodeKind::attribute}));
    for (std::size_t i = 0; i < values.size(); i += 1 + values.size() / 20) {
        const bool isPlain = values[i].find_first_of("'\"") == std::string_view::npos;
        if (isPlain && values[i].size() < 20) words.texts.emplace_back(values[i]);
    }
    return words;
}

TEST(XPathOracle, AgreesOnRealDocuments) {
    constexpr std::size_t longest = 60000;  // steps of pairs take the other engine minutes
    std::size_t documents = 0;
    for (const answers::Sample &sample : answers::realDocuments()) {
        const std::string xml = answers::textOf(sample);
        if (xml.size() > longest) continue;
        ++documents;
        Collection collection(embeddedEngine());
        collection.load({{"document", xml}});
        const auto database = collection.open();
        answers::XPathOracle oracle(xml, sample.database);
        Comparison comparison(*database, oracle, sample.database);
        testing::RandomExpressions expressions(7, vocabularyOf(*database));
        for (unsigned count = 0; count < 2 * wantedDocuments(); ++count)
            comparison.ask(expressions.any(), xpath::Limits());
        EXPECT_EQ(comparison.different(), 0U);
    }
    EXPECT_GE(documents, 5U);
}

}  // namespace
}  // namespace zdbs::conformance
