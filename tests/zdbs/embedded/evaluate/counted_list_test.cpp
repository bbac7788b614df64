/** Number of nodes and hits of lists whose values are still to be looked at. */
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/embedded/sets/node_list.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;

std::string randomText(std::size_t size, unsigned letters, std::mt19937 &random) {
    std::string text(size, 'a');
    for (char &c : text)
        c = static_cast<char>('a' + random() % letters);
    return text;
}

/** Texts of one path that repeat, of one that are all different, of one that are numbers. */
std::string randomDocument(std::size_t size, std::mt19937 &random) {
    std::string xml = "<r>";
    for (std::size_t i = 0; i < size; ++i) {
        xml += "<a>" + randomText(1 + random() % 2, 2, random) + "</a>";
        xml += "<b x='" + randomText(random() % 4, 2, random) + "'>" +
               randomText(random() % 30, 3, random) + "</b>";
        xml += "<c>" + std::to_string(random() % 50) + "</c>";
    }
    return xml + "</r>";
}

class CountedLists {
public:
    explicit CountedLists(unsigned seed)
        : random_(seed),
          size_(below(2) == 0 ? 5 : 90),
          nodes_(testing::tableFromXml({{"one", document()}, {"two", document()}})),
          table_(nodes_, options()) {}

    void expectRight() {
        ValueConditions conditions;
        do {
            conditions.push_back({test(), below(3) == 0});
        } while (below(3) == 0);
        const PathNodes candidates = this->candidates();
        const auto shared = std::make_shared<const ValueConditions>(conditions);
        const auto list =
            std::make_shared<NodeList>(table_, PendingNodes(table_, candidates, shared, nullptr));
        NodeIds expected;
        std::uint64_t hits = 0;
        for (const NodeId node : nodeIdsOf(table_, candidates)) {
            if (!passes(node, conditions)) continue;
            expected.push_back(node);
            const ValueTest &first = conditions.front().test;
            const std::size_t found =
                first.relation() == Relation::contains ? first.hits(table_.value(node)).size() : 1;
            hits += std::max<std::size_t>(found, 1);
        }
        lookAtSome(*list);
        const bool hasHits = conditions.size() == 1 && !conditions.front().negated;
        if (below(2) == 0) {
            ASSERT_EQ(list->hits().has_value(), hasHits);
        }
        ASSERT_EQ(list->empty(), expected.empty());
        ASSERT_EQ(list->size(), expected.size());
        if (hasHits) {
            ASSERT_EQ(list->hits(), hits);
        }
        lookAtSome(*list);
        for (std::size_t place = 0; place < expected.size(); place += 1 + expected.size() / 5)
            ASSERT_EQ(list->at(place), expected[place]);
        ASSERT_EQ(list->numbers(), expected);
        ASSERT_EQ(list->size(), expected.size());
        if (hasHits) {
            ASSERT_EQ(list->hits(), hits);
        }
        wasPartial_ = wasPartial_ || (hasHits && hits > expected.size());
    }

    bool wasHitTwice() const { return wasPartial_; }

private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    std::string document() { return randomDocument(size_, random_); }

    PathTableOptions options() {
        PathTableOptions result;
        if (below(2) == 0) result.nodesPerSegment = 20 + below(900);
        if (below(3) == 0) result.removed = {below(2)};
        if (below(4) == 0) result.deepestLevel = 1;
        result.withValuePaths = below(2) == 0;
        return result;
    }

    ValueTest test() {
        constexpr Relation relations[] = {
            Relation::contains, Relation::contains, Relation::contains,     Relation::equal,
            Relation::notEqual, Relation::less,     Relation::greaterEqual, Relation::notEmpty};
        const Relation relation = relations[below(8)];
        const bool isNumber = below(4) == 0;
        const std::string literal =
            isNumber ? std::to_string(below(60)) : randomText(below(7), 2, random_);
        return {relation, literal, Comparing::asNumbers};
    }

    /** Whole paths, or some rows of them, as a condition on numbers of nodes leaves them. */
    PathNodes candidates() {
        std::vector<PathId> paths;
        for (PathId path = 0; path < table_.summary().size(); ++path)
            if (below(4) != 0) paths.push_back(path);
        PathNodes result = wholePaths(table_, paths);
        const unsigned part = below(6);
        if (part > 1) return result;
        for (PathPart &one : result) {
            RowSet rows;
            for (const RowId row : *one.rows)
                if (below(part == 0 ? 2 : 30) == 0) rows.add(row);
            one.rows = sharedRows(table_, one.path, std::move(rows));
        }
        std::erase_if(result, [](const PathPart &one) { return !one.rows; });
        return result;
    }

    bool passes(NodeId node, const ValueConditions &conditions) const {
        return std::all_of(conditions.begin(), conditions.end(), [&](const ValueCondition &one) {
            if (table_.kind(node) == NodeKind::element) return one.negated;
            return one.test.matches(table_.value(node)) != one.negated;
        });
    }

    /** What a join does. */
    void lookAtSome(const NodeList &list) {
        if (below(3) != 0) return;
        std::vector<PathId> paths = list.pathsIn(table_);
        std::erase_if(paths, [this](PathId) { return below(2) == 0; });
        list.nodesIn(table_, paths);
    }

    std::mt19937 random_;
    std::size_t size_;
    MemoryNodeTable nodes_;
    MemoryPathTable table_;
    bool wasPartial_ = false;
};

TEST(CountedList, SaysHowManyNodesAndHitsThereAreHoweverItIsAsked) {
    bool wasHitTwice = false;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        CountedLists lists(seed);
        for (int round = 0; round < 12; ++round) {
            lists.expectRight();
            if (::testing::Test::HasFatalFailure()) FAIL() << "seed " << seed;
        }
        wasHitTwice = wasHitTwice || lists.wasHitTwice();
    }
    EXPECT_TRUE(wasHitTwice);
}

/** The texts repeat, so that a dictionary tells how many there are. */
TEST(CountedList, StaysPendingWhereAnIndexTellsTheNumber) {
    std::string xml = "<r>";
    for (int i = 0; i < 300; ++i)
        xml += i % 3 == 0 ? "<a>aXa</a>" : "<a>b</a>";
    const MemoryNodeTable nodes = testing::tableFromXml(xml + "</r>");
    const MemoryPathTable table(nodes);
    const std::vector<PathId> paths{0, 1, 2};
    const auto conditions = std::make_shared<const ValueConditions>(
        ValueConditions{{{Relation::contains, "a", Comparing::asTexts}, false}});
    const auto list = std::make_shared<NodeList>(
        table, PendingNodes(table, wholePaths(table, paths), conditions, nullptr));
    EXPECT_EQ(list->size(), 100U);
    EXPECT_EQ(list->hits(), 200U);
    EXPECT_TRUE(list->isPending());
    EXPECT_EQ(list->at(1), 9U);
    EXPECT_FALSE(list->isPending());
    EXPECT_EQ(list->hits(), 200U);
}

}  // namespace
}  // namespace zdbs::embedded
