#include <gtest/gtest.h>

#include <random>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/base/axis.h"
#include "zdbs/embedded/tree/documents.h"
#include "zdbs/embedded/tree/membership.h"

namespace zdbs::embedded {
namespace {

TEST(AxisOf, KnowsTheThirteenNamesInAnyCase) {
    for (int i = 0; i < 13; ++i) {
        auto axis = static_cast<Axis>(i);
        EXPECT_EQ(axisOf(nameOf(axis)), axis);
    }
    EXPECT_EQ(axisOf("Ancestor-OR-Self"), Axis::ancestorOrSelf);
    EXPECT_EQ(axisOf("SELF"), Axis::self);
    EXPECT_EQ(axisOf("namespace"), Axis::namespaceNode);
    EXPECT_EQ(axisOf(""), std::nullopt);
    EXPECT_EQ(axisOf("childs"), std::nullopt);
}

TEST(IsReverse, HoldsForWhatLiesBefore) {
    EXPECT_TRUE(isReverse(Axis::ancestor));
    EXPECT_TRUE(isReverse(Axis::ancestorOrSelf));
    EXPECT_TRUE(isReverse(Axis::preceding));
    EXPECT_TRUE(isReverse(Axis::precedingSibling));
    EXPECT_FALSE(isReverse(Axis::parent));
    EXPECT_FALSE(isReverse(Axis::child));
    EXPECT_FALSE(isReverse(Axis::following));
    EXPECT_FALSE(isReverse(Axis::descendantOrSelf));
}

TEST(Membership, KnowsThinAndThickLists) {
    std::mt19937 random(7);
    for (NodeId range : {5U, 64U, 65U, 1000U, 2000000000U}) {
        std::set<NodeId> members;
        for (int i = 0; i < 40; ++i)
            members.insert(1 + static_cast<NodeId>(random()) % range);
        std::vector<NodeId> list(members.begin(), members.end());
        Membership membership(list);
        for (NodeId node : list) {
            for (NodeId near : {node - 1, node, node + 1}) {
                EXPECT_EQ(membership.contains(near), members.contains(near)) << near;
            }
        }
        EXPECT_FALSE(membership.contains(0));
        EXPECT_FALSE(membership.contains(lastNodeId));
    }
    EXPECT_FALSE(Membership({}).contains(1));
}

TEST(Membership, TakesTheLargestNumbers) {
    std::vector<NodeId> list{lastNodeId - 1, lastNodeId};
    EXPECT_TRUE(Membership(list).contains(lastNodeId));
    EXPECT_FALSE(Membership(list).contains(lastNodeId - 2));
}

testing::MemoryNodeTable threeDocuments() {
    testing::MemoryNodeTable table;
    for (int i = 0; i < 3; ++i) {
        table.startDocument("d" + std::to_string(i));
        table.comment("c");
        table.startElement({"e"});
        table.attribute({"a"}, "v");
        table.endElement();
        table.endDocument();
        table.skipIds(5);
    }
    return table;
}

TEST(DocumentFinder, FindsInAnyOrder) {
    testing::MemoryNodeTable table = threeDocuments();
    DocumentFinder finder(table);
    EXPECT_EQ(finder.indexOf(1), 0U);
    EXPECT_EQ(finder.indexOf(19), 2U);
    EXPECT_EQ(finder.indexOf(9), 1U);
    EXPECT_EQ(finder.indexOf(11), 1U);
    EXPECT_EQ(finder.indexOf(3), 0U);
    EXPECT_EQ(finder.documentOf(17).first, 17U);
}

TEST(IsPresent, KnowsGapsAndEnds) {
    testing::MemoryNodeTable table = threeDocuments();
    std::vector<NodeId> present;
    for (NodeId node = 0; node < 40; ++node) {
        if (isPresent(table, node)) present.push_back(node);
    }
    EXPECT_EQ(present, (std::vector<NodeId>{1, 2, 3, 9, 10, 11, 17, 18, 19}));
    EXPECT_FALSE(isPresent(testing::MemoryNodeTable(), 1));
}

TEST(ParentKey, TellsRootsFromElements) {
    testing::MemoryNodeTable table = threeDocuments();
    DocumentFinder finder(table);
    EXPECT_EQ(parentKey(table, finder, 3), ParentKey{2});
    EXPECT_EQ(parentKey(table, finder, 1), rootKey(0));
    EXPECT_EQ(parentKey(table, finder, 2), rootKey(0));
    EXPECT_EQ(parentKey(table, finder, 9), rootKey(1));
}

}  // namespace
}  // namespace zdbs::embedded
