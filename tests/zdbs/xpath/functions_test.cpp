/** The functions that know no nodes. */
#include "zdbs/xpath/functions.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

namespace zdbs::xpath {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Fact {
    Function function;
    std::vector<Scalar> arguments;
    const char *result;
};

std::string operator""_s(const char *text, std::size_t size) {
    return {text, size};
}

TEST(Functions, AnswerAsTheRecommendationHasIt) {
    const std::vector<Fact> facts = {
        {Function::substring, {"12345"_s, 1.5, 2.6}, "234"},
        {Function::substring, {"12345"_s, 0.0, 3.0}, "12"},
        {Function::substring, {"12345"_s, notANumber, 3.0}, ""},
        {Function::substring, {"12345"_s, 1.0, notANumber}, ""},
        {Function::substring, {"12345"_s, -42.0, infinity}, "12345"},
        {Function::substring, {"12345"_s, -infinity, infinity}, ""},
        {Function::substring, {"12345"_s, -infinity}, "12345"},
        {Function::substring, {"12345"_s, 2.0}, "2345"},
        {Function::substring, {"\xC3\xA4\xC3\xB6\xC3\xBC"_s, 2.0, 1.0}, "\xC3\xB6"},
        {Function::substringBefore, {"1999/04/01"_s, "/"_s}, "1999"},
        {Function::substringAfter, {"1999/04/01"_s, "/"_s}, "04/01"},
        {Function::substringAfter, {"1999"_s, "/"_s}, ""},
        {Function::substringAfter, {"1999"_s, ""_s}, "1999"},
        {Function::translate, {"bar"_s, "abc"_s, "ABC"_s}, "BAr"},
        {Function::translate, {"--aaa--"_s, "abc-"_s, "ABC"_s}, "AAA"},
        {Function::translate, {"aa"_s, "aa"_s, "xy"_s}, "xx"},
        {Function::normalizeSpace, {" a \n\t b "_s}, "a b"},
        {Function::stringLength, {"\xC3\xA4x"_s}, "2"},
        {Function::startsWith, {"abc"_s, ""_s}, "true"},
        {Function::startsWith, {"abc"_s, "ab"_s}, "true"},
        {Function::contains, {"abc"_s, "d"_s}, "false"},
        {Function::concat, {"a"_s, "b"_s, "c"_s}, "abc"},
        {Function::floor, {-1.5}, "-2"},
        {Function::ceiling, {1.2}, "2"},
        {Function::round, {-2.5}, "-2"},
        {Function::logicalNot, {false}, "true"},
    };
    for (const Fact &fact : facts)
        EXPECT_EQ(toText(call(fact.function, fact.arguments)), fact.result)
            << traitsOf(fact.function).name;
}

TEST(Functions, StandInTheTableInTheOrderOfTheirEnumeration) {
    std::size_t place = 0;
    for (const FunctionTraits &each : functionTable()) {
        EXPECT_EQ(static_cast<std::size_t>(each.function), place++) << each.name;
        EXPECT_EQ(functionNamed(each.name), &each);
    }
    EXPECT_EQ(place, 27U);
}

}  // namespace
}  // namespace zdbs::xpath
