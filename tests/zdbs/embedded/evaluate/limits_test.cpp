/** What sets do when there is much of something. */
#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/evaluate/set_algebra.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;

/** An element with so many empty elements in it. */
MemoryNodeTable flatTable(int children) {
    MemoryNodeTable table;
    table.startDocument("flat");
    table.startElement({"top"});
    for (int i = 0; i < children; ++i) {
        table.startElement({"e"});
        table.endElement();
    }
    table.endElement();
    table.endDocument();
    return table;
}

NodeIds numbers(NodeId first, NodeId last) {
    NodeIds result;
    for (NodeId node = first; node <= last; ++node)
        result.push_back(node);
    return result;
}

TEST(Chains, OfAMillionStepsAreReleasedWithoutRecursion) {
    MemoryNodeTable table = flatTable(1);
    Universe universe(table);
    NodeSetPtr set = plainSet({1});
    for (int i = 0; i < 1000000; ++i) {
        set = join(table, universe, Axis::self, set, set, Direction::second);
    }
    EXPECT_EQ(set->size(), 1U);
}

TEST(Chains, StayWithTheSetsThatOthersHold) {
    MemoryNodeTable table = flatTable(2);
    Universe universe(table);
    NodeSetPtr top = plainSet({1});
    NodeSetPtr children =
        join(table, universe, Axis::child, top, plainSet({2, 3}), Direction::second);
    NodeSetPtr first = selectPositions(table, children, {Relation::equal, 1});
    children.reset();
    EXPECT_EQ(first->chain()->from, top);
    EXPECT_EQ(first->size(), 1U);
}

/** A few hundred positions inside one another are fine; what would never end is refused. */
TEST(Pairs, AreNotNestedWithoutEnd) {
    MemoryNodeTable table = flatTable(3);
    Universe universe(table);
    NodeSetPtr all = plainSet(numbers(2, 4));
    NodeSetPtr set = join(table, universe, Axis::followingSibling, all, all, Direction::second);
    for (int i = 0; i < 900; ++i) {
        set = selectPositions(table, set, {Relation::greaterEqual, 1});
    }
    EXPECT_EQ(set->size(), 2U);
    auto nestFurther = [&] {
        for (int i = 0; i < 200; ++i) {
            set = selectPositions(table, set, {Relation::greaterEqual, 1});
        }
    };
    EXPECT_THROW(nestFurther(), Failure);
}

TEST(Pairs, ThatBranchAreNotWalkedExponentially) {
    MemoryNodeTable table = flatTable(5);
    Universe universe(table);
    NodeSetPtr all = plainSet(numbers(2, 6));
    NodeSetPtr set = join(table, universe, Axis::followingSibling, all, all, Direction::second);
    auto branch = [&] {
        for (int i = 0; i < 60; ++i) {
            std::vector<NodeSetPtr> halves{selectPositions(table, set, {Relation::lessEqual, 2}),
                                           selectPositions(table, set, {Relation::greater, 2})};
            set = unite(halves);
        }
    };
    EXPECT_THROW(branch(), Failure);
}

/**
 * No time is measured: with the pairs written out, each of these would be 10^10 / 2
 * steps.
 */
TEST(Positions, AmongAHundredThousandSiblingsAreNoPairByPairAffair) {
    constexpr NodeId last = 100001;
    MemoryNodeTable table = flatTable(100000);
    Universe universe(table);
    NodeSetPtr all = plainSet(numbers(2, last));
    auto step = [&](Axis axis) { return join(table, universe, axis, all, all, Direction::second); };
    auto count = [&](const NodeSetPtr &set, Relation relation, double place) {
        return selectPositions(table, set, {relation, place})->size();
    };
    for (Axis axis : {Axis::followingSibling, Axis::preceding}) {
        NodeSetPtr set = step(axis);
        EXPECT_EQ(set->size(), 99999U);
        EXPECT_EQ(count(set, Relation::equal, 1), 99999U) << nameOf(axis);
        EXPECT_EQ(count(set, Relation::equal, -1), 1U) << nameOf(axis);
        EXPECT_EQ(count(set, Relation::greater, 1), 99998U) << nameOf(axis);
        EXPECT_EQ(count(set, Relation::greaterEqual, 99999), 1U) << nameOf(axis);
        NodeSetPtr later = selectPositions(table, set, {Relation::greater, 1});
        EXPECT_EQ(count(later, Relation::lessEqual, 2), 99998U) << nameOf(axis);
    }
    EXPECT_EQ(count(all, Relation::equal, 50000), 1U);
    NodeSetPtr children = join(table, universe, Axis::child, plainSet({1}), all, Direction::second);
    EXPECT_EQ(count(children, Relation::greaterEqual, -10), 10U);
}

