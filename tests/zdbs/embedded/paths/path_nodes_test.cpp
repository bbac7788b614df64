#include "zdbs/embedded/paths/path_nodes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/zdbs/embedded/paths/sound_sets.h"

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

/** Random tables with all that makes them hard: segments, irregular nodes, removed documents. */
template <typename Check>
void onRandomTables(Check check) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 1500);
        PathTableOptions options;
        if (seed % 2 == 0) options.nodesPerSegment = 1 + random() % 500;
        if (seed % 3 == 0) options.deepestLevel = 1 + random() % 6;
        if (seed % 5 == 0) options.mostPaths = random() % 30;
        if (seed % 4 != 0) options.removed = {1, 2};
        std::erase_if(options.removed,
                      [&](DocumentIndex index) { return index >= nodes.documents().size(); });
        const MemoryPathTable table(nodes, options);
        check(table, random);
    }
}

/** All stretches, one behind the other; none of them may be empty. */
NodeIds inStretches(const PathTable &table, const PathNodes &nodes) {
    NumberStretches stretches(table, nodes);
    NodeIds all;
    for (NodeIds some = stretches.next(); !some.empty(); some = stretches.next())
        all.insert(all.end(), some.begin(), some.end());
    EXPECT_TRUE(stretches.next().empty());
    return all;
}

TEST(PathTables, HaveEveryNodeOnceWithItsParentAndName) {
    onRandomTables([](const MemoryPathTable &table, std::mt19937 &) {
        for (NodeId node : allNodes(table)) {
            const PathRow place = table.locate(node);
            const Path &path = table.summary()[place.path];
            const PathRun &run = table.runOf(place);
            ASSERT_EQ(table.nodeAt(place), node);
            ASSERT_EQ(table.lastBelow(place), table.lastBelow(node));
            ASSERT_EQ(table.lowerBound(place.path, node), place.row);
            ASSERT_EQ(path.kind, table.kind(node));
            const NodeId parent = table.parent(node);
            if (!path.isRegular) {
                const NodeId distance = run.parentDistances.at(place.row - run.firstRow);
                ASSERT_EQ(parent == noNode ? 0 : node - parent, distance);
            } else if (path.parent != noPath) {
                ASSERT_EQ(table.nodeAt({path.parent, run.parentAt(place.row)}), parent);
            } else {
                ASSERT_EQ(parent, noNode);
            }
        }
    });
}

TEST(PathTables, FindTheFirstRowThatIsNotBelowANumber) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b/><c/><b/><b/><c/><b/></a>");
    for (std::uint32_t perSegment : {1U, 2U, 3U, 100U}) {
        const MemoryPathTable table(nodes, {perSegment});
        const PathId b = table.locate(2).path;
        const std::vector<RowId> expected{0, 0, 0, 1, 1, 2, 3, 3, 4, 4};
        for (NodeId node = 0; node < expected.size(); ++node)
            EXPECT_EQ(table.lowerBound(b, node), expected[node]) << node << " of " << perSegment;
    }
}

TEST(PathTables, KnowWhereEachParentHasOneRowBelow) {
    std::size_t paths = 0;
    std::size_t alike = 0;
    onRandomTables([&](const MemoryPathTable &table, std::mt19937 &) {
        for (const PathId id : allPaths(table)) {
            const Path &path = table.summary()[id];
            if (!path.isRegular || path.parent == noPath) continue;
            const RowId count = table.rowCount(id);
            bool isAlike = count == table.rowCount(path.parent);
            for (RowId row = 0; row < count && isAlike; ++row)
                isAlike = table.runOf({id, row}).parentAt(row) == row;
            EXPECT_EQ(table.hasRowsOfParent(id, 0), isAlike && count <= 64);
            EXPECT_EQ(table.hasRowsOfParent(id, count), isAlike);
            EXPECT_EQ(table.hasRowsOfParent(id, 0), isAlike);
            ++paths;
            alike += isAlike ? 1 : 0;
        }
    });
    EXPECT_GT(alike, 20U);
    EXPECT_GT(paths, alike + 20);
}

