/** Documents that are stored by path, told by path and node by node. */
#include "zdbs/embedded/fragments/tree_teller.h"

#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::documentByNode;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::NamespacedDocument;
using testing::PathTableOptions;
using testing::tableFromXml;

std::string textOf(const NodeTable &nodes, const DocumentRange &document) {
    std::string text;
    StringSink sink(text);
    XmlWriter writer(sink);
    NodeReader reader(*nodes.paths());
    TreeTeller(nodes, reader).tellDocument(document, writer);
    return text;
}

TEST(TreeTeller, TellsWhatIsToldNodeByNode) {
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
            ASSERT_EQ(textOf(table, document), documentByNode(table, document)) << seed;
    }
}

TEST(TreeTeller, NeedsNoStackForDeepTrees) {
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
