#include "zdbs/base/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace zdbs {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

struct NumberCase {
    std::string text;
    std::optional<double> number;
};

TEST(NumberOf, ReadsWhatXPathReads) {
    const std::vector<NumberCase> cases{
        {"0", 0.0},
        {"5", 5.0},
        {"-3", -3.0},
        {"2.50", 2.5},
        {"05", 5.0},
        {"5.", 5.0},
        {".5", 0.5},
        {"-.5", -0.5},
        {"-5.", -5.0},
        {" 5 ", 5.0},
        {"\t\r\n 5\n", 5.0},
        {" -5", -5.0},
        {"0.1", 0.1},
        {"123456789012345678901234567890", 123456789012345678901234567890.0},
        {"9007199254740993", 9007199254740992.0},
        {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
        {"", std::nullopt},
        {" ", std::nullopt},
        {".", std::nullopt},
        {"-", std::nullopt},
        {"-.", std::nullopt},
        {"- 5", std::nullopt},
        {"+5", std::nullopt},
        {"--5", std::nullopt},
        {"1e3", std::nullopt},
        {"1E3", std::nullopt},
        {"0x10", std::nullopt},
        {"5 5", std::nullopt},
        {"5,5", std::nullopt},
        {"1.2.3", std::nullopt},
        {"5a", std::nullopt},
        {"inf", std::nullopt},
        {"nan", std::nullopt},
        {"Infinity", std::nullopt},
        {"\xC2\xA0"
         "5",
         std::nullopt},
        {"\v5", std::nullopt},
        {"\f5", std::nullopt},
        {std::string("5\0", 2), std::nullopt},
    };
    for (const NumberCase &fact : cases)
        EXPECT_EQ(numberOf(fact.text), fact.number) << fact.text;
}

TEST(NumberOf, RoundsToInfinityAndToZero) {
    std::string nines(400, '9');
    std::string zeros(400, '0');
    EXPECT_EQ(numberOf(nines), infinity);
    EXPECT_EQ(numberOf("-" + nines), -infinity);
    EXPECT_EQ(numberOf(nines + ".5"), infinity);
    EXPECT_EQ(numberOf("0." + zeros + "1"), 0.0);
    EXPECT_EQ(numberOf("." + zeros + "1"), 0.0);
    EXPECT_EQ(numberOf(zeros + "1"), 1.0);
    EXPECT_EQ(numberOf(zeros + "." + zeros), 0.0);
    EXPECT_TRUE(std::signbit(numberOf("-0").value()));
}

TEST(NumberOf, ReadsTheSmallestAndTheLargestDouble) {
    EXPECT_EQ(numberOf("179769313486231570814527423731704356798070567525844996598917476803157260"
                       "780028538760589558632766878171540458953514382464234321326889464182768467"
                       "546703537516986049910576551282076245490090389328944075868508455133942304"
                       "583236903222948165808559332123347747797926204144723168738177180919299881"
                       "250404026184124858368"),
              std::numeric_limits<double>::max());
    EXPECT_EQ(numberOf("0." + std::string(323, '0') + "4940656458412465"),
              std::numeric_limits<double>::denorm_min());
}

TEST(CanonicalDecimal, TakesCanonicalLiteralsOnly) {
    const std::vector<NumberCase> cases{
        {"5", 5.0},
        {"-3", -3.0},
        {"2.50", 2.5},
        {"0", 0.0},
        {"-0", 0.0},
        {"0.5", 0.5},
        {"-0.5", -0.5},
        {"10", 10.0},
        {"0.0", 0.0},
        {"05", std::nullopt},
        {"00", std::nullopt},
        {"-05", std::nullopt},
        {"+5", std::nullopt},
        {"1e3", std::nullopt},
        {".5", std::nullopt},
        {"5.", std::nullopt},
        {"", std::nullopt},
        {"-", std::nullopt},
        {" 5", std::nullopt},
        {"5 ", std::nullopt},
        {"a", std::nullopt},
        {"5a", std::nullopt},
        {"1.5.2", std::nullopt},
        {"00.5", std::nullopt},
        {"(5)", std::nullopt},
        {"--5", std::nullopt},
    };
    for (const NumberCase &fact : cases) {
        EXPECT_EQ(canonicalDecimal(fact.text), fact.number) << fact.text;
    }
}

}  // namespace
}  // namespace zdbs
