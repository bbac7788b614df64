/** The tree of a state: every axis between sets, and facts of whole sets, in both engines alike. */
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/engine_conformance/collection.h"
#include "tests/zdbs/support/random_document.h"

namespace zdbs::conformance {
namespace {

/** Records as places, so that engines with other numbers say the same. */
class TreeText {
public:
    explicit TreeText(const OpenDatabase &database)
        : database_(database), tree_(database.tree()), all_(database.everything()) {
        numbers_ = tree_->numbers(*all_);
    }

    const NodeTree &tree() const { return *tree_; }
    const ResultSet &all() const { return *all_; }

    std::string of(RecordId record) const {
        if (record == 0) return "0";
        const auto place = std::lower_bound(numbers_.begin(), numbers_.end(), record);
        return std::to_string(place - numbers_.begin() + 1);
    }

    std::string of(const std::vector<RecordId> &records) const {
        std::string text;
        for (const RecordId record : records)
            text += of(record) + " ";
        return text;
    }

    std::string of(const ResultSet &set) const { return of(tree_->numbers(set)); }

    std::string of(const NodesAndRoots &side) const {
        std::string text = of(*side.nodes) + "/ ";
        for (const std::uint32_t root : side.roots)
            text += std::to_string(root) + " ";
        return text;
    }

    /** About one in `count` of all nodes, the same for each engine. */
    ResultSetPtr some(std::mt19937 &random, std::size_t count) const {
        return tree_->listed(someOf(numbers_, random, count));
    }

    ResultSetPtr picked(std::mt19937 &random, const ResultSet &set, std::size_t count) const {
        return tree_->picked(set, someOf(tree_->numbers(set), random, count));
    }

private:
    static std::vector<RecordId> someOf(std::vector<RecordId> records, std::mt19937 &random,
                                        std::size_t count) {
        std::erase_if(records, [&](RecordId) { return random() % count != 0; });
        return records;
    }

    const OpenDatabase &database_;
    std::unique_ptr<NodeTree> tree_;
    ResultSetPtr all_;
    std::vector<RecordId> numbers_;
};

std::string factsOf(const TreeText &text, const ResultSet &set) {
    const NodeTree &tree = text.tree();
    std::string result =
        text.of(set) + "| " + text.of(tree.parents(set)) + "| " + text.of(tree.ends(set)) + "|";
    for (const std::string_view value : tree.values(set))
        result += std::string(value) + ",";
    const NamesOfNodes names = tree.names(set);
    for (const std::uint32_t which : names.which) {
        const NodeName &name = names.distinct[which];
        result += std::string(name.prefix) + ":" + std::string(name.local) + "=" +
                  std::string(name.uri) + ",";
    }
    return result;
}

constexpr const char *documents[] = {
    "<a x='1'>t<b y='2'><c/>u</b><!--c--><?p d?><b xmlns='urn:u' p:z='3' xmlns:p='urn:p'/></a>",
    "<?q?><r><a><a><a x='1'>1</a>2</a></a><b>03</b>3.0</r><!--end-->",
};

class Tree : public OfEngine {
protected:
    std::unique_ptr<OpenDatabase> loaded() {
        collection.load({{"one", documents[0]}, {"two", documents[1]}});
        return collection.open();
    }

    std::unique_ptr<OpenDatabase> database_ = loaded();
    TreeText text_{*database_};
    const NodeTree &tree_ = text_.tree();
};

TEST_P(Tree, TellsFactsInTheOrderOfTheSet) {
    EXPECT_EQ(factsOf(text_, text_.all()),
              "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 | "
              "0 1 1 1 4 4 4 1 1 1 10 0 0 13 14 15 16 16 15 13 20 13 0 | "
              "11 2 3 7 5 6 7 8 9 11 11 12 22 19 19 18 17 18 19 21 21 22 23 |"
              ",1,t,,2,,u,c,d,,3,,,,,,1,1,2,,03,3.0,end,"
              ":a=,:x=,:=,:b=,:y=,:c=,:=,:=,:p=,:b=urn:u,p:z=urn:p,:q=,:r=,:a=,:a=,:a=,:x=,:=,:=,"
              ":b=,:=,:=,:=,");
}

TEST_P(Tree, FindsNodesByKindAndExpandedName) {
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::element, "b", ""})), "4 20 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::element, "b", "urn:u"})), "10 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::element, "b"})), "4 10 20 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::element, std::nullopt, "urn:u"})), "10 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::attribute})), "2 5 11 17 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::processingInstruction, "p"})), "9 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::text})), "3 7 18 19 21 22 ");
    EXPECT_EQ(text_.of(*tree_.matching({NodeKind::element, "p"})), "");
}

TEST_P(Tree, ComparesValuesAsTextsAndAsNumbers) {
    const auto found = [&](const ValuePattern &pattern) {
        return text_.of(*tree_.withValue(text_.all(), pattern));
    };
    EXPECT_EQ(found({Relation::equal, "3"}), "11 ");
    EXPECT_EQ(found({Relation::equal, "3", true}), "11 21 22 ");
    EXPECT_EQ(found({Relation::notEqual, "3", true}), "2 3 5 7 8 9 12 17 18 19 23 ");
    EXPECT_EQ(found({Relation::greater, "2", true}), "11 21 22 ");
    EXPECT_EQ(found({Relation::contains, "."}), "22 ");
    EXPECT_EQ(found({Relation::greaterEqual, "t"}), "3 7 ");
}

