#include "zdbs/base/hits.h"

#include <gtest/gtest.h>

#include <string>

namespace zdbs {
namespace {

std::string joined(std::vector<HitRange> hits) {
    joinOverlaps(hits);
    std::string text;
    for (const HitRange &each : hits)
        text += std::to_string(each.offset) + "+" + std::to_string(each.length) + " ";
    return text;
}

TEST(Hits, ThatOverlapAreOne) {
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({{3, 2}}), "3+2 ");
    EXPECT_EQ(joined({{4, 3}, {0, 2}}), "0+2 4+3 ");
    EXPECT_EQ(joined({{0, 2}, {2, 3}}), "0+2 2+3 ");
    EXPECT_EQ(joined({{1, 3}, {0, 2}, {3, 4}}), "0+7 ");
    EXPECT_EQ(joined({{0, 9}, {2, 3}, {9, 1}}), "0+9 9+1 ");
}

TEST(WordCounter, NumbersTheWordsOfAText) {
    const std::string text = "  to be,\nor not";
    WordCounter counter(text);
    EXPECT_EQ(counter.at(0), 1U);
    EXPECT_EQ(counter.at(2), 1U);
    EXPECT_EQ(counter.at(3), 1U);
    EXPECT_EQ(counter.at(4), 2U);
    EXPECT_EQ(counter.at(5), 2U);
    EXPECT_EQ(counter.at(9), 3U);
    EXPECT_EQ(counter.at(10), 3U);
    EXPECT_EQ(counter.at(14), 4U);
}

TEST(WordCounter, CountsOneWordInTextsWithoutAny) {
    EXPECT_EQ(WordCounter("").at(0), 1U);
    EXPECT_EQ(WordCounter("   ").at(1), 1U);
}

}  // namespace
}  // namespace zdbs
