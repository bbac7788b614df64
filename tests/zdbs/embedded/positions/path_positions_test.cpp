#include "zdbs/embedded/positions/path_positions.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/zdbs/embedded/paths/sound_sets.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs {
namespace {

using testing::allNodes;
using testing::isSound;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;
using testing::randomTable;
using testing::someNodes;

constexpr Relation comparisons[] = {Relation::equal,   Relation::notEqual,
                                    Relation::less,    Relation::lessEqual,
                                    Relation::greater, Relation::greaterEqual};
constexpr double places[] = {0, 1, 2, 3, 7, -1, -2, -3, 1.5, -1.5, 0.5, -0.5, 1e9, -1e9, 1e300};

bool satisfies(std::size_t position, std::size_t length, PositionTest test) {
    const double end = static_cast<double>(length) + 1;
    return holds(test.relation, static_cast<double>(position),
                 test.place < 0 ? end + test.place : test.place);
}

/** By definition: the siblings of each node, one after the other. */
NodeIds chosenByDefinition(const NodeTable &table, const NodeIds &nodes, PositionTest test) {
    std::map<ParentKey, NodeIds> siblings;
    DocumentFinder finder(table);
    for (NodeId node : nodes)
        siblings[parentKey(table, finder, node)].push_back(node);
    NodeIds result;
    for (const auto &[key, group] : siblings) {
        for (std::size_t i = 0; i < group.size(); ++i) {
            if (satisfies(i + 1, group.size(), test)) result.push_back(group[i]);
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

void compare(const MemoryPathTable &table, const NodeIds &nodes) {
    const PathNodes set = byPath(table, nodes);
    for (Relation relation : comparisons) {
        for (double place : places) {
            const PositionTest test{relation, place};
            const auto chosen = selectSiblingPositions(table, table, set, test);
            ASSERT_TRUE(chosen);
            ASSERT_TRUE(isSound(table, *chosen));
            ASSERT_EQ(nodeIdsOf(table, *chosen), chosenByDefinition(table, nodes, test))
                << static_cast<int>(relation) << " " << place;
        }
    }
}

TEST(PathPositions, AreCountedAmongSiblingsOnSmallForests) {
    for (int count = 1; count <= 4; ++count) {
        for (const MemoryNodeTable &nodes : testing::forestsOf(count)) {
            const MemoryPathTable table(nodes, {static_cast<std::uint32_t>(count % 3 + 1)});
            ASSERT_NO_FATAL_FAILURE(compare(table, allNodes(table))) << testing::shapeOf(table);
        }
    }
}

TEST(PathPositions, AreCountedAmongSiblingsOnRandomTables) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 800);
        PathTableOptions options;
        options.nodesPerSegment = 1 + random() % 300;
        if (seed % 2 == 0 && nodes.documents().size() > 1) options.removed = {0};
        const MemoryPathTable table(nodes, options);
        for (unsigned oneIn : {1U, 2U, 60U})
            ASSERT_NO_FATAL_FAILURE(compare(table, someNodes(table, random, oneIn)));
    }
}

/** Groups of many lengths, some longer than what is read at a time. */
MemoryNodeTable longGroups() {
    MemoryNodeTable table;
    table.startDocument("long");
    table.startElement({"top"});
    for (int length : {3, 1500, 0, 1, 40, 2500, 2}) {
        table.startElement({"group"});
        for (int i = 0; i < length; ++i) {
            table.startElement({"item"});
            table.endElement();
            if (i % 3 == 0) table.text("t");
        }
        table.endElement();
    }
    table.endElement();
    table.endDocument();
    return table;
}

TEST(PathPositions, AreCountedInLongGroupsOfOnePathAndOfTwo) {
    const MemoryNodeTable nodes = longGroups();
    const MemoryPathTable table(nodes, {999});
    NodeIds all = allNodes(table);
    std::erase_if(all,
                  [&](NodeId node) { return table.summary()[table.locate(node).path].level < 3; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
    std::erase_if(all, [&](NodeId node) { return table.kind(node) != NodeKind::element; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
    std::erase_if(all, [&](NodeId node) { return node % 5 == 0; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
}

TEST(PathPositions, AreCountedForFewNodesFarApart) {
    const MemoryNodeTable nodes = longGroups();
    const MemoryPathTable table(nodes);
    ASSERT_NO_FATAL_FAILURE(compare(table, {4, 6, 7, 5000, 5400, 5401}));
}

TEST(PathPositions, AreCountedForFewOfManyParents) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    nodes.startElement({"top"});
    for (int i = 0; i < 400; ++i) {
        nodes.startElement({"group"});
        nodes.attribute({"x"}, "1");
        nodes.text("t");
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    const MemoryPathTable table(nodes);
    ASSERT_NO_FATAL_FAILURE(compare(table, {3, 4, 10, 600, 601, 900}));
}

TEST(PathPositions, AreNotCountedOnIrregularPaths) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b><c/></b></a>");
    PathTableOptions options;
    options.deepestLevel = 2;
    const MemoryPathTable table(nodes, options);
    const PositionTest first{Relation::equal, 1};
    EXPECT_FALSE(selectSiblingPositions(table, table, byPath(table, NodeIds{1, 3}), first));
    EXPECT_TRUE(selectSiblingPositions(table, table, byPath(table, NodeIds{1, 2}), first));
}

TEST(SatisfyingPositions, AreThoseThatTheComparisonHoldsFor) {
    for (Relation relation : comparisons) {
        for (double place : places) {
            const SatisfyingPositions satisfying({relation, place});
            for (std::size_t length = 0; length <= 9; ++length) {
                std::vector<std::size_t> expected, found;
                for (std::size_t position = 1; position <= length; ++position) {
                    if (satisfies(position, length, {relation, place}))
                        expected.push_back(position);
                }
                for (const Positions &range : satisfying.of(length)) {
                    for (std::size_t position = range.first; position <= range.last; ++position)
                        found.push_back(position);
                }
                EXPECT_EQ(found, expected) << static_cast<int>(relation) << " " << place;
            }
        }
    }
}

}  // namespace
}  // namespace zdbs
