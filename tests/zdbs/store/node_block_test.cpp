#include "zdbs/store/node_block.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace zdbs {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::byte *bytesOf(const std::string &block) {
    return reinterpret_cast<const std::byte *>(block.data());
}

std::string smallBlock() {
    NodeBlockBuilder builder;
    builder.start(10);
    builder.add(NodeKind::element, 0, 7, "");
    builder.addNamespace(3);
    builder.addNamespace(4);
    builder.add(NodeKind::attribute, 1, 8, "value");
    builder.add(NodeKind::element, 2, 9, "");
    builder.addNamespace(5);
    builder.add(NodeKind::text, 1, noName, "text");
    builder.add(NodeKind::comment, 4, noName, "");
    builder.setBelow(10, 4);
    builder.setBelow(12, endsLater);
    return builder.encode();
}

TEST(NodeBlock, ComesBackAsItWasBuilt) {
    const std::string bytes = smallBlock();
    ASSERT_TRUE(NodeBlock::isWhole(bytes));
    const NodeBlock block(bytesOf(bytes));
    ASSERT_EQ(block.count(), 5U);
    EXPECT_EQ(block.kind(0), NodeKind::element);
    EXPECT_EQ(block.kind(1), NodeKind::attribute);
    EXPECT_EQ(block.kind(4), NodeKind::comment);
    EXPECT_EQ(block.parentDistance(0), 0U);
    EXPECT_EQ(block.parentDistance(2), 2U);
    EXPECT_EQ(block.below(0), 4U);
    EXPECT_EQ(block.below(1), 0U);
    EXPECT_EQ(block.below(2), endsLater);
    EXPECT_EQ(block.name(1), 8U);
    EXPECT_EQ(block.name(3), noName);
    EXPECT_EQ(block.value(0), "");
    EXPECT_EQ(block.value(1), "value");
    EXPECT_EQ(block.value(2), "");
    EXPECT_EQ(block.value(3), "text");
    EXPECT_EQ(block.value(4), "");
    EXPECT_THAT(block.namespaces(0), ElementsAre(3, 4));
    EXPECT_THAT(block.namespaces(1), IsEmpty());
    EXPECT_THAT(block.namespaces(2), ElementsAre(5));
    EXPECT_THAT(block.namespaces(4), IsEmpty());
}

TEST(NodeBlock, CanLieAtAnyAddress) {
    const std::string bytes = smallBlock();
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const std::string moved = std::string(shift, '\0') + bytes;
        const NodeBlock block(bytesOf(moved) + shift);
        EXPECT_EQ(block.value(3), "text") << shift;
        EXPECT_EQ(block.name(2), 9U) << shift;
    }
}

TEST(NodeBlock, IsWholeOnlyInItsOwnLength) {
    const std::string bytes = smallBlock();
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(NodeBlock::isWhole(bytes.substr(0, length))) << length;
    EXPECT_FALSE(NodeBlock::isWhole(bytes + 'x'));
    EXPECT_FALSE(NodeBlock::isWhole(std::string(16, '\0')));
    EXPECT_FALSE(NodeBlock::isWhole(std::string(100, '\xff')));
}

TEST(NodeBlock, HasRoomForSoManyNodesAndBytes) {
    NodeBlockBuilder builder;
    builder.start(1);
    for (std::uint32_t i = 0; i < maxBlockNodes; ++i) {
        ASSERT_TRUE(builder.hasRoomFor(0));
        builder.add(NodeKind::text, 0, noName, "");
    }
    EXPECT_FALSE(builder.hasRoomFor(0));
    EXPECT_TRUE(NodeBlock::isWhole(builder.encode()));

    builder.start(1);
    builder.add(NodeKind::text, 0, noName, "x");
    EXPECT_TRUE(builder.hasRoomFor(maxBlockValueBytes - 1));
    EXPECT_FALSE(builder.hasRoomFor(maxBlockValueBytes));
}

TEST(NodeBlock, HasRoomForOneValueOfAnySize) {
    NodeBlockBuilder builder;
    builder.start(1);
    EXPECT_TRUE(builder.hasRoomFor(maxValueBytes));
    const std::string large(3 * maxBlockValueBytes, 'v');
    builder.add(NodeKind::text, 0, noName, large);
    EXPECT_FALSE(builder.hasRoomFor(1));
    const std::string bytes = builder.encode();
    ASSERT_TRUE(NodeBlock::isWhole(bytes));
    EXPECT_EQ(NodeBlock(bytesOf(bytes)).value(0), large);
}

TEST(NodeBlock, BuilderForgetsTheBlockBefore) {
    NodeBlockBuilder builder;
    builder.start(1);
    builder.add(NodeKind::element, 0, 1, "");
    builder.addNamespace(2);
    builder.start(2);
    EXPECT_TRUE(builder.empty());
    EXPECT_EQ(builder.first(), 2U);
    builder.add(NodeKind::text, 1, noName, "t");
    const std::string bytes = builder.encode();
    const NodeBlock block(bytesOf(bytes));
    EXPECT_EQ(block.count(), 1U);
    EXPECT_EQ(block.value(0), "t");
    EXPECT_THAT(block.namespaces(0), IsEmpty());
}

}  // namespace
}  // namespace zdbs
