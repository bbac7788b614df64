#include "zdbs/embedded/columns/found_rows.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

namespace zdbs::embedded {
namespace {

using Rows = std::vector<std::uint32_t>;

Rows rowsOf(const FoundRows &found) {
    Rows rows;
    found.forStretches([&](std::uint32_t first, std::uint32_t end) {
        EXPECT_LT(first, end);
        EXPECT_TRUE(rows.empty() || rows.back() < first);
        for (; first < end; ++first)
            rows.push_back(first);
    });
    EXPECT_EQ(rows.size(), found.count());
    return rows;
}

FoundRows bitsOf(const Rows &rows, std::uint32_t size) {
    std::vector<std::uint64_t> words(FoundRows::wordsFor(size));
    for (std::uint32_t row : rows)
        words[row / 64] |= std::uint64_t{1} << (row % 64);
    return FoundRows::bits(std::move(words), size);
}

Rows others(const Rows &rows, std::uint32_t size) {
    std::vector<bool> has(size);
    for (std::uint32_t row : rows)
        has[row] = true;
    Rows result;
    for (std::uint32_t row = 0; row < size; ++row)
        if (!has[row]) result.push_back(row);
    return result;
}

TEST(FoundRows, AreTheSameInEveryForm) {
    std::mt19937 random(1);
    for (std::uint32_t size = 0; size < 200; ++size) {
        const unsigned rarity = 1 + random() % 20;
        Rows rows;
        for (std::uint32_t row = 0; row < size; ++row)
            if (random() % rarity == 0) rows.push_back(row);
        const Rows rest = others(rows, size);
        FoundRows all[] = {FoundRows::list(rows, false, size), FoundRows::list(rest, true, size),
                           bitsOf(rows, size)};
        for (FoundRows &found : all) {
            EXPECT_EQ(rowsOf(found), rows);
            EXPECT_EQ(found.hits(), rows.size());
            found.flip();
            EXPECT_EQ(rowsOf(found), rest);
            EXPECT_EQ(found.hits(), rest.size());
        }
    }
}

TEST(FoundRows, AreARangeOrAllOthers) {
    EXPECT_EQ(rowsOf(FoundRows::range(2, 5, false, 7)), (Rows{2, 3, 4}));
    EXPECT_EQ(rowsOf(FoundRows::range(2, 5, true, 7)), (Rows{0, 1, 5, 6}));
    EXPECT_EQ(rowsOf(FoundRows::range(0, 7, true, 7)), Rows{});
    EXPECT_EQ(rowsOf(FoundRows::range(3, 3, false, 7)), Rows{});
    EXPECT_EQ(rowsOf(FoundRows::range(0, 0, true, 3)), (Rows{0, 1, 2}));
    EXPECT_EQ(rowsOf(FoundRows(7)), Rows{});
}

TEST(FoundRows, KeepWhatTheyAreGiven) {
    const FoundRows found =
        FoundRows::list({1, 4}, false, 9).withHits(17).foundBy(ValueIndex::trigrams);
    EXPECT_EQ(found.hits(), 17U);
    EXPECT_EQ(found.counts().rows, 2U);
    EXPECT_EQ(found.counts().hits, 17U);
    EXPECT_EQ(found.counts().index, ValueIndex::trigrams);
}

}  // namespace
}  // namespace zdbs::embedded
