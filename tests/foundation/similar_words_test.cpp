#include "foundation/similar_words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct DistanceCase {
    const char *a;
    const char *b;
    std::size_t distance;
};

TEST(SimilarWords, AreAsFarApartAsThereAreSteps) {
    const DistanceCase cases[] = {
        {"", "", 0},         {"", "abc", 3},        {"list", "list", 0}, {"list", "lst", 1},
        {"lsit", "list", 1}, {"quary", "query", 1}, {"load", "laod", 1}, {"kitten", "sitting", 3},
        {"ab", "ba", 1},     {"ca", "abc", 3},
    };
    for (const DistanceCase &row : cases) {
        EXPECT_EQ(distanceOf(row.a, row.b), row.distance) << row.a << ' ' << row.b;
        EXPECT_EQ(distanceOf(row.b, row.a), row.distance) << row.b << ' ' << row.a;
    }
}

TEST(SimilarWords, AreOfferedWhenTheyAreNear) {
    const std::vector<std::string> words = {"list", "load", "query", "explain", "dump"};
    EXPECT_EQ(mostSimilar("lst", words), "list");
    EXPECT_EQ(mostSimilar("laod", words), "load");
    EXPECT_EQ(mostSimilar("querry", words), "query");
    EXPECT_EQ(mostSimilar("expalin", words), "explain");
    EXPECT_EQ(mostSimilar("lsad", words), "load");
    EXPECT_EQ(mostSimilar("nonsense", words), std::nullopt);
    EXPECT_EQ(mostSimilar("x", words), std::nullopt);
    EXPECT_EQ(mostSimilar("", words), std::nullopt);
    EXPECT_EQ(mostSimilar(std::string(100000, 'l'), words), std::nullopt);
    EXPECT_EQ(mostSimilar("list", {}), std::nullopt);
}

}  // namespace
