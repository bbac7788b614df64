#include "zdbs/embedded/sets/node_list.h"

#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;

NodeIds listed(const NodeList &list) {
    auto ids = list.ids();
    return {ids.begin(), ids.end()};
}

MemoryNodeTable threeDocuments() {
    MemoryNodeTable table;
    for (int i = 0; i < 3; ++i) {
        table.startDocument("d" + std::to_string(i));
        table.startElement({"e"});
        table.text("t");
        table.endElement();
        table.endDocument();
        if (i == 1) table.skipIds(10);
    }
    return table;
}

TEST(NodeList, OfRunsAnswersAsOneOfNumbers) {
    NodeList runs(std::vector<NodeRun>{{2, 4}, {7, 7}, {10, 11}});
    NodeList numbers(NodeIds{2, 3, 4, 7, 10, 11});
    for (NodeId node = 0; node < 14; ++node) {
        EXPECT_EQ(runs.contains(node), numbers.contains(node)) << node;
    }
    ASSERT_EQ(runs.size(), numbers.size());
    for (std::size_t i = 0; i < runs.size(); ++i)
        EXPECT_EQ(runs.at(i), numbers.at(i));
    EXPECT_EQ(listed(runs), listed(numbers));
    EXPECT_EQ(listed(runs), listed(numbers));
}

TEST(NodeList, OfNothingIsEmpty) {
    EXPECT_TRUE(NodeList(NodeIds{}).empty());
    EXPECT_TRUE(NodeList(std::vector<NodeRun>{}).empty());
    EXPECT_TRUE(NodeList(std::vector<NodeRun>{}).ids().empty());
    EXPECT_FALSE(NodeList(std::vector<NodeRun>{}).contains(1));
}

TEST(NodeList, OfEverythingIsEveryNode) {
    MemoryNodeTable table = threeDocuments();
    NodeListPtr everything = NodeList::everythingIn(table);
    EXPECT_EQ(listed(*everything), (NodeIds{1, 2, 3, 4, 15, 16}));
    EXPECT_TRUE(NodeList::everythingIn(MemoryNodeTable())->empty());
}

TEST(AscendingNumbers, ArePutTogetherAsSets) {
    const NodeIds a{1, 3, 5, 7};
    const NodeIds b{3, 4, 7, 9};
    EXPECT_EQ(common(a, b), (NodeIds{3, 7}));
    EXPECT_EQ(merged(a, b), (NodeIds{1, 3, 4, 5, 7, 9}));
    EXPECT_EQ(difference(a, b), (NodeIds{1, 5}));
    EXPECT_EQ(common(a, NodeIds()), NodeIds{});
    EXPECT_EQ(merged(NodeIds(), b), b);
    EXPECT_EQ(difference(a, NodeIds()), a);
    NodeIds mixed{7, 1, 7, 3, 1};
    sortUnique(mixed);
    EXPECT_EQ(mixed, (NodeIds{1, 3, 7}));
}

}  // namespace
}  // namespace zdbs::embedded
