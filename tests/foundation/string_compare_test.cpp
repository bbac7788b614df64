#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "foundation/string_util.h"

namespace {

// Shown as text, null and all.
const char *shown(const char *text) {
    return text != nullptr ? text : "(null)";
}

struct LimitedFact {
    const char *a;
    const char *b;
    int n;
    int result;
    int resultNoCase;
};

TEST(StringCompare, TheCommonBeginningDecidesBeforeTheLengths) {
    struct Fact {
        const char *a, *b;
        bool foldCase, equalityOnly;
        int result;
    };
    const Fact facts[] = {
        {"", "", false, false, 0},      {"a", "", false, false, 1},
        {"", "a", false, false, -1},    {"a", "b", false, false, -1},
        {"b", "a", false, false, 1},    {"a", "b", false, true, 1},
        {"b", "a", false, true, 1},     {"ab", "abc", false, false, -1},
        {"abc", "ab", false, false, 1}, {"ab", "abc", false, true, -1},
        {"b", "abc", false, false, 1},  {"a", "A", false, false, 1},
        {"a", "A", true, false, 0},     {"ab", "AC", true, false, -1},
        {"ab", "AC", true, true, 1},    {"\xE4", "a", false, false, -1},
        {"a", "\xE4", false, false, 1}, {"_", "a", true, false, 1},
    };
    for (const Fact &fact : facts) {
        EXPECT_EQ(
            __ZfxCompare(fact.a, static_cast<int>(std::strlen(fact.a)), fact.b,
                         static_cast<int>(std::strlen(fact.b)), fact.foldCase, fact.equalityOnly),
            fact.result)
            << fact.a << ' ' << fact.b << ' ' << fact.foldCase << ' ' << fact.equalityOnly;
    }
}

TEST(StringCompare, OnlyTheGivenLengthsCount) {
    EXPECT_EQ(__ZfxCompare("abX", 2, "abY", 2, false, false), 0);
    EXPECT_EQ(__ZfxCompare("abX", 3, "abY", 2, false, false), 1);
    EXPECT_EQ(__ZfxCompare("x", 0, "y", 1, false, false), -1);
    EXPECT_EQ(__ZfxCompare("x", -3, "y", -3, false, false), 0);
    EXPECT_EQ(__ZfxCompare(nullptr, 0, nullptr, 0, false, false), 0);
}

TEST(StringCompare, CompareNoCaseOrdersWholeTextsAndTakesNullAsEmpty) {
    struct Fact {
        const char *a, *b;
        int result;
    };
    const Fact facts[] = {
        {"Child", "CHILD", 0}, {"child", "childs", -1}, {"childs", "CHILD", 1},
        {"a", "B", -1},        {"B", "a", 1},           {nullptr, "", 0},
        {nullptr, nullptr, 0}, {nullptr, "a", -1},      {"a", nullptr, 1},
        {"", "", 0},           {"\xE4", "a", -1},
    };
    for (const Fact &fact : facts) {
        EXPECT_EQ(ZfxCompareNoCase(fact.a, fact.b), fact.result)
            << shown(fact.a) << ' ' << shown(fact.b);
    }
}

TEST(StringCompare, CompareLenTakesTheLimitOrTheShorterLength) {
    const LimitedFact facts[] = {
        {"ab", "abc", 5, 0, 0},      {"abc", "ab", 5, 0, 0},      {"ab", "ac", 1, 0, 0},
        {"ab", "ac", 2, -1, -1},     {"ac", "ab", 5, 1, 1},       {"aB", "Ab", 2, 1, 0},
        {"AB", "abX", 3, -1, 0},     {"abX", "abY", 2, 0, 0},     {"", "abc", 2, 0, 0},
        {"abc", "xyz", 0, 0, 0},     {"abc", "xyz", -1, 0, 0},    {nullptr, "abc", 2, 0, 0},
        {"b", "abc", INT_MAX, 1, 1}, {nullptr, nullptr, 1, 0, 0},
    };
    for (const LimitedFact &fact : facts) {
        EXPECT_EQ(ZfxCompareLen(fact.a, fact.b, fact.n), fact.result)
            << shown(fact.a) << ' ' << shown(fact.b) << ' ' << fact.n;
        EXPECT_EQ(ZfxCompareLenNoCase(fact.a, fact.b, fact.n), fact.resultNoCase)
            << shown(fact.a) << ' ' << shown(fact.b) << ' ' << fact.n;
    }
}

TEST(StringCompare, CompareExOrdersTheFirstCharacters) {
    const LimitedFact facts[] = {
        // null and empty texts
        {"", nullptr, 0, 1, 1},
        {nullptr, "", 0, -1, -1},
        {nullptr, nullptr, 0, 0, 0},
        {nullptr, nullptr, 3, 0, 0},
        {"", "", 0, 0, 0},
        {"", "b", 0, -1, -1},
        {"", "b", 2, -1, -1},
        {"a", "", 0, 1, 1},
        {"a", "", 2, 1, 1},
        // whole texts
        {"abc", "abc", 0, 0, 0},
        {"abc", "abd", 0, -1, -1},
        {"abd", "abc", -5, 1, 1},
        {"ab", "abc", 0, -1, -1},
        {"abc", "ab", 0, 1, 1},
        {"aB", "Ab", 0, 1, 0},
        {"\xE4", "a", 0, -1, -1},
        // the first n
        {"abc", "abd", 2, 0, 0},
        {"abc", "abd", 3, -1, -1},
        {"ab", "abc", 2, 0, 0},
        {"abc", "ab", 2, 0, 0},
        {"ab", "abc", 3, -1, -1},
        {"abc", "ab", 3, 1, 1},
        {"ab", "ab", 9, 0, 0},
        {"AB", "abX", 2, -1, 0},
        {"a", "abc", 5, -1, -1},
    };
    for (const LimitedFact &fact : facts) {
        EXPECT_EQ(__ZfxCompareEx(fact.a, fact.b, fact.n, false, false), fact.result)
            << shown(fact.a) << ' ' << shown(fact.b) << ' ' << fact.n;
        EXPECT_EQ(__ZfxCompareEx(fact.a, fact.b, fact.n, true, false), fact.resultNoCase)
            << shown(fact.a) << ' ' << shown(fact.b) << ' ' << fact.n;
        EXPECT_EQ(ZfxStrLenEquals(fact.a, fact.b, fact.n), fact.result == 0);
        EXPECT_EQ(ZfxStrLenNoCaseEquals(fact.a, fact.b, fact.n), fact.resultNoCase == 0);
    }
}

TEST(StringCompare, WithEqualityOnlyADifferentCharacterGivesOne) {
    EXPECT_EQ(__ZfxCompareEx("a", "b", 0, false, true), 1);
    EXPECT_EQ(__ZfxCompareEx("b", "a", 0, false, true), 1);
    EXPECT_EQ(__ZfxCompareEx("a", "ab", 0, false, true), -1);
    EXPECT_EQ(__ZfxCompareEx("ab", "a", 0, false, true), 1);
    EXPECT_EQ(__ZfxCompareEx("A", "a", 0, true, true), 0);
}

TEST(StringCompare, TextsAreEqualInWholeOrInTheirBeginning) {
    EXPECT_TRUE(ZfxStrLenEquals("abc", "abd", 2));
    EXPECT_FALSE(ZfxStrLenEquals("abc", "abd", 3));
    EXPECT_FALSE(ZfxStrLenEquals("abc", "ABd", 2));
    EXPECT_TRUE(ZfxStrLenNoCaseEquals("abc", "ABd", 2));
    EXPECT_FALSE(ZfxStrEquals("", "x"));
    EXPECT_FALSE(ZfxStrEquals("x", ""));
    EXPECT_TRUE(ZfxStrEquals("", ""));
    EXPECT_TRUE(ZfxStrEquals("x", "x"));
    EXPECT_FALSE(ZfxStrEquals("x", "X"));
    EXPECT_TRUE(ZfxStrNoCaseEquals("x", "X"));
    EXPECT_FALSE(ZfxStrNoCaseEquals("x", "Xy"));
    EXPECT_FALSE(ZfxStrEquals(nullptr, ""));
}

TEST(StringCompare, TwoNullTextsAreEqual) {
    EXPECT_TRUE(ZfxStrEquals(nullptr, nullptr));
    EXPECT_TRUE(ZfxStrNoCaseEquals(nullptr, nullptr));
    EXPECT_TRUE(ZfxStrLenEquals(nullptr, nullptr, 2));
    EXPECT_TRUE(ZfxStrLenNoCaseEquals(nullptr, nullptr, 2));
}

}  // namespace
