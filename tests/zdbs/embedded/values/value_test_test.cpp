#include "zdbs/embedded/values/value_test.h"

#include <gtest/gtest.h>

#include <string>

namespace zdbs::embedded {
namespace {

struct Fact {
    Relation relation;
    std::string literal;
    std::string value;
    bool matches;
};

constexpr auto eq = Relation::equal;
constexpr auto ne = Relation::notEqual;
constexpr auto lt = Relation::less;
constexpr auto le = Relation::lessEqual;
constexpr auto gt = Relation::greater;
constexpr auto ge = Relation::greaterEqual;

void check(const std::vector<Fact> &facts, Comparing comparing) {
    for (const Fact &fact : facts) {
        ValueTest test(fact.relation, fact.literal, comparing);
        EXPECT_EQ(test.matches(fact.value), fact.matches)
            << static_cast<int>(fact.relation) << " '" << fact.literal << "' '" << fact.value
            << "'";
    }
}

TEST(ValueTest, ComparesNumbersWhenTheLiteralIsACanonicalDecimal) {
    check(
        {
            {eq, "5", "5", true},      {eq, "5", "5.0", true},
            {eq, "5", " 05 ", true},   {eq, "5", "five", false},
            {eq, "5", "", false},      {eq, "5", "5e0", false},
            {eq, "2.50", "2.5", true}, {eq, "-3", "-3", true},
            {eq, "-3", "- 3", false},  {eq, "0", "-0", true},
            {eq, "-0", "0", true},     {ne, "5", "5.0", false},
            {ne, "5", "6", true},      {ne, "5", "five", true},
            {ne, "5", "", true},       {lt, "10", "9", true},
            {lt, "10", "10", false},   {lt, "10", "abc", false},
            {lt, "10", "", false},     {le, "10", "10.0", true},
            {gt, "9", "10", true},     {gt, "9", "abc", false},
            {ge, "9", "9", true},      {ge, "9", "8.9", false},
            {gt, "-1", "-0.5", true},  {eq, "0.3", "0.29999999999999998", true},
        },
        Comparing::asNumbers);
}

TEST(ValueTest, ComparesTextsWhenTheLiteralIsNoCanonicalDecimal) {
    check(
        {
            {eq, "05", "05", true},
            {eq, "05", "5", false},
            {eq, "+5", "5", false},
            {eq, "1e3", "1000", false},
            {eq, "1e3", "1e3", true},
            {eq, "abc", "abc", true},
            {eq, "abc", "ABC", false},
            {eq, "abc", " abc", false},
            {eq, " abc", " abc", true},
            {eq, "", "", true},
            {eq, "", "a", false},
            {ne, "", "a", true},
            {ne, "", "", false},
            {eq, "(5)", "(5)", true},
            {eq, "(5)", "5", false},
            {lt, "2020-01-15", "2019-12-31", true},
            {lt, "2020-01-15", "2020-01-15", false},
            {le, "2020-01-15", "2020-01-15", true},
            {gt, "2020-01-15", "2020-02-01", true},
            {gt, "b", "a", false},
            {lt, "b", "", true},
            {gt, "a", "ab", true},
            {lt, "\xEF\xBF\xBD", "\xF0\x90\x80\x80", false},
            {gt, "\xEF\xBF\xBD", "\xF0\x90\x80\x80", true},
            {eq, "\xC3\xA4", "a\xCC\x88", false},
        },
        Comparing::asNumbers);
}

TEST(ValueTest, ComparesTextsOnlyWhereItIsTold) {
    check({{eq, "5", "5", true}, {eq, "5", "5.0", false}, {lt, "10", "9", false}},
          Comparing::asTexts);
}

TEST(ValueTest, FindsWhatIsContained) {
    check(
        {
            {Relation::contains, "b", "abc", true},
            {Relation::contains, "abc", "abc", true},
            {Relation::contains, "abcd", "abc", false},
            {Relation::contains, "B", "abc", false},
            {Relation::contains, "", "", true},
            {Relation::contains, "", "abc", true},
            {Relation::contains, "5", "15.0", true},
            {Relation::contains, " ", "a b", true},
            {Relation::any, "", "", true},
            {Relation::any, "", "abc", true},
            {Relation::notEmpty, "", "", false},
            {Relation::notEmpty, "", " ", true},
        },
        Comparing::asNumbers);
}

TEST(ValueTest, MatchesNothingByALiteralThatIsNotUtf8) {
    check(
        {
            {Relation::contains, "\xA4", "\xC3\xA4", false},
            {Relation::contains, "\xC3", "\xC3\xA4", false},
            {eq, "\xA4", "\xA4", false},
            {lt, "\xFF", "a", false},
            {ge, "\x80", "\xC3\xA4", false},
            {ne, "\xA4", "a", true},
        },
        Comparing::asNumbers);
}

TEST(ValueTest, TakesLinearTimeToFindATextThatAlmostFits) {
    std::string value(200000, 'a');
    std::string needle = std::string(100000, 'a') + "b";
    EXPECT_FALSE(ValueTest(Relation::contains, needle, Comparing::asNumbers).matches(value));
}

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

Ranges rangesOf(Relation relation, const std::string &literal, const std::string &value) {
    Ranges result;
    for (HitRange hit : ValueTest(relation, literal, Comparing::asNumbers).hits(value)) {
        result.emplace_back(hit.offset, hit.length);
    }
    return result;
}

TEST(ValueTestHits, AreEachOccurrenceOfWhatIsContained) {
    EXPECT_EQ(rangesOf(Relation::contains, "an", "banana"), (Ranges{{1, 2}, {3, 2}}));
    EXPECT_EQ(rangesOf(Relation::contains, "ana", "banana"), (Ranges{{1, 3}}));
    EXPECT_EQ(rangesOf(Relation::contains, "x", "banana"), Ranges{});
    EXPECT_EQ(rangesOf(Relation::contains, "aa", "aaaaa"), (Ranges{{0, 2}, {2, 2}}));
}

TEST(ValueTestHits, AreTheWholeValueForTheOtherRelations) {
    EXPECT_EQ(rangesOf(eq, "5", " 5.0"), (Ranges{{0, 4}}));
    EXPECT_EQ(rangesOf(ne, "5", "6"), (Ranges{{0, 1}}));
    EXPECT_EQ(rangesOf(lt, "b", "a"), (Ranges{{0, 1}}));
    EXPECT_EQ(rangesOf(lt, "a", "b"), Ranges{});
    EXPECT_EQ(rangesOf(Relation::notEmpty, "", "abc"), (Ranges{{0, 3}}));
    EXPECT_EQ(rangesOf(Relation::any, "", "abc"), (Ranges{{0, 3}}));
    EXPECT_EQ(rangesOf(Relation::contains, "", "abc"), (Ranges{{0, 3}}));
}

TEST(ValueTestHits, AreNeverEmptyStretches) {
    EXPECT_EQ(rangesOf(Relation::any, "", ""), Ranges{});
    EXPECT_EQ(rangesOf(eq, "", ""), Ranges{});
    EXPECT_EQ(rangesOf(Relation::contains, "", ""), Ranges{});
}

TEST(ValueTest, AppendsHitsToThoseThatAreThereAlready) {
    std::vector<HitRange> ranges{{7, 1}};
    ValueTest(Relation::contains, "ab", Comparing::asTexts).addHits("ab-ab", ranges);
    ValueTest(Relation::equal, "ab", Comparing::asTexts).addHits("ab", ranges);
    ValueTest(Relation::equal, "ab", Comparing::asTexts).addHits("ba", ranges);
    ValueTest(Relation::contains, "", Comparing::asTexts).addHits("ab", ranges);
    ValueTest(Relation::contains, "a", Comparing::asTexts).addHits({}, ranges);
    std::string text;
    for (const HitRange &range : ranges)
        text += std::to_string(range.offset) + "+" + std::to_string(range.length) + " ";
    EXPECT_EQ(text, "7+1 0+2 3+2 0+2 0+2 ");
}

}  // namespace
}  // namespace zdbs::embedded
