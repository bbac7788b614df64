#include "zdbs/embedded/joins/vertical_join.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/zdbs/embedded/paths/sound_sets.h"
#include "zdbs/embedded/joins/join.h"

namespace zdbs::embedded {
namespace {

using testing::allNodes;
using testing::allPaths;
using testing::isSound;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;
using testing::randomTable;
using testing::someNodes;

constexpr std::uint64_t dear = 1'000'000'000;

/** A way to join that costs nothing is always taken. */
struct Way {
    const char *name;
    JoinCosts costs;
};

constexpr Way ways[] = {
    {"search", {0, dear, dear}},
    {"way up", {dear, 0, dear}},
    {"pass", {dear, dear, 0}},
    {"all ways the same", {1, 1, 1}},
};

/** Compares all ways for one pair of sides with the general joins. */
void compare(const MemoryPathTable &table, const NodeIds &high, const NodeIds &low) {
    const PathNodes highPaths = byPath(table, high);
    const PathNodes lowPaths = byPath(table, low);
    for (Depth depth : {Depth::direct, Depth::any}) {
        const Axis axis = depth == Depth::direct ? Axis::parent : Axis::ancestor;
        const NodeIds below = keepFirst(table, {axis}, {low, {}}, {high, {}}).nodes;
        const NodeIds above = keepSecond(table, {axis}, {low, {}}, high);
        for (const Way &way : ways) {
            const PathNodes lows = nodesBelow(table, highPaths, lowPaths, depth, way.costs);
            const PathNodes highs = nodesAbove(table, highPaths, lowPaths, depth, way.costs);
            ASSERT_EQ(nodeIdsOf(table, lows), below) << nameOf(axis) << " by " << way.name;
            ASSERT_EQ(nodeIdsOf(table, highs), above) << nameOf(axis) << " by " << way.name;
            ASSERT_TRUE(isSound(table, lows) && isSound(table, highs));
        }
    }
}

TEST(VerticalJoins, AnswerTheSameByEveryWayOnSmallForests) {
    std::mt19937 random(1);
    unsigned variant = 0;
    for (int count = 2; count <= 5; ++count) {
        for (const MemoryNodeTable &nodes : testing::forestsOf(count)) {
            PathTableOptions options;
            options.nodesPerSegment = 1 + ++variant % 3;
            if (variant % 2 == 0 && nodes.documents().size() > 1) options.removed = {0};
            const MemoryPathTable table(nodes, options);
            for (int round = 0; round < 8; ++round) {
                const NodeIds high = someNodes(table, random, 1 + random() % 3);
                const NodeIds low = someNodes(table, random, 1 + random() % 3);
                ASSERT_NO_FATAL_FAILURE(compare(table, high, low)) << testing::shapeOf(table);
            }
        }
    }
}

TEST(VerticalJoins, AnswerTheSameByEveryWayOnRandomTables) {
    for (unsigned seed = 1; seed <= 16; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 1000);
        PathTableOptions options;
        options.nodesPerSegment = 1 + random() % 400;
        if (seed % 2 == 0 && nodes.documents().size() > 1) options.removed = {1};
        const MemoryPathTable table(nodes, options);
        for (unsigned round = 0; round < 10; ++round) {
            const NodeIds high = someNodes(table, random, round % 2 == 0 ? 3 : 100);
            const NodeIds low = someNodes(table, random, round % 3 == 0 ? 2 : 60);
            ASSERT_NO_FATAL_FAILURE(compare(table, high, low)) << "seed " << seed;
        }
    }
}

/** A wide table: elements of one path with many nodes below each, and few of another. */
MemoryNodeTable wideTable() {
    MemoryNodeTable table;
    table.startDocument("wide");
    table.startElement({"top"});
    for (int group = 0; group < 12; ++group) {
        table.startElement({"group"});
        for (int item = 0; item < 700; ++item) {
            table.startElement({"item"});
            if (item % 350 == 0) table.attribute({"rare"}, "v");
            if (item % 2 == 0) table.text("t");
            table.endElement();
        }
        table.endElement();
    }
    table.endElement();
    table.endDocument();
    return table;
}

NodeIds nodesNamed(const MemoryPathTable &table, std::string_view name) {
    NodeIds nodes = allNodes(table);
    std::erase_if(nodes, [&](NodeId node) { return table.name(node).local != name; });
    return nodes;
}

TEST(VerticalJoins, AnswerTheSameByEveryWayWhereSidesDifferMuch) {
    const MemoryNodeTable nodes = wideTable();
    for (std::uint32_t perSegment : {999U, 5000U, 100000U}) {
        PathTableOptions options;
        options.nodesPerSegment = perSegment;
        const MemoryPathTable table(nodes, options);
        NodeIds texts = allNodes(table);
        std::erase_if(texts, [&](NodeId node) { return table.kind(node) != NodeKind::text; });
        const NodeIds groups = nodesNamed(table, "group");
        const NodeIds items = nodesNamed(table, "item");
        const NodeIds rare = nodesNamed(table, "rare");
        const NodeIds some{groups[3], groups[4], groups[9]};
        const std::pair<NodeIds, NodeIds> sides[] = {{groups, texts}, {some, texts}, {some, items},
                                                     {groups, rare},  {items, rare}, {items, texts},
                                                     {groups, items}, {some, rare},  {rare, items}};
        for (const auto &[high, low] : sides) {
            ASSERT_NO_FATAL_FAILURE(compare(table, high, low));
            const PathNodes result =
                nodesBelow(table, byPath(table, high), byPath(table, low), Depth::any);
            EXPECT_EQ(nodeIdsOf(table, result),
                      keepFirst(table, {Axis::ancestor}, {low, {}}, {high, {}}).nodes);
        }
    }
}

TEST(VerticalJoins, AnswerWholePathsBelowWholePathsWithoutCopying) {
    const MemoryNodeTable nodes = wideTable();
    const MemoryPathTable table(nodes);
    const PathNodes items = byPath(table, nodesNamed(table, "item"));
    const PathNodes groups = byPath(table, nodesNamed(table, "group"));
    const PathNodes top = byPath(table, NodeIds{1});
    for (const PathNodes &high : {groups, top}) {
        const PathNodes below = nodesBelow(table, high, items, Depth::any);
        ASSERT_EQ(below.size(), 1U);
        EXPECT_EQ(below[0].rows, table.liveRows(items[0].path));
    }
    EXPECT_TRUE(nodesBelow(table, top, items, Depth::direct).empty());
    const PathNodes above = nodesAbove(table, groups, items, Depth::direct);
    ASSERT_EQ(above.size(), 1U);
    EXPECT_EQ(above[0].rows, table.liveRows(groups[0].path));
}

TEST(VerticalJoins, FindParentsAndChildrenOfRows) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b><c/><c/></b><b/><b><c/></b></a>");
    for (std::uint32_t perSegment : {1U, 2U, 3U, 100U}) {
        PathTableOptions options;
        options.nodesPerSegment = perSegment;
        const MemoryPathTable table(nodes, options);
        const PathId c = table.locate(3).path;
        const RowSetPtr &all = table.liveRows(c);
        EXPECT_EQ(parentsOf(table, c, *all), RowSet::bitmapOf(2, 0, 2));
        EXPECT_EQ(parentsOf(table, c, RowSet::bitmapOf(1, 2)), RowSet::bitmapOf(1, 2));
        EXPECT_EQ(*childrenOf(table, c, RowSet::bitmapOf(1, 0), all), RowSet::bitmapOf(2, 0, 1));
        EXPECT_EQ(childrenOf(table, c, RowSet::bitmapOf(2, 0, 2), all), all);
        EXPECT_EQ(childrenOf(table, c, RowSet::bitmapOf(1, 1), all), nullptr);
        EXPECT_EQ(childrenOf(table, c, RowSet(), all), nullptr);
    }
}

}  // namespace
}  // namespace zdbs::embedded
