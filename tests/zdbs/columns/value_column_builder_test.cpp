#include <gtest/gtest.h>

#include <utility>

#include "sample_columns.h"
#include "zdbs/columns/value_column.h"

namespace zdbs {
namespace {

TEST(ValueColumnBuilder, CountsRowsAndBytes) {
    ValueColumnBuilder builder;
    EXPECT_EQ(builder.size(), 0U);
    EXPECT_EQ(builder.bytes(), 0U);
    builder.add("abc");
    builder.add("");
    EXPECT_EQ(builder.size(), 2U);
    EXPECT_GE(builder.bytes(), 3U);
}

TEST(ValueColumnBuilder, ForgetsTheLastRows) {
    ValueColumnBuilder builder;
    for (const char *value : {"a", "bb", "ccc"})
        builder.add(value);
    builder.truncate(5);
    EXPECT_EQ(builder.size(), 3U);
    builder.truncate(1);
    EXPECT_EQ(builder.size(), 1U);
    builder.add("d");
    std::string bytes;
    builder.finish(bytes);
    EXPECT_EQ(bytes, columnOf({"a", "d"}));
}

TEST(ValueColumnBuilder, ForgetsAllRows) {
    ValueColumnBuilder builder;
    builder.add("a");
    builder.truncate(0);
    EXPECT_EQ(builder.size(), 0U);
    EXPECT_EQ(builder.bytes(), 0U);
    std::string bytes;
    builder.finish(bytes);
    EXPECT_EQ(bytes, columnOf({}));
}

TEST(ValueColumnBuilder, IsEmptyAfterItHasFinishedAndAppendsToWhatIsThere) {
    ValueColumnBuilder builder;
    builder.add("a");
    std::string bytes = "before";
    builder.finish(bytes);
    EXPECT_EQ(bytes, "before" + columnOf({"a"}));
    EXPECT_EQ(builder.size(), 0U);
    builder.add("b");
    bytes.clear();
    builder.finish(bytes);
    EXPECT_EQ(bytes, columnOf({"b"}));
}

TEST(ValueColumnBuilder, MovesWithItsRows) {
    ValueColumnBuilder builder;
    builder.add("a");
    ValueColumnBuilder other(std::move(builder));
    other.add("b");
    builder = std::move(other);
    EXPECT_EQ(builder.size(), 2U);
}

TEST(ValueColumnBuilder, WritesTheSameBytesForTheSameValues) {
    for (Kind kind : allKinds) {
        std::mt19937 random(1);
        Texts texts = sampleTexts(kind, 3000, random);
        EXPECT_EQ(columnOf(texts), columnOf(texts));
    }
}

}  // namespace
}  // namespace zdbs
