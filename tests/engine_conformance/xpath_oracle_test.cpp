/**
 * XPath 1.0 over both engines: what expressions made at random are is what an independent engine
 * makes of them, node by node, text by text, number by number.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "tests/answers/real_documents.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/excerpt.h"
#include "tests/zdbs/xpath/random_expressions.h"
#include "zdbs/base/status.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"

namespace zdbs::conformance {
namespace {

using xpath::Value;
using xpath::ValueType;

const xpath::Surroundings smallSurroundings{{{"p", "urn:p"}, {"q", "urn:q"}}, {}};

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
                     const xpath::Surroundings &surroundings, xpath::Limits limits) {
    const xpath::ExpressionPtr tree = xpath::parse(expression, surroundings);
    const xpath::Collection collection(database);
    xpath::Evaluator evaluator(collection, limits);
    return textOf(evaluator.evaluate(*tree), collection.tree().documents()[0].first);
}

constexpr xpath::Limits fewAtOnce{3, 5, 2};

/** How many expressions are made for each engine; the environment may ask for more. */
std::size_t wantedExpressions() {
    const char *wanted = std::getenv("ZDBS_XPATH_EXPRESSIONS");
    return wanted ? static_cast<std::size_t>(std::atoll(wanted)) : 4000;
}

/** Of what was asked. */
struct Tally {
    std::size_t asked = 0;
    std::size_t found = 0;    ///< that were anything but no nodes
    std::size_t tooLong = 0;  ///< left out: libxml2 goes through too many nodes
    std::size_t tooMany = 0;  ///< left out: more pairs than xpath::mostPairs
    std::size_t different = 0;

    void add(const Tally &more) {
        asked += more.asked;
        found += more.found;
        tooLong += more.tooLong;
        tooMany += more.tooMany;
        different += more.different;
    }

    void print(const std::string &what) const {
        std::printf(
            "%s: %zu expressions, %zu found something, left out %zu (libxml2) and %zu "
            "(pairs), %zu differ\n",
            what.c_str(), asked, found, tooLong, tooMany, different);
    }
};

/** Asks both, and counts. */
class Comparison {
public:
    Comparison(const OpenDatabase &database, answers::XPathOracle &oracle, std::string document,
               const xpath::Surroundings &surroundings)
        : database_(database),
          oracle_(oracle),
          document_(std::move(document)),
          surroundings_(surroundings) {
        for (const auto &[prefix, uri] : surroundings.namespaces)
            oracle.declare(prefix, uri);
    }

    void ask(const std::string &expression, xpath::Limits limits) {
        ++tally_.asked;
        constexpr unsigned long operations = 3000000;
        const auto expected = oracle_.answerWithin(operations, expression);
        if (!expected) {
            ++tally_.tooLong;
            return;
        }
        tally_.found += *expected != "nodes" ? 1 : 0;
        try {
            compare(expression, answerOf(database_, expression, surroundings_, limits), *expected);
        } catch (const Failure &failure) {
            ++tally_.tooMany;
            EXPECT_THAT(failure.what(), ::testing::HasSubstr("pairs of nodes")) << expression;
        }
    }

    const Tally &tally() const { return tally_; }

private:
    void compare(const std::string &expression, const std::string &answer,
                 const std::string &expected) {
        if (answer == expected) return;
        if (++tally_.different < 20)
            ADD_FAILURE() << document_ << "\n"
                          << expression << "\n"
                          << answer.substr(0, 1000) << "\ninstead of\n"
                          << expected.substr(0, 1000);
    }

