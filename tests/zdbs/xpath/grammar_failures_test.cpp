/** What is no expression, and what is said of it. */
#include <gtest/gtest.h>

#include <string>

#include "zdbs/xpath/grammar.h"
#include "zdbs/xpath/request_error.h"

namespace zdbs::xpath {
namespace {

std::string messageFor(const std::string &request) {
    try {
        parse(request, {});
    } catch (const RequestError &error) {
        return std::to_string(error.line()) + ":" + std::to_string(error.column()) + " " +
               error.what() + "\n" + error.excerpt();
    }
    return "nothing";
}

struct Fact {
    const char *request;
    const char *place;
    const char *says;
};

constexpr Fact facts[] = {
    {"", "1:1 ", "expected an expression, found the end"},
    {"a b", "1:3 ", "expected an operator, found b"},
    {"a[", "1:3 ", "expected an expression, found the end"},
    {"a[1", "1:4 ", "expected an operator or ], found the end"},
    {"a]", "1:2 ", "expected an operator or the end, found ]"},
    {"(a", "1:3 ", "expected ), found the end"},
    {"a/", "1:3 ", "expected a step, found the end"},
    {"a//", "1:4 ", "expected a step, found the end"},
    {"//", "1:3 ", "expected a step, found the end"},
    {"a\n/ +b", "2:3 ", "expected a step, found +"},
    {"\xC3\xA4+", "1:3 ", "expected an expression, found the end"},
    {"'a", "1:1 ", "this text has no quote at its end"},
    {"a#b", "1:2 ", "no expression has the character #"},
    {"q:a", "1:1 ", "the prefix q is not declared for the request"},
    {"$x", "1:1 ", "there is no variable $x"},
    {"sideways::a", "1:1 ", "there is no axis sideways"},
    {"namespace::a", "1:1 ", "the namespace axis is not kept"},
    {"twice(a)", "1:1 ", "there is no function twice"},
    {"count()", "1:1 ", "count() takes 1 argument, not 0"},
    {"concat('a')", "1:1 ", "concat() takes 2 or more arguments, not 1"},
    {"substring('a')", "1:1 ", "substring() takes 2 to 3 arguments, not 1"},
    {"count(1)", "1:7 ", "count() takes nodes, and this selects none"},
    {"1|a", "1:1 ", "| takes nodes, and this selects none"},
    {"'a'[1]", "1:1 ", "a predicate takes nodes, and this selects none"},
    {"'a'/b", "1:1 ", "a path takes nodes, and this selects none"},
    {"a!b", "1:2 ", "no expression has the character !"},
    {"text('x')", "1:6 ", "expected ), found"},
    {"@", "1:2 ", "expected a name, * or a node type, found the end"},
    {"\xFF", "1:1 ", "the expression is not UTF-8"},
};

TEST(Grammar, SaysWhereAndWhatIsWrong) {
    for (const Fact &fact : facts) {
        const std::string message = messageFor(fact.request);
        EXPECT_TRUE(message.starts_with(fact.place)) << fact.request << "\n" << message;
        EXPECT_NE(message.find(fact.says), std::string::npos) << fact.request << "\n" << message;
    }
}

TEST(Grammar, PointsAtThePlace) {
    EXPECT_NE(messageFor("a[b=]").find("  a[b=]\n      ^"), std::string::npos)
        << messageFor("a[b=]");
}

TEST(Grammar, RefusesWhatIsNestedTooDeep) {
    const std::string inside(deepestExpression + 1, '(');
    EXPECT_NE(messageFor(inside).find("nested in more than"), std::string::npos);
    std::string sum = "1";
    for (std::size_t i = 0; i <= deepestExpression; ++i)
        sum += "+1";
    EXPECT_NE(messageFor(sum).find("nested in more than"), std::string::npos);
}

}  // namespace
}  // namespace zdbs::xpath
