#include "zdbs/embedded/columns/value_column.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "sample_columns.h"

namespace zdbs::embedded {
namespace {

using Rows = std::vector<std::uint32_t>;

/** How often a text is contained; one for a value by every other relation. */
std::uint64_t hitsIn(const ValueColumn &column, const ValueTest &test, const Rows &rows) {
    std::uint64_t hits = 0;
    for (std::uint32_t row : rows)
        hits += test.relation() == Relation::contains && !test.literal().empty()
                    ? test.hits(column.at(row)).size()
                    : 1;
    return hits;
}

/** Compares the numbers that a column tells with those of the rows that pass. */
void expectCounted(const ValueColumn &column, const ValueTest &test, const Rows &rows) {
    const std::uint64_t hits = hitsIn(column, test, rows);
    const FoundRows found = column.find(test);
    ASSERT_EQ(found.count(), rows.size()) << describe(test);
    ASSERT_EQ(found.hits(), hits) << describe(test);
    ASSERT_EQ(found.size(), column.size());
    ASSERT_EQ(found.index(), column.indexFor(test)) << describe(test);
    const std::optional<FoundCount> count = column.count(test);
    const bool isSearched =
        found.index() == ValueIndex::trigrams || found.index() == ValueIndex::scan;
    ASSERT_TRUE(count || isSearched) << describe(test);
    if (!count) return;
    ASSERT_EQ(count->rows, rows.size()) << describe(test);
    ASSERT_EQ(count->hits, hits) << describe(test);
    ASSERT_EQ(count->index, found.index()) << describe(test);
    for (const std::uint32_t row : rows)
        ASSERT_EQ(test.countHits(column.at(row)) > 0, true) << describe(test);
}

/** Compares all that a column answers with testing its values one by one. */
void expectRight(const Texts &texts, const Texts &literals, std::set<ValueIndex> *used = nullptr) {
    std::string bytes = columnOf(texts);
    ASSERT_TRUE(ValueColumn::isWhole(bytes));
    ValueColumn column(bytes);
    ASSERT_EQ(column.size(), texts.size());
    for (std::uint32_t row = 0; row < texts.size(); ++row)
        ASSERT_EQ(column.at(row), texts[row]) << "row " << row;
    ASSERT_EQ(column.check(), std::vector<std::string>());
    ValueColumn::Sizes sizes = column.sizes();
    ASSERT_EQ(sizes.values + sizes.textOrder + sizes.numberOrder + sizes.trigrams, bytes.size());
    for (const std::string &literal : literals) {
        for (const ValueTest &test : testsFor(literal)) {
            Rows expected = rowsOf(column, test);
            Rows rows{7};
            column.select(test, 0, rows);
            ASSERT_EQ(rows[0], 7U);
            rows.erase(rows.begin());
            ASSERT_EQ(rows, expected) << describe(test) << " in " << texts.size();
            expectCounted(column, test, expected);
            ASSERT_GE(column.estimate(test), expected.size()) << describe(test);
            ValueIndex index = column.indexFor(test);
            if (used != nullptr) used->insert(index);
            bool allOrNothing = expected.empty() || expected.size() == texts.size() ||
                                test.relation() == Relation::notEqual;
            ASSERT_TRUE(index != ValueIndex::none || allOrNothing) << describe(test);
        }
    }
}

TEST(ValueColumn, SelectsWhatTheTestMatchesInColumnsOfEverySizeAndKind) {
    std::mt19937 random(1);
    for (Kind kind : allKinds) {
        for (std::size_t size : {0, 1, 2, 10, 63, 64, 65, 129, 300}) {
            Texts texts = sampleTexts(kind, size, random);
            expectRight(texts, sampleLiterals(texts, random));
            if (HasFatalFailure()) FAIL() << "kind " << static_cast<int>(kind) << " size " << size;
        }
    }
}

TEST(ValueColumn, SelectsWhatTheTestMatchesInLargerColumns) {
    std::mt19937 random(2);
    for (Kind kind : allKinds) {
        for (std::size_t size : {1025, 2500}) {
            Texts texts = sampleTexts(kind, size, random);
            Texts literals = sampleLiterals(texts, random);
            literals.erase(literals.begin() + 6, literals.end() - 6);
            expectRight(texts, literals);
            if (HasFatalFailure()) FAIL() << "kind " << static_cast<int>(kind) << " size " << size;
        }
    }
}

/** Sentences of half a megabyte, in which blocks are looked up. */
Texts longTexts() {
    std::mt19937 random(3);
    Texts texts = sampleTexts(Kind::words, 7000, random);
    texts[10] += "Zanzibar";
    texts[6000] += "Zanzibar";
    texts[6001] = std::string(200000, 'x').append("Zanzibar");
    texts[6002] = "Zanzibar";
    texts[6003] = "Zanzi";
    texts[6004] = "bar";
    return texts;
}

TEST(ValueColumn, SelectsWhatTheTestMatchesInLongTexts) {
    std::mt19937 random(4);
    Texts texts = longTexts();
    Texts literals{"Zanzibar", "anzi", "x", "xx", "xZa", "w299 Zo", "nowhere", "w17", "", "\xFF"};
    for (std::size_t row : {100U, 6003U})
        for (std::size_t length = 1; length <= 20; length += 1 + row / 3000)
            literals.push_back((texts[row] + texts[row + 1]).substr(random() % 4, length));
    std::set<ValueIndex> used;
    expectRight(texts, literals, &used);
    EXPECT_EQ(used, (std::set{ValueIndex::none, ValueIndex::textOrder, ValueIndex::trigrams,
                              ValueIndex::scan}));
}

TEST(ValueColumn, SelectsWhatTheTestMatchesInADictionaryOfLongTexts) {
    std::mt19937 random(5);
    Texts distinct = longTexts();
    Texts texts;
    for (int i = 0; i < 21000; ++i)
        texts.push_back(distinct[random() % distinct.size()]);
    expectRight(texts, {"Zanzibar", "w17", "x", "w1 ", "nowhere"});
}

TEST(ValueColumn, DoesNotFindAcrossTheEndsOfValues) {
    Texts texts(100, "aa");
    for (std::size_t i = 0; i < texts.size(); ++i)
        texts[i] += std::string(i % 3, 'a') + (i % 7 == 0 ? "b" : "");
    Texts literals;
    for (std::size_t length = 1; length <= 20; ++length) {
        literals.push_back(std::string(length, 'a'));
        literals.push_back(std::string(length, 'a') + "b");
        literals.push_back("b" + std::string(length, 'a'));
    }
    expectRight(texts, literals);
    // The same in values that are all distinct, which are not kept in a dictionary.
    for (std::size_t i = 0; i < texts.size(); ++i)
        texts[i] += std::string(i, 'c');
    expectRight(texts, literals);
}

struct IndexFact {
    Kind kind;
    std::size_t size;
    Relation relation;
    std::string literal;
    ValueIndex index;
};

TEST(ValueColumn, TellsWhichIndexItUses) {
    const IndexFact facts[] = {
        {Kind::ids, 64, Relation::equal, "x", ValueIndex::scan},
        {Kind::ids, 65, Relation::equal, "x", ValueIndex::textOrder},
        {Kind::ids, 65, Relation::less, "x", ValueIndex::textOrder},
        {Kind::ids, 65, Relation::notEmpty, "", ValueIndex::textOrder},
        {Kind::ids, 65, Relation::contains, "x", ValueIndex::scan},
        {Kind::ids, 65, Relation::any, "", ValueIndex::none},
        {Kind::ids, 65, Relation::contains, "", ValueIndex::none},
        {Kind::ids, 65, Relation::equal, "\xFF", ValueIndex::none},
        {Kind::ids, 65, Relation::greater, "5", ValueIndex::none},  // none of them is a number
        {Kind::ids, 30000, Relation::contains, "123", ValueIndex::trigrams},
        {Kind::ids, 30000, Relation::contains, "12", ValueIndex::scan},
        {Kind::numbers, 65, Relation::equal, "5", ValueIndex::numberOrder},
        {Kind::numbers, 65, Relation::equal, "five", ValueIndex::textOrder},
        {Kind::few, 65, Relation::equal, "Male", ValueIndex::dictionary},
        {Kind::few, 65, Relation::contains, "ale", ValueIndex::dictionary},
        {Kind::many, 5000, Relation::less, "5", ValueIndex::dictionary},
    };
    for (const IndexFact &fact : facts) {
        std::mt19937 random(6);
        std::string bytes = columnOf(sampleTexts(fact.kind, fact.size, random));
        ValueTest test(fact.relation, fact.literal, Comparing::asNumbers);
        EXPECT_EQ(ValueColumn(bytes).indexFor(test), fact.index)
            << static_cast<int>(fact.kind) << " " << fact.size << " " << describe(test);
    }
}

TEST(ValueColumn, EstimatesExactlyFromAnOrderAndFromADictionary) {
    std::mt19937 random(7);
    for (Kind kind : {Kind::ids, Kind::numbers, Kind::few, Kind::many}) {
        Texts texts = sampleTexts(kind, 700, random);
        std::string bytes = columnOf(texts);
        ValueColumn column(bytes);
        for (const std::string &literal : sampleLiterals(texts, random)) {
            for (const ValueTest &test : testsFor(literal)) {
                if (column.indexFor(test) == ValueIndex::scan) continue;
                ASSERT_EQ(column.estimate(test), rowsOf(column, test).size()) << describe(test);
            }
        }
    }
}

TEST(ValueColumn, EstimatesFewWhenOnlyAFewBlocksCanHoldTheLiteral) {
    std::string bytes = columnOf(longTexts());
    ValueColumn column(bytes);
    EXPECT_EQ(column.estimate({Relation::contains, "Mozambique", Comparing::asTexts}), 0U);
    EXPECT_LT(column.estimate({Relation::contains, "Zanzibar", Comparing::asTexts}), 4500U);
}

TEST(ValueColumn, EstimatesFewInADictionaryOfWhichOnlyAFewBlocksCanHoldTheLiteral) {
    Texts texts = longTexts();
    Texts twice = texts;
    twice.insert(twice.end(), texts.begin(), texts.end());
    std::string bytes = columnOf(twice);
    ValueColumn column(bytes);
    ValueTest test(Relation::contains, "Zanzibar", Comparing::asTexts);
    ASSERT_EQ(column.indexFor(test), ValueIndex::dictionary);
    EXPECT_EQ(column.estimate({Relation::contains, "Mozambique", Comparing::asTexts}), 0U);
    EXPECT_GE(column.estimate(test), 8U);
    EXPECT_LT(column.estimate(test), 10000U);
}

TEST(ValueColumn, AddsTheBaseToEachRow) {
    for (std::size_t size : {10U, 100U}) {
        std::string bytes = columnOf(Texts(size, "a"));
        for (Relation relation : {Relation::equal, Relation::any, Relation::contains}) {
            Rows rows{1, 2};
            ValueColumn(bytes).select({relation, "a", Comparing::asTexts}, 1000, rows);
            ASSERT_EQ(rows.size(), size + 2);
            EXPECT_EQ(rows[1], 2U);
            EXPECT_EQ(rows[2], 1000U);
            EXPECT_EQ(rows.back(), 999U + size);
        }
    }
}

TEST(ValueColumn, OfNothingAnswersNothing) {
    ValueColumn column;
    EXPECT_EQ(column.size(), 0U);
    EXPECT_TRUE(column.check().empty());
    for (const ValueTest &test : testsFor("5")) {
        Rows rows;
        column.select(test, 0, rows);
        EXPECT_TRUE(rows.empty());
        EXPECT_EQ(column.estimate(test), 0U);
        EXPECT_EQ(column.indexFor(test), ValueIndex::none);
    }
    EXPECT_EQ(column.sizes().values, 0U);
}

TEST(ValueColumn, NeedsFewBytesBesideAFewValues) {
    EXPECT_EQ(columnOf({}).size(), 6U);
    EXPECT_EQ(columnOf({"abc"}).size(), 6U + 2 + 3);
    EXPECT_EQ(columnOf(Texts(10, "abc")).size(), 6U + 20 + 30);
}

TEST(ValueColumn, NeedsFewBytesForValuesThatAreAllTheSame) {
    EXPECT_LT(columnOf(Texts(64000, "\n      ")).size(), 64000U / 8 + 100);
}

}  // namespace
}  // namespace zdbs::embedded
