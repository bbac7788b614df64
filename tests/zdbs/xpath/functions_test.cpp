/** The functions that know no nodes. */
#include "zdbs/xpath/functions.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string_view>
#include <vector>

namespace zdbs::xpath {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Fact {
    Function function;
    std::vector<Argument> arguments;
    const char *result;
};

using namespace std::string_view_literals;

TEST(Functions, AnswerAsTheRecommendationHasIt) {
    const std::vector<Fact> facts = {
        {Function::substring, {"12345"sv, 1.5, 2.6}, "234"},
        {Function::substring, {"12345"sv, 0.0, 3.0}, "12"},
        {Function::substring, {"12345"sv, notANumber, 3.0}, ""},
        {Function::substring, {"12345"sv, 1.0, notANumber}, ""},
        {Function::substring, {"12345"sv, -42.0, infinity}, "12345"},
        {Function::substring, {"12345"sv, -infinity, infinity}, ""},
        {Function::substring, {"12345"sv, -infinity}, "12345"},
        {Function::substring, {"12345"sv, 2.0}, "2345"},
        {Function::substring, {"\xC3\xA4\xC3\xB6\xC3\xBC"sv, 2.0, 1.0}, "\xC3\xB6"},
        {Function::substringBefore, {"1999/04/01"sv, "/"sv}, "1999"},
        {Function::substringAfter, {"1999/04/01"sv, "/"sv}, "04/01"},
        {Function::substringAfter, {"1999"sv, "/"sv}, ""},
        {Function::substringAfter, {"1999"sv, ""sv}, "1999"},
        {Function::translate, {"bar"sv, "abc"sv, "ABC"sv}, "BAr"},
        {Function::translate, {"--aaa--"sv, "abc-"sv, "ABC"sv}, "AAA"},
        {Function::translate, {"aa"sv, "aa"sv, "xy"sv}, "xx"},
        {Function::translate, {"abcabc"sv, "abc"sv, ""sv}, ""},
        {Function::translate,
         {"a\xC3\xA4 \xC3\xB6"sv, "a\xC3\xB6"sv, "\xC3\xBC"sv},
         "\xC3\xBC\xC3\xA4 "},
        {Function::normalizeSpace, {" a \n\t b "sv}, "a b"},
        {Function::stringLength, {"\xC3\xA4x"sv}, "2"},
        {Function::startsWith, {"abc"sv, ""sv}, "true"},
        {Function::startsWith, {"abc"sv, "ab"sv}, "true"},
        {Function::contains, {"abc"sv, "d"sv}, "false"},
        {Function::concat, {"a"sv, "b"sv, "c"sv}, "abc"},
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