TEST_P(Tree, PartsASetByName) {
    std::vector<RecordId> together;
    for (const ResultSetPtr &part : tree_.byName(text_.all())) {
        const NamesOfNodes names = tree_.names(*part);
        ASSERT_FALSE(names.which.empty());
        const auto isFirst = [&](std::uint32_t which) {
            const NodeName &name = names.distinct[which];
            const NodeName &first = names.distinct[names.which.front()];
            return name.prefix == first.prefix && name.local == first.local &&
                   name.uri == first.uri;
        };
        EXPECT_TRUE(std::all_of(names.which.begin(), names.which.end(), isFirst))
            << text_.of(*part);
        const std::vector<RecordId> records = tree_.numbers(*part);
        together.insert(together.end(), records.begin(), records.end());
    }
    std::sort(together.begin(), together.end());
    EXPECT_EQ(text_.of(together), text_.of(text_.all()));
    EXPECT_TRUE(tree_.byName(*tree_.listed({})).empty());
}

TEST_P(Tree, TellsElementsWithOneTextAtMost) {
    Collection own(GetParam());
    own.load({{"other",
               "<a><b>x</b><b/><b y='1'>z<!--c--></b><d>p<!--q-->r</d>"
               "<e><b>u<f/></b>v</e></a>"}});
    const auto database = own.open();
    const TreeText text(*database);
    const NodeTree &tree = text.tree();
    const ResultSetPtr elements = tree.matching({NodeKind::element});
    EXPECT_EQ(text.of(*tree.withOneText(*elements)), "2 4 5 16 ");
    EXPECT_EQ(text.of(*tree.withOneText(*tree.listed({}))), "");
}

INSTANTIATE_TEST_SUITE_P(Engines, Tree, ::testing::ValuesIn(allEngines()), nameOfEngine);

/** Everything that can be asked of two sets and the roots. */
std::string answersOf(const TreeText &text, unsigned seed) {
    std::mt19937 random(seed);
    const NodeTree &tree = text.tree();
    const ResultSetPtr a = text.some(random, 1 + seed % 4);
    const ResultSetPtr b = text.some(random, 1 + seed / 4 % 4);
    const ResultSetPtr ofA = text.picked(random, *a, 1 + seed % 3);
    std::vector<std::uint32_t> roots;
    for (std::uint32_t root = 0; root < tree.documents().size(); ++root) {
        if (random() % 2 == 0) roots.push_back(root);
    }
    std::string result = factsOf(text, *a) + factsOf(text, *ofA) + text.of(*tree.united(*ofA, *b)) +
                         ";" + text.of(*tree.united(*a, *b)) + ";" + text.of(*tree.common(*a, *b)) +
                         ";" + text.of(*tree.without(*a, *b));
    for (const double place : {1.0, 2.0, 2.5, -1.0, -2.0}) {
        for (const ComparisonWords &each : comparisonTable)
            result += ";" + text.of(*tree.atPosition(*a, each.relation, place));
    }
    for (const AxisTraits &axis : axisTable) {
        if (axis.axis == Axis::namespaceNode) continue;
        result += "\n" + std::string(axis.name) + " " +
                  text.of(*tree.reached(axis.axis, {a, roots}, *b)) + "; " +
                  text.of(tree.leading(axis.axis, {a, roots}, {b, {}})) + "; " +
                  text.of(tree.leading(axis.axis, {a, roots}, {b, roots}));
    }
    return result;
}

class TreeOfAnEngine : public ::testing::TestWithParam<EngineUnderTest> {
protected:
    /** Each statement of a server takes its time. */
    unsigned most() const { return GetParam().name == embeddedEngine().name ? 16 : 5; }
};

TEST_P(TreeOfAnEngine, RelatesRandomSetsAsTheNaiveOneDoes) {
    for (unsigned seed = 0; seed < most(); ++seed) {
        Collection asked(GetParam());
        Collection naive(naiveEngine());
        std::vector<NamedDocument> loaded;
        for (unsigned number = 0; number < 3; ++number)
            loaded.push_back(
                {std::to_string(number), testing::RandomDocument(seed * 3 + number).make()});
        // Each in a transaction of its own, and one is gone in the end.
        for (Collection *each : {&asked, &naive}) {
            for (const NamedDocument &document : loaded)
                each->load({document});
            if (seed % 2 == 0) each->remove({"1"});
        }
        const auto one = asked.open();
        const auto other = naive.open();
        for (unsigned sets = 0; sets < most(); ++sets)
            EXPECT_EQ(answersOf(TreeText(*one), sets), answersOf(TreeText(*other), sets)) << seed;
    }
}

std::vector<EngineUnderTest> allButNaive() {
    std::vector<EngineUnderTest> engines = serverEngines();
    engines.push_back(embeddedEngine());
    return engines;
}

INSTANTIATE_TEST_SUITE_P(Engines, TreeOfAnEngine, ::testing::ValuesIn(allButNaive()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
