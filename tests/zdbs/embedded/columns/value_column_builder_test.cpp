#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sample_columns.h"
#include "zdbs/embedded/columns/value_column.h"

namespace zdbs::embedded {
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

TEST(ValueColumnBuilder, TellsTheKeysOfItsValuesInEveryEncoding) {
    std::mt19937 random(11);
    for (const Kind kind : allKinds) {
        for (const std::size_t size : {0U, 1U, 64U, 65U, 3000U}) {
            const Texts texts = sampleTexts(kind, size, random);
            ValueColumnBuilder builder;
            std::set<ValueKey> expected;
            for (const std::string &text : texts) {
                builder.add(text);
                expected.insert(valueKeyOf(text));
            }
            std::string bytes;
            std::vector<ValueKey> keys;
            builder.finish(bytes, keys);
            EXPECT_EQ(bytes, columnOf(texts));
            EXPECT_EQ(std::set<ValueKey>(keys.begin(), keys.end()), expected);
            EXPECT_LE(keys.size(), std::set<std::string>(texts.begin(), texts.end()).size() + 64);
        }
    }
}

TEST(ValueColumnBuilder, TellsTheKeysOfFewLongValues) {
    ValueColumnBuilder builder;
    const std::string longText(70000, 'x');
    builder.add(longText);
    builder.add("");
    std::string bytes;
    std::vector<ValueKey> keys = {1};
    builder.finish(bytes, keys);
    EXPECT_EQ(keys, (std::vector<ValueKey>{1, valueKeyOf(longText), valueKeyOf("")}));
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
}  // namespace zdbs::embedded
