#include "zdbs/embedded/store/records.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zdbs::embedded {
namespace {

TEST(Records, KeysSortAsTheirNumbers) {
    const std::uint32_t numbers[] = {0, 1, 255, 256, 65535, 65536, 0x7fffffff, 0xffffffff};
    std::string before;
    for (const std::uint32_t number : numbers) {
        const std::string key = encodeKey(number);
        EXPECT_EQ(key.size(), 4U);
        EXPECT_EQ(decodeKey(key), number);
        EXPECT_LT(before, key);
        before = key;
    }
    EXPECT_FALSE(decodeKey("abc"));
    EXPECT_FALSE(decodeKey("abcde"));
    EXPECT_FALSE(decodeKey(std::string_view("\0\0\0\1\0\0\0\1", 8)));
    EXPECT_FALSE(decodeKey(std::string_view("\x80\0\0\0\0\0\0\1", 8)));
}

TEST(Records, KeysOfNodesSortByPart) {
    std::string before;
    for (const PartNumber part : {0U, 1U, 2U, 255U, 65536U, 0x7fffffffU}) {
        for (const NodeId node : {1U, 256U, lastNodeId}) {
            const std::string key = encodeKey(recordOf(part, node));
            EXPECT_EQ(decodeKey(key), recordOf(part, node));
            EXPECT_LT(before, key);
            before = key;
        }
    }
}

// FNV-1a, 64 bits: the reference values of its authors.
TEST(Records, DocumentNamesAreFoundByTheirHash) {
    EXPECT_EQ(documentNameKey(""), "\xcb\xf2\x9c\xe4\x84\x22\x23\x25");
    EXPECT_EQ(documentNameKey("a"), "\xaf\x63\xdc\x4c\x86\x01\xec\x8c");
    EXPECT_EQ(documentNameKey("foobar"), "\x85\x94\x41\x71\xf7\x39\x67\xe8");
}

TEST(Records, ComeBackAsTheyWere) {
    const StateRecord state = *decodeState(encodeState({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(state.state, 1U);
    EXPECT_EQ(state.documents, 2U);
    EXPECT_EQ(state.nodes, 3U);
    EXPECT_EQ(state.nextNode, 4U);
    EXPECT_EQ(state.nameCount, 5U);
    EXPECT_EQ(state.pathCount, 6U);
    EXPECT_EQ(state.nextSegment, 7U);
    EXPECT_EQ(state.lastPart, 0U);
    EXPECT_EQ(decodeState(encodeState({1, 2, 3, 4, 5, 6, 7, 6}))->lastPart, 6U);
    EXPECT_FALSE(decodeState(encodeState({1, 2, 3, 4, 5, 6, 7, 7})));

    const Path path = *decodePath(encodePath({4, NodeKind::attribute, 9, 3, true}));
    EXPECT_EQ(path.parent, 4U);
    EXPECT_EQ(path.kind, NodeKind::attribute);
    EXPECT_EQ(path.name, 9U);
    EXPECT_EQ(path.level, 3U);
    EXPECT_TRUE(path.isRegular);
    const Path irregular = *decodePath(encodePath({noPath, NodeKind::text, noName, 0, false}));
    EXPECT_EQ(irregular.parent, noPath);
    EXPECT_EQ(irregular.name, noName);
    EXPECT_FALSE(irregular.isRegular);

    const SegmentRecord segment =
        *decodeSegment(encodeSegment({1, 2, 3, 4, std::uint64_t{1} << 33}));
    EXPECT_EQ(segment.file, 1U);
    EXPECT_EQ(segment.last, 2U);
    EXPECT_EQ(segment.nodes, 3U);
    EXPECT_EQ(segment.checksum, 4U);
    EXPECT_EQ(segment.bytes, std::uint64_t{1} << 33);

    const std::string documentBytes = encodeDocument({6, std::uint64_t{1} << 40, "a/b.xml"});
    const DocumentRecord document = *decodeDocument(documentBytes);
    EXPECT_EQ(document.last, 6U);
    EXPECT_EQ(document.xmlBytes, std::uint64_t{1} << 40);
    EXPECT_EQ(document.name, "a/b.xml");

    std::string nameBytes = "what was there before";
    encodeName(nameBytes, {"local", "p", "urn:u"});
    const NodeName name = *decodeName(nameBytes);
    EXPECT_EQ(name.local, "local");
    EXPECT_EQ(name.prefix, "p");
    EXPECT_EQ(name.uri, "urn:u");

    const auto elements = *decodeLongElements(encodeLongElements({{1, 9}, {2, 8}}));
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(elements[1].node, 2U);
    EXPECT_EQ(elements[1].last, 8U);

    const std::vector<RecordId> records{7, recordOf(3, 8), 9, recordOf(0x7fffffff, lastNodeId)};
    EXPECT_EQ(*decodeRecords(encodeRecords(records)), records);
    EXPECT_EQ(*decodeNumber(encodeNumber(9)), 9U);
}

TEST(Records, OfAnotherLengthAreNone) {
    EXPECT_FALSE(decodeState(encodeState({}) + 'x'));
    EXPECT_FALSE(decodeState(""));
    EXPECT_FALSE(decodeDocument("short"));
    EXPECT_FALSE(decodeName("short"));
    EXPECT_FALSE(decodeName(std::string("\5\0\0\0\1\0\0\0local", 13)));
    EXPECT_TRUE(decodeName(std::string("\5\0\0\0\1\0\0\0localp", 14)));
    EXPECT_FALSE(decodeLongElements("123"));
    EXPECT_FALSE(decodePath("123"));
    EXPECT_FALSE(decodePath(encodePath({}).replace(12, 1, "\5")));
    EXPECT_FALSE(decodeSegment(encodeSegment({}) + 'x'));
    EXPECT_FALSE(decodeRecords("123"));
    EXPECT_FALSE(decodeRecords(std::string_view("\1\0\0\x80", 4)));
    EXPECT_FALSE(decodeNumber("12345"));
}

}  // namespace
}  // namespace zdbs::embedded
