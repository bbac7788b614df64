#include "zdbs/embedded/paths/node_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "zdbs/embedded/paths/reader_table.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::NamespacedDocument;
using testing::PathTableOptions;
using testing::tableFromXml;

MemoryNodeTable documents(unsigned seed) {
    return tableFromXml({{"a", NamespacedDocument(seed).make()},
                         {"b", NamespacedDocument(seed + 100).make()},
                         {"c", NamespacedDocument(seed + 200).make()}});
}

PathTableOptions optionsOf(unsigned seed) {
    PathTableOptions options;
    if (seed % 2 == 0) options.nodesPerSegment = 1 + seed % 11;
    if (seed % 3 == 0) options.deepestLevel = 1 + seed % 4;
    if (seed % 5 == 0) options.mostPaths = seed;
    if (seed % 4 == 0) options.removed = {1};
    return options;
}

NodeId firstNotBefore(const PathTable &table, PathId path, NodeId node) {
    const RowId row = table.lowerBound(path, node);
    return row == table.rowCount(path) ? noMoreNodes : table.nodeAt({path, row});
}

TEST(PathCursor, GoesToAnyNodeFromAnyOther) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const MemoryNodeTable nodes = documents(seed);
        const MemoryPathTable table(nodes, optionsOf(seed));
        std::mt19937 random(seed);
        std::uniform_int_distribution<NodeId> anyNode(1, nodes.nodeCount() + 2);
        for (PathId path = 0; path < table.summary().size(); ++path) {
            PathCursor cursor(table, path);
            for (int i = 0; i < 200; ++i) {
                const NodeId wanted = i % 3 == 0 ? anyNode(random) : cursor.node() % 1000 + 1;
                const NodeId found = firstNotBefore(table, path, wanted);
                ASSERT_EQ(cursor.seek(wanted), found) << "path " << path << " from " << wanted;
                ASSERT_EQ(cursor.node(), found);
                if (found == noMoreNodes) continue;
                ASSERT_EQ(table.nodeAt({path, cursor.row()}), found);
                const RowId row = random() % table.rowCount(path);
                if (i % 5 == 0) {
                    ASSERT_EQ(cursor.seekRow(row), table.nodeAt({path, row}));
                }
            }
        }
    }
}

TEST(NodeReader, KnowsThePathOfEveryNode) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const MemoryNodeTable nodes = documents(seed);
        const MemoryPathTable table(nodes, optionsOf(seed));
        NodeReader reader(table);
        for (const DocumentRange &document : table.documents()) {
            for (NodeId node = document.first; node <= document.last; ++node) {
                const PathRow place = table.locate(node);
                ASSERT_EQ(reader.pathOf(node), place.path);
                ASSERT_EQ(reader.at(place.path, node).row(), place.row);
            }
        }
    }
}

TEST(NodeReader, FindsIrregularNodesInARange) {
    const MemoryNodeTable nodes = tableFromXml("<a><b/><b><c/></b><b/></a>");
    PathTableOptions options;
    options.deepestLevel = 2;
    const MemoryPathTable table(nodes, options);
    NodeReader reader(table);
    EXPECT_TRUE(reader.hasIrregular(1, 5));
    EXPECT_TRUE(reader.hasIrregular(4, 4));
    EXPECT_FALSE(reader.hasIrregular(1, 3));
    EXPECT_FALSE(reader.hasIrregular(5, 5));
}

void expectSame(const NodeTable &one, const NodeTable &other, NodeId node) {
    ASSERT_EQ(one.kind(node), other.kind(node)) << node;
    ASSERT_EQ(one.parent(node), other.parent(node)) << node;
    ASSERT_EQ(one.lastBelow(node), other.lastBelow(node)) << node;
    ASSERT_EQ(one.name(node).local, other.name(node).local) << node;
    ASSERT_EQ(one.name(node).prefix, other.name(node).prefix) << node;
    ASSERT_EQ(one.name(node).uri, other.name(node).uri) << node;
    ASSERT_EQ(one.value(node), other.value(node)) << node;
    ASSERT_EQ(one.namespaces(node).size(), other.namespaces(node).size()) << node;
}

TEST(ReaderTable, AnswersWhatItsTableAnswersInAnyOrder) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const MemoryNodeTable nodes = documents(seed);
        const MemoryPathTable table(nodes, optionsOf(seed));
        const ReaderTable reader(table, table);
        std::vector<NodeId> all;
        for (const DocumentRange &document : table.documents()) {
            for (NodeId node = document.first; node <= document.last; ++node)
                all.push_back(node);
        }
        for (const NodeId node : all)
            expectSame(reader, table, node);
        std::shuffle(all.begin(), all.end(), std::mt19937(seed));
        for (const NodeId node : all)
            expectSame(reader, table, node);
        EXPECT_EQ(reader.paths(), nullptr);
        EXPECT_EQ(reader.documents().size(), table.documents().size());
    }
}

}  // namespace
}  // namespace zdbs::embedded
