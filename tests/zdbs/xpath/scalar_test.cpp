/** Numbers, strings and booleans made of each other. */
#include "zdbs/xpath/scalar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zdbs::xpath {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct NumberText {
    double number;
    const char *text;
};

constexpr NumberText numberTexts[] = {
    {0, "0"},
    {-0.0, "0"},
    {1, "1"},
    {-1, "-1"},
    {0.5, "0.5"},
    {-0.5, "-0.5"},
    {0.1, "0.1"},
    {1e15, "1000000000000000"},
    {1e-7, "0.0000001"},
    {1e21, "1000000000000000000000"},
    {123456789.125, "123456789.125"},
    {notANumber, "NaN"},
    {infinity, "Infinity"},
    {-infinity, "-Infinity"},
};

TEST(Scalar, WritesNumbersWithoutExponents) {
    for (const NumberText &fact : numberTexts)
        EXPECT_EQ(toText(fact.number), fact.text);
}

TEST(Scalar, ReadsNumbersAsXPathWritesThem) {
    EXPECT_EQ(toNumber(std::string_view(" 12.5\n")), 12.5);
    EXPECT_EQ(toNumber(std::string_view("-.5")), -0.5);
    for (const char *text : {"", " ", "+1", "1e3", "1 2", "--1", "0x1", "1,5", "Infinity"})
        EXPECT_TRUE(std::isnan(toNumber(std::string_view(text)))) << text;
}

TEST(Scalar, KnowsWhatIsTrue) {
    EXPECT_FALSE(toTruth(Scalar(notANumber)));
    EXPECT_FALSE(toTruth(Scalar(-0.0)));
    EXPECT_TRUE(toTruth(Scalar(infinity)));
    EXPECT_FALSE(toTruth(Scalar(std::string())));
    EXPECT_TRUE(toTruth(Scalar(std::string("false"))));
}

struct Rounding {
    double number;
    double result;
};

constexpr Rounding roundings[] = {
    {0.5, 1},
    {1.5, 2},
    {2.5, 3},
    {-0.5, -0.0},
    {-0.2, -0.0},
    {-1.5, -1},
    {-2.5, -2},
    {0.49999999999999994, 0},
    {4503599627370497.0, 4503599627370497.0},
};

TEST(Scalar, RoundsHalvesUpwards) {
    for (const Rounding &fact : roundings) {
        EXPECT_EQ(rounded(fact.number), fact.result) << fact.number;
        EXPECT_EQ(std::signbit(rounded(fact.number)), std::signbit(fact.result)) << fact.number;
    }
}

}  // namespace
}  // namespace zdbs::xpath
