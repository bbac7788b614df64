#include "zdbs/embedded/fragments/node_paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/zdbs/support/memory_node_table.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::tableFromXml;

std::vector<std::string> allPaths(const NodeTable &nodes) {
    NodePaths paths(nodes);
    std::vector<std::string> result;
    for (const DocumentRange &document : nodes.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node)
            result.emplace_back(paths.of(node));
    }
    return result;
}

TEST(NodePaths, NameEveryNodeByNamesAsWrittenAndPositionsAmongTheLikeNamed) {
    const MemoryNodeTable nodes = tableFromXml(
        "<!--c--><?p?><a xmlns:p='urn:1' xmlns:q='urn:1' i='1' p:i='2'>t<b/><p:b/><q:b/>u<b><c/>"
        "<!--d--></b><?p?><?q?><!--e--><p:b/></a><!--f-->");
    EXPECT_EQ(allPaths(nodes),
              (std::vector<std::string>{
                  "/comment()[1]", "/processing-instruction()[1]", "/a[1]", "/a[1]/@i",
                  "/a[1]/@p:i", "/a[1]/text()[1]", "/a[1]/b[1]", "/a[1]/p:b[1]", "/a[1]/q:b[1]",
                  "/a[1]/text()[2]", "/a[1]/b[2]", "/a[1]/b[2]/c[1]", "/a[1]/b[2]/comment()[1]",
                  "/a[1]/processing-instruction()[1]", "/a[1]/processing-instruction()[2]",
                  "/a[1]/comment()[1]", "/a[1]/p:b[2]", "/comment()[2]"}));
}

TEST(NodePaths, StartAnewInEveryDocument) {
    const MemoryNodeTable nodes = tableFromXml({{"1", "<a><b/></a>"}, {"2", "<a><b/><b/></a>"}});
    EXPECT_EQ(allPaths(nodes), (std::vector<std::string>{"/a[1]", "/a[1]/b[1]", "/a[1]",
                                                         "/a[1]/b[1]", "/a[1]/b[2]"}));
}

/** Families large and small, names that repeat, two levels of them. */
MemoryNodeTable families(int many) {
    MemoryNodeTable nodes;
    nodes.startDocument("families.xml");
    nodes.startElement({"r"});
    for (int child = 0; child < many; ++child) {
        nodes.startElement({child % 3 == 0 ? "b" : "c"});
        for (int grandchild = 0; grandchild < child % 100; ++grandchild) {
            nodes.startElement({grandchild % 2 == 0 ? "d" : "e"});
            nodes.endElement();
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    return nodes;
}

TEST(NodePaths, AreTheSameInWhateverOrderTheyAreAsked) {
    const MemoryNodeTable nodes = families(300);
    const std::vector<std::string> expected = allPaths(nodes);
    std::vector<NodeId> order(nodes.nodeCount());
    for (NodeId node = 1; node <= nodes.nodeCount(); ++node)
        order[node - 1] = node;
    for (const unsigned seed : {1U, 2U, 3U}) {
        std::mt19937 random(seed);
        std::shuffle(order.begin(), order.end(), random);
        NodePaths paths(nodes);
        for (const NodeId node : order)
            ASSERT_EQ(paths.of(node), expected[node - 1]) << seed;
    }
    NodePaths backwards(nodes);
    for (NodeId node = nodes.nodeCount(); node > 0; --node)
        ASSERT_EQ(backwards.of(node), expected[node - 1]);
}

TEST(NodePaths, OfTwoFarPlacesAskedInTurnCountEachFamilyOnce) {
    // Would be 10^9 steps if every path counted its siblings again.
    constexpr int many = 30000;
    MemoryNodeTable nodes;
    nodes.startDocument("two.xml");
    nodes.startElement({"r"});
    std::vector<NodeId> left;
    std::vector<NodeId> right;
    for (std::vector<NodeId> *const side : {&left, &right}) {
        nodes.startElement({"s"});
        for (int child = 0; child < many; ++child) {
            side->push_back(nodes.startElement({"c" + std::to_string(child % 1000)}));
            nodes.endElement();
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    NodePaths paths(nodes);
    for (std::size_t index = 0; index < many; ++index) {
        paths.of(left[index]);
        paths.of(right[many - 1 - index]);
    }
    EXPECT_EQ(paths.of(left[many - 1]), "/r[1]/s[1]/c999[30]");
    EXPECT_EQ(paths.of(right[0]), "/r[1]/s[2]/c0[1]");
}

TEST(NodePaths, OfMoreFamiliesThanAreKeptStayRight) {
    // Each family has more children than are counted without remembering.
    constexpr std::size_t children = 40;
    MemoryNodeTable nodes;
    nodes.startDocument("many.xml");
    nodes.startElement({"r"});
    std::vector<NodeId> lastOnes;
    for (int family = 0; family < 9000; ++family) {
        nodes.startElement({"f"});
        for (std::size_t child = 0; child < children; ++child) {
            const NodeId node = nodes.startElement({"c"});
            nodes.endElement();
            if (child + 1 == children) lastOnes.push_back(node);
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    NodePaths paths(nodes);
    for (std::size_t index = 0; index < lastOnes.size(); ++index) {
        const std::string expected = "/r[1]/f[" + std::to_string(index + 1) + "]/c[40]";
        ASSERT_EQ(paths.of(lastOnes[index]), expected);
    }
}

}  // namespace
}  // namespace zdbs::embedded
