/** What lies across the texts of elements is found in their string-values. */
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/engine_conformance/collection.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"

namespace zdbs::conformance {
namespace {

/** Elements in each other between texts of few different characters, which are long now and then.
 */
class MixedContent {
public:
    explicit MixedContent(unsigned seed) : random_(seed) {}

    std::string document() {
        std::string xml = "<r>";
        for (int i = 0; i < 6; ++i)
            xml += element(0);
        return xml + "</r>";
    }

    /** Of the characters of the documents so far, mostly in their order. */
    std::string needle() {
        const int length = 2 + below(below(4) == 0 ? 30 : 8);
        const int begin = below(static_cast<int>(characters_.size()) - length);
        std::string text;
        for (int i = 0; i < length; ++i)
            text += below(40) == 0 ? "b" : characters_[static_cast<std::size_t>(begin + i)];
        return text;
    }

private:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    std::string text(int length) {
        constexpr const char *each[] = {"a", "b", "\u00e4", "\u20ac", " "};
        std::string text;
        for (int i = 0; i < length; ++i) {
            characters_.push_back(each[below(5)]);
            text += characters_.back();
        }
        return text;
    }

    std::string element(int depth) {
        const std::string name = below(2) == 0 ? "i" : "b";
        std::string xml = "<" + name + ">";
        for (int i = below(4); i >= 0; --i) {
            xml += text(below(5) == 0 ? 6 + below(30) : below(3));
            if (below(6) == 0) xml += "<!--ab-->";
            if (depth < 4 && below(3) != 0) xml += element(depth + 1);
        }
        return xml + "</" + name + ">";
    }

    std::mt19937 random_;
    std::vector<std::string> characters_;
};

class TextSearch : public OfEngine {
protected:
    static xpath::Nodes found(const xpath::Collection &nodes, const std::string &expression,
                              xpath::Limits limits = xpath::Limits()) {
        const auto parsed = xpath::parse(expression, {});
        const xpath::Value value = xpath::Evaluator(nodes, limits).evaluate(*parsed);
        const auto group = value.nodes().groups()[0];
        return {group.begin(), group.end()};
    }
};

TEST_P(TextSearch, FindsWhatLiesAcrossElements) {
    MixedContent content(1);
    std::vector<NamedDocument> documents;
    for (int i = 0; i < 8; ++i)
        documents.push_back({std::to_string(i), content.document()});
    collection.load(documents);
    const auto database = collection.open();
    const xpath::Collection nodes(*database);
    const bool isEmbedded = GetParam().name == embeddedEngine().name;
    int across = 0;
    for (int i = 0; i < (isEmbedded ? 600 : 12); ++i) {
        const std::string needle = content.needle();
        const auto having = [&](const std::string &value) {
            return "/descendant-or-self::node()[contains(" + value + ", '" + needle + "')]";
        };
        const xpath::Nodes expected = found(nodes, having("concat('', .)"));
        EXPECT_EQ(found(nodes, having(".")), expected) << needle;
        EXPECT_EQ(found(nodes, having("."), {100, 100, 0}), expected) << needle;
        across += !expected.empty() && found(nodes, having(".") + "/self::text()").empty();
    }
    EXPECT_GT(across, isEmbedded ? 60 : 0);
}

INSTANTIATE_TEST_SUITE_P(Engines, TextSearch, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
