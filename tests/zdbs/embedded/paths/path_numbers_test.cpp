#include "zdbs/embedded/paths/path_numbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zdbs::embedded {
namespace {

using testing::ElementsAre;

TEST(PathNumbers, AreNoneUntilTheyAreSet) {
    PathNumbers numbers(5);
    for (PathId path = 0; path < 5; ++path)
        EXPECT_EQ(numbers[path], 0U);
    numbers.set(3, 7);
    numbers.set(1, 9);
    numbers.set(3, 8);
    EXPECT_EQ(numbers[3], 8U);
    EXPECT_EQ(numbers[1], 9U);
    EXPECT_THAT(numbers.used(), ElementsAre(3, 1));
}

TEST(PathNumbers, OfOneUseAreNotThoseOfTheNext) {
    for (std::size_t paths : {3U, 100U, 3U}) {
        PathNumbers numbers(paths);
        for (PathId path = 0; path < paths; ++path) {
            ASSERT_EQ(numbers[path], 0U);
            numbers.set(path, path + 1);
        }
    }
}

TEST(PathNumbers, AreApartWhereSeveralAreUsedAtOnce) {
    PathNumbers a(4);
    a.set(2, 5);
    {
        PathNumbers b(4);
        EXPECT_EQ(b[2], 0U);
        b.set(2, 6);
        EXPECT_EQ(a[2], 5U);
    }
    PathNumbers c(4);
    EXPECT_EQ(c[2], 0U);
}

TEST(PathMarks, SayWhetherAPathIsNew) {
    PathMarks marks(4);
    EXPECT_TRUE(marks.add(0));
    EXPECT_FALSE(marks.add(0));
    EXPECT_TRUE(marks.has(0));
    EXPECT_FALSE(marks.has(1));
    EXPECT_THAT(marks.paths(), ElementsAre(0));
}

}  // namespace
}  // namespace zdbs::embedded
