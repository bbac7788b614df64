#include "zdbs/embedded/columns/value_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <random>
#include <string>

#include "zdbs/base/number.h"
#include "zdbs/embedded/columns/distinct_values.h"

namespace zdbs::embedded {
namespace {

using Rows = std::vector<std::uint32_t>;

/** Values with the view of them that orders are made of. */
struct Values {
    explicit Values(const std::vector<std::string> &all) : list(all) {
        for (const std::string &value : list) {
            bytes += value;
            ends.push_back(static_cast<std::uint32_t>(bytes.size()));
        }
    }
    RawValues raw() const { return {bytes, ends}; }

    std::vector<std::string> list;
    std::string bytes;
    Rows ends;
};

Rows allRows(std::size_t size) {
    Rows rows(size);
    std::iota(rows.begin(), rows.end(), 0U);
    return rows;
}

void expectTextOrder(const Values &values) {
    TextOrder order = orderTexts(values.raw());
    Rows expected = allRows(values.list.size());
    std::stable_sort(expected.begin(), expected.end(),
                     [&](std::uint32_t left, std::uint32_t right) {
                         return values.list[left] < values.list[right];
                     });
    ASSERT_EQ(order.rows, expected);
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(order.repeats[i],
                  i > 0 && values.list[expected[i]] == values.list[expected[i - 1]]);
}

std::vector<std::string> randomTexts(std::size_t count, std::size_t longest,
                                     std::string_view letters, std::mt19937 &random) {
    std::vector<std::string> texts(count);
    for (std::string &text : texts)
        for (std::size_t size = random() % (longest + 1); size > 0; --size)
            text += letters[random() % letters.size()];
    return texts;
}

TEST(ValueOrder, OrdersTextsAsAStableSortDoes) {
    std::mt19937 random(1);
    const std::string_view alphabets[] = {"ab", std::string_view("\0a", 2), "\x7F\x80\xFF",
                                          "abcdefghijkl"};
    for (std::string_view letters : alphabets)
        for (std::size_t longest : {0U, 3U, 8U, 9U, 40U})
            for (std::size_t count : {0U, 1U, 2U, 50U, 700U})
                expectTextOrder(Values(randomTexts(count, longest, letters, random)));
}

TEST(ValueOrder, OrdersSomeOfTheRows) {
    Values values({"d", "c", "b", "a", "c"});
    TextOrder order = orderTexts(values.raw(), Rows{0, 1, 4});
    EXPECT_EQ(order.rows, (Rows{1, 4, 0}));
    EXPECT_EQ(order.repeats, (std::vector<bool>{false, true, false}));
}

TEST(ValueOrder, OrdersTextsThatBeginAlike) {
    std::vector<std::string> texts;
    for (int i = 0; i < 300; ++i) {
        texts.push_back("open_auction" + std::to_string(i * 37 % 300));
        texts.push_back(std::string(static_cast<std::size_t>(i % 20), 'x'));
        texts.push_back(std::string(1000, 'y') + std::to_string(i % 7));
    }
    expectTextOrder(Values(texts));
}

TEST(ValueOrder, TellsTextsFromThoseWithZerosBehindThem) {
    std::vector<std::string> texts;
    for (std::size_t zeros : {3U, 0U, 9U, 16U, 1U, 8U, 17U, 3U, 0U})
        for (const char *text : {"", "a", "abcdefgh", "abcdefghi"})
            texts.push_back(text + std::string(zeros, '\0'));
    expectTextOrder(Values(texts));
}

TEST(ValueOrder, OrdersTheNumbersAmongValues) {
    Values values({"10", "x", "9", " 9.0 ", "-0", "0", "-1", std::string(400, '9'), "1e3", "",
                   "-.5", "-" + std::string(400, '9'), "NaN", "10"});
    EXPECT_EQ(orderNumbers(values.raw()), (Rows{11, 6, 10, 4, 5, 2, 3, 0, 13, 7}));
}

TEST(DistinctValues, AreTheSameByHashAndByOrder) {
    std::mt19937 random(2);
    for (std::size_t count : {1U, 100U, 5000U}) {
        for (std::size_t longest : {0U, 1U, 3U, 5U}) {
            Values values(randomTexts(count, longest, "abc", random));
            DistinctValues byOrder = distinctByOrder(orderTexts(values.raw()));
            std::optional<DistinctValues> byHash = distinctByHash(values.raw());
            ASSERT_TRUE(byHash);
            ASSERT_EQ(byHash->rows, byOrder.rows);
            ASSERT_EQ(byHash->codes, byOrder.codes);
            for (std::size_t row = 0; row < count; ++row)
                ASSERT_EQ(values.list[byOrder.rows[byOrder.codes[row]]], values.list[row]);
        }
    }
}

TEST(DistinctValues, AreGivenUpWhenMostAreDistinct) {
    std::vector<std::string> texts;
    for (int i = 0; i < 5000; ++i)
        texts.push_back(std::to_string(i));
    EXPECT_FALSE(distinctByHash(Values(texts).raw()));
}

}  // namespace
}  // namespace zdbs::embedded