TEST(PathTables, RememberWhereEachOfManyParentsHasOneRowBelow) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    const NodeId top = nodes.startElement({"top"});
    NodeId one = top;
    NodeId moved = top;
    for (int item = 0; item < 200; ++item) {
        nodes.startElement({"item"});
        one = nodes.attribute({"one"}, "1");
        // As many as items, but the first has two and the last none.
        for (int times = item == 0 ? 2 : item == 199 ? 0 : 1; times > 0; --times) {
            moved = nodes.startElement({"moved"});
            nodes.endElement();
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    const MemoryPathTable table(nodes);
    const PathId alike = table.locate(one).path;
    EXPECT_FALSE(table.hasRowsOfParent(alike, 0)) << "not looked at for so few";
    EXPECT_TRUE(table.hasRowsOfParent(alike, 200));
    EXPECT_TRUE(table.hasRowsOfParent(alike, 0)) << "it is known now";
    const PathId other = table.locate(moved).path;
    ASSERT_EQ(table.rowCount(other), 200U);
    EXPECT_FALSE(table.hasRowsOfParent(other, 200));
    EXPECT_FALSE(table.hasRowsOfParent(other, 0));
}

TEST(PathNodes, ComeFromNodesAndGiveThemBack) {
    onRandomTables([](const MemoryPathTable &table, std::mt19937 &random) {
        for (unsigned oneIn : {1U, 2U, 10U, 500U}) {
            const NodeIds nodes = someNodes(table, random, oneIn);
            const PathNodes paths = byPath(table, nodes);
            EXPECT_TRUE(isSound(table, paths));
            EXPECT_EQ(sizeOf(paths), nodes.size());
            EXPECT_EQ(nodeIdsOf(table, paths), nodes);
            EXPECT_EQ(inStretches(table, paths), nodes);
        }
        EXPECT_EQ(nodeIdsOf(table, wholePaths(table, allPaths(table))), allNodes(table));
    });
}

TEST(PathNodes, AreCombinedAsSetsAre) {
    onRandomTables([](const MemoryPathTable &table, std::mt19937 &random) {
        for (unsigned round = 0; round < 16; ++round) {
            const NodeIds a = someNodes(table, random, 1 + round % 4);
            const NodeIds b = someNodes(table, random, 1 + round / 4);
            NodeIds both;
            NodeIds either;
            NodeIds rest;
            std::ranges::set_intersection(a, b, std::back_inserter(both));
            std::ranges::set_union(a, b, std::back_inserter(either));
            std::ranges::set_difference(a, b, std::back_inserter(rest));
            const PathNodes x = byPath(table, a);
            const PathNodes y = byPath(table, b);
            const PathNodes results[] = {intersected(x, y), united(table, x, y), subtracted(x, y)};
            EXPECT_EQ(nodeIdsOf(table, results[0]), both);
            EXPECT_EQ(nodeIdsOf(table, results[1]), either);
            EXPECT_EQ(nodeIdsOf(table, results[2]), rest);
            for (const PathNodes &result : results)
                EXPECT_TRUE(isSound(table, result));
        }
    });
}

TEST(PathNodes, KnowTheNodeAtAPlaceAndWhetherANodeIsThere) {
    onRandomTables([](const MemoryPathTable &table, std::mt19937 &random) {
        for (unsigned oneIn : {1U, 3U, 400U}) {
            const NodeIds nodes = someNodes(table, random, oneIn);
            const PathNodes paths = byPath(table, nodes);
            for (std::size_t place = 0; place < nodes.size(); place += 1 + random() % 50)
                ASSERT_EQ(nodeAtPlace(table, paths, place), nodes[place]) << place;
            for (NodeId node : allNodes(table)) {
                ASSERT_EQ(contains(table, paths, node),
                          std::binary_search(nodes.begin(), nodes.end(), node));
            }
        }
    });
}

TEST(PathNodes, AreNumberedWhenTheyLieFarApart) {
    MemoryNodeTable nodes;
    for (int document = 0; document < 3; ++document) {
        nodes.startDocument("d");
        nodes.startElement({"a"});
        nodes.attribute({"x"}, "1");
        nodes.endElement();
        nodes.endDocument();
        nodes.skipIds(100000);
    }
    const MemoryPathTable table(nodes);
    const NodeIds all{1, 2, 100003, 100004, 200005, 200006};
    const PathNodes paths = byPath(table, all);
    EXPECT_EQ(nodeIdsOf(table, paths), all);
    EXPECT_EQ(inStretches(table, paths), all);
    EXPECT_EQ(nodeAtPlace(table, paths, 3), 100004U);
}

TEST(PathNodes, AreNumberedInStretchesThatGrow) {
    for (const std::size_t perSegment : {std::size_t{0}, std::size_t{7000}}) {
        PathTableOptions options;
        if (perSegment != 0) options.nodesPerSegment = perSegment;
        const MemoryPathTable table(randomTable(3, 40000), options);
        std::mt19937 random(5);
        for (const unsigned oneIn : {1U, 7U, 300U}) {
            const NodeIds nodes = someNodes(table, random, oneIn);
            const PathNodes paths = byPath(table, nodes);
            EXPECT_EQ(inStretches(table, paths), nodes);
            NumberStretches stretches(table, paths);
            EXPECT_LE(stretches.next().size(), nodes.size() < 4000 ? nodes.size() : 4000);
        }
    }
}

TEST(PathNodes, OfNoPathsAreNone) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a/>");
    const MemoryPathTable table(nodes);
    EXPECT_TRUE(wholePaths(table, {}).empty());
    EXPECT_TRUE(nodeIdsOf(table, {}).empty());
    EXPECT_TRUE(inStretches(table, {}).empty());
    EXPECT_TRUE(byPath(table, {}).empty());
    EXPECT_EQ(sizeOf({}), 0U);
    EXPECT_FALSE(contains(table, {}, 1));
}

}  // namespace
}  // namespace zdbs::embedded