TEST(Positions, BelowAHundredThousandNestedElementsAreNoPairByPairAffair) {
    MemoryNodeTable table;
    table.startDocument("deep");
    for (int i = 0; i < 100000; ++i)
        table.startElement({"e"});
    for (int i = 0; i < 100000; ++i)
        table.endElement();
    table.endDocument();
    Universe universe(table);
    NodeSetPtr all = plainSet(numbers(1, 100000));
    NodeSetPtr set = join(table, universe, Axis::descendant, all, all, Direction::second);
    EXPECT_EQ(set->size(), 99999U);
    EXPECT_EQ(selectPositions(table, set, {Relation::equal, 2})->size(), 99998U);
    EXPECT_EQ(selectPositions(table, set, {Relation::equal, -1})->size(), 1U);
    EXPECT_EQ(selectPositions(table, set, {Relation::less, 3})->size(), 99999U);
}

/** Elements inside one another, each with an empty one before the next: e of even numbers. */
MemoryNodeTable deepTable(NodeId depth) {
    MemoryNodeTable table;
    table.startDocument("deep");
    for (NodeId i = 0; i < depth; ++i) {
        table.startElement({"d"});
        table.startElement({"e"});
        table.endElement();
    }
    for (NodeId i = 0; i < depth; ++i)
        table.endElement();
    table.endDocument();
    return table;
}

/** Counts of positions on the axes whose contexts have a way of their own each. */
void expectPositionsOnTheWay(const NodeTable &table, NodeId depth) {
    Universe universe(table);
    NodeSetPtr all = plainSet(numbers(1, 2 * depth));
    auto count = [&](Axis axis, Relation relation, double place) {
        NodeSetPtr set = join(table, universe, axis, all, all, Direction::second);
        return selectPositions(table, set, {relation, place})->size();
    };
    for (Axis axis : {Axis::ancestor, Axis::ancestorOrSelf}) {
        const std::size_t self = axis == Axis::ancestor ? 0 : depth;
        EXPECT_EQ(count(axis, Relation::equal, 1), depth + self) << nameOf(axis);
        EXPECT_EQ(count(axis, Relation::equal, 2), depth - 1 + (self > 0 ? 1 : 0)) << nameOf(axis);
        EXPECT_EQ(count(axis, Relation::equal, -1), 1U) << nameOf(axis);
        EXPECT_EQ(count(axis, Relation::lessEqual, 3), depth + self) << nameOf(axis);
        EXPECT_EQ(count(axis, Relation::greater, 1), depth - 1 + (self > 0 ? 1 : 0));
        EXPECT_EQ(count(axis, Relation::greaterEqual, -3), self > 0 ? 5U : 3U) << nameOf(axis);
    }
    EXPECT_EQ(count(Axis::preceding, Relation::equal, 1), depth - 1);
    EXPECT_EQ(count(Axis::preceding, Relation::equal, -1), 1U);
    EXPECT_EQ(count(Axis::preceding, Relation::notEqual, 1), depth - 2);
    EXPECT_EQ(count(Axis::preceding, Relation::lessEqual, 2), depth - 1);
    EXPECT_EQ(count(Axis::preceding, Relation::less, -1), depth - 2);
    EXPECT_EQ(count(Axis::preceding, Relation::greater, depth / 2), depth / 2 - 1);
}

TEST(Positions, OnTheWayUpFromAHundredThousandLevelsAreNoPairByPairAffair) {
    constexpr NodeId depth = 100000;
    MemoryNodeTable table = deepTable(depth);
    expectPositionsOnTheWay(table, depth);
}

TEST(Positions, OnTheWayUpAreTheSameByPath) {
    constexpr NodeId depth = 2000;
    MemoryNodeTable table = deepTable(depth);
    PathTableOptions options;
    options.nodesPerSegment = 100;
    options.deepestLevel = 50;
    expectPositionsOnTheWay(MemoryPathTable(table, options), depth);
}

TEST(Universe, IsEveryNodeOrRootsAndEveryNodeButTheAttributes) {
    MemoryNodeTable table = testing::tableFromXml({{"a", "<a x='1'><b/></a>"}, {"b", "<c/>"}});
    Universe universe(table);
    EXPECT_EQ(universe.set()->size(), 4U);
    ContextList contexts = universe.contextsOf(universe.set());
    EXPECT_EQ(contexts.nodes->size(), 3U);
    EXPECT_EQ(*contexts.roots, (DocumentIndexes{0, 1}));
    NodeSetPtr other = plainSet({2});
    EXPECT_EQ(universe.contextsOf(other).nodes, other->nodes());
    EXPECT_EQ(universe.contextsOf(other).roots, nullptr);
}

}  // namespace
}  // namespace zdbs::embedded
