/** Documents that are stored by path, written by path and node by node. */
#include "zdbs/embedded/fragments/path_serializer.h"

#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "tests/zdbs/support/without_paths.h"
#include "zdbs/embedded/fragments/serializer.h"

namespace zdbs {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::NamespacedDocument;
using testing::PathTableOptions;
using testing::tableFromXml;
using testing::WithoutPaths;

std::string textOf(const NodeTable &nodes, const DocumentRange &document) {
    std::string text;
    StringSink sink(text);
    XmlSerializer(nodes, sink).writeDocument(document);
    return text;
}

TEST(PathSerializer, WritesWhatIsWrittenNodeByNode) {
    constexpr std::uint32_t all = 0xffffffff;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        const MemoryNodeTable nodes = tableFromXml(
            {{"a", NamespacedDocument(seed).make()}, {"b", NamespacedDocument(seed + 100).make()}});
        PathTableOptions options;
        options.nodesPerSegment = seed % 3 == 0 ? 1 + seed % 10 : all;
        options.deepestLevel = seed % 4 == 0 ? 1 + seed % 3 : all;
        options.mostPaths = seed % 5 == 0 ? 1 + seed % 20 : all;
        const MemoryPathTable table(nodes, options);
        for (const DocumentRange &document : table.documents())
            ASSERT_EQ(textOf(table, document), textOf(WithoutPaths(table), document)) << seed;
    }
}

TEST(PathSerializer, NeedsNoStackForDeepTrees) {
    constexpr int depth = 100000;
    MemoryNodeTable nodes;
    nodes.startDocument("deep.xml");
    for (int level = 0; level < depth; ++level)
        nodes.startElement({"e"});
    nodes.text("bottom");
    for (int level = 0; level < depth; ++level)
        nodes.endElement();
    nodes.endDocument();
    PathTableOptions options;
    options.deepestLevel = 200;
    const MemoryPathTable table(nodes, options);
    EXPECT_EQ(textOf(table, table.documents()[0]).size(), depth * 7 + 7U);
}

}  // namespace
}  // namespace zdbs