    const OpenDatabase &database_;
    answers::XPathOracle &oracle_;
    std::string document_;
    const xpath::Surroundings &surroundings_;
    Tally tally_;
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

/** Asks expressions of a document made at random. */
Tally askedOf(unsigned seed, std::size_t expressions, const EngineUnderTest &engine) {
    const std::string xml = documentOf(seed);
    Collection collection(engine);
    collection.load({{"document", xml}});
    const auto database = collection.open();
    answers::XPathOracle oracle(xml, "document");
    Comparison comparison(*database, oracle, xml, smallSurroundings);
    testing::RandomExpressions random(seed, testing::smallVocabulary());
    // Every other document is answered a few contexts at a time.
    const xpath::Limits limits = seed % 2 == 0 ? xpath::Limits() : fewAtOnce;
    for (std::size_t count = 0; count < expressions; ++count)
        comparison.ask(random.any(), limits);
    return comparison.tally();
}

/**
 * Three quarters of all; the rest is for the documents that nobody made for this. A tenth of a
 * server, where each expression takes many statements.
 */
TEST_P(XPathOracleTest, AgreesOnExpressionsMadeAtRandom) {
    const bool isOnServer = GetParam().name.starts_with("sql");
    const std::size_t each = isOnServer ? 50 : 150;
    const std::size_t wanted = wantedExpressions() / (isOnServer ? 10 : 1) / 4 * 3;
    Tally tally;
    for (unsigned seed = 0; tally.asked < wanted; ++seed)
        tally.add(askedOf(seed, isDeep(seed) ? each / 4 : each, GetParam()));
    tally.print("documents made at random");
    EXPECT_EQ(tally.different, 0U);
    EXPECT_EQ(tally.tooMany, 0U);
    EXPECT_LT(tally.tooLong, wanted / 100);
    EXPECT_GT(tally.found, wanted / 3);
}

std::vector<EngineUnderTest> enginesAsked() {
    std::vector<EngineUnderTest> engines = serverEngines();
    engines.insert(engines.end(), {embeddedEngine(), naiveEngine()});
    return engines;
}

INSTANTIATE_TEST_SUITE_P(Of, XPathOracleTest, ::testing::ValuesIn(enginesAsked()), nameOfEngine);

/** What expressions of a document are made of: its names and some of its short values. */
struct Matter {
    testing::Vocabulary words{{"q:a"}, {"xml:id", "xml:lang"}, {"", "a", "1"}};
    xpath::Surroundings surroundings = smallSurroundings;
};

bool isPlain(std::string_view value) {
    return value.size() < 20 && value.find_first_of("'\"") == std::string_view::npos;
}

/** The prefix p is for the first namespace that elements are in. */
Matter matterOf(const OpenDatabase &database) {
    Matter matter;
    std::string &uri = matter.surroundings.namespaces["p"];
    const auto tree = database.tree();
    const auto add = [&](NodeKind kind, std::vector<std::string> &list) {
        for (const NodeName &name : tree->names(*tree->matching({kind})).distinct) {
            if (name.local.empty()) continue;
            if (kind == NodeKind::element && uri == "urn:p" && !name.uri.empty()) uri = name.uri;
            if (name.uri.empty()) list.emplace_back(name.local);
            if (name.uri == uri) list.push_back("p:" + std::string(name.local));
        }
    };
    add(NodeKind::element, matter.words.elements);
    add(NodeKind::attribute, matter.words.attributes);
    for (const NodeKind kind : {NodeKind::attribute, NodeKind::text}) {
        const auto values = tree->values(*tree->matching({kind}));
        for (std::size_t i = 0; i < values.size(); i += 1 + values.size() / 20) {
            if (isPlain(values[i])) matter.words.texts.emplace_back(values[i]);
        }
    }
    return matter;
}

/** All of a document, or of a large one the first elements of each name in each element. */
std::string partOf(const answers::Sample &sample) {
    constexpr std::size_t longest = 60000;  // libxml2 puts large sets together pair by pair
    std::string xml = answers::textOf(sample);
    for (std::size_t most = 64; xml.size() > longest && most > 0; most /= 2)
        xml = excerptOf(sample.file, most);
    return xml;
}

class RealXPathOracle : public ::testing::TestWithParam<answers::Sample> {};

TEST_P(RealXPathOracle, AgreesOnExpressionsMadeAtRandom) {
    const std::string xml = partOf(GetParam());
    Collection collection(embeddedEngine());
    collection.load({{"document", xml}});
    const auto database = collection.open();
    answers::XPathOracle oracle(xml, GetParam().database);
    const Matter matter = matterOf(*database);
    Comparison comparison(*database, oracle, GetParam().database, matter.surroundings);
    testing::RandomExpressions expressions(7, matter.words);
    const std::size_t wanted = wantedExpressions() / 4 / answers::documentsForAnswers().size();
    while (comparison.tally().asked < wanted)
        comparison.ask(expressions.any(), xpath::Limits());
    comparison.tally().print(GetParam().database);
    EXPECT_EQ(comparison.tally().different, 0U);
    EXPECT_LT(comparison.tally().tooLong + comparison.tally().tooMany, wanted / 3);
}

INSTANTIATE_TEST_SUITE_P(Documents, RealXPathOracle,
                         ::testing::ValuesIn(answers::documentsForAnswers()),
                         [](const auto &test) { return test.param.database; });

}  // namespace
}  // namespace zdbs::conformance
