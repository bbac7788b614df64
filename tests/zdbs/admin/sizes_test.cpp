#include "zdbs/answers/sizes.h"

#include <gtest/gtest.h>

namespace zdbs::admin {
namespace {

struct Case {
    std::uint64_t number;
    const char *text;
};

TEST(Sizes, AreWrittenWithUnits) {
    const Case cases[] = {
        {0, "0 B"},
        {999, "999 B"},
        {1000, "1.0 kB"},
        {1049, "1.0 kB"},
        {1051, "1.1 kB"},
        {999900, "999.9 kB"},
        {999949, "999.9 kB"},
        {999950, "1.0 MB"},
        {12345678, "12.3 MB"},
        {4000000000, "4.0 GB"},
        {5'000'000'000'000, "5.0 TB"},
        {18'446'744'073'709'551'615U, "18.4 EB"},
    };
    for (const Case &row : cases)
        EXPECT_EQ(sizeText(row.number), row.text);
}

TEST(Sizes, OfTimeAreMinutesAndSeconds) {
    const Case cases[] = {{0, "0:00"},       {5, "0:05"},       {59, "0:59"},
                          {60, "1:00"},      {754, "12:34"},    {3599, "59:59"},
                          {3600, "1:00:00"}, {3723, "1:02:03"}, {90000, "25:00:00"}};
    for (const Case &row : cases)
        EXPECT_EQ(durationText(row.number), row.text);
}

TEST(Sizes, AreComparedOnlyWithSomething) {
    EXPECT_EQ(ratioText(28, 10), "2.8 x");
    EXPECT_EQ(ratioText(0, 10), "0.0 x");
    EXPECT_EQ(ratioText(28, 0), "");
}

TEST(Sizes, OfShortTimesAreMilliseconds) {
    EXPECT_EQ(millisecondsText(std::chrono::nanoseconds(0)), "0.000");
    EXPECT_EQ(millisecondsText(std::chrono::nanoseconds(12345)), "0.012");
    EXPECT_EQ(millisecondsText(std::chrono::seconds(90)), "90000.000");
}

TEST(Counts, AreGroupedByThousands) {
    EXPECT_EQ(countText(0), "0");
    EXPECT_EQ(countText(999), "999");
    EXPECT_EQ(countText(2031), "2 031");
    EXPECT_EQ(countText(12345678), "12 345 678");
}

TEST(Seconds, HaveADecimalUpToAMinute) {
    using std::chrono::milliseconds;
    EXPECT_EQ(secondsText(milliseconds(0)), "0.0 s");
    EXPECT_EQ(secondsText(milliseconds(2140)), "2.1 s");
    EXPECT_EQ(secondsText(milliseconds(59900)), "59.9 s");
    EXPECT_EQ(secondsText(milliseconds(59990)), "1:00");
    EXPECT_EQ(secondsText(milliseconds(3723400)), "1:02:03");
}

}  // namespace
}  // namespace zdbs::admin
