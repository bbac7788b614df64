#include "zdbs/embedded/values/value_key.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {
namespace {

// They stand in files: whoever changes one of these makes a new format.
TEST(ValueKey, IsTheSameForAllTime) {
    const struct {
        std::string value;
        ValueKey key;
    } facts[] = {
        {"", 0xbf6565d7},
        {"a", 0x9290d957},
        {"Iceland", 0xf363d539},
        {"sixteen bytes ..", 0x366b4aba},
        {"seventeen bytes .", 0xf312e05},
        {std::string("\0", 1), 0xc90abba3},
        {"Stra\xc3\x9f"
         "e, eine ganz lange, mit \xe2\x82\xac und allem",
         0x435df084},
        {"0", 0xf03c262b},
        {"1", 0xc2161024},
        {"-2.5", 0x403ac69},
        {"1e3", 0x5197ec9e},
        {std::string(400, '9'), 0x5b18a22c},
    };
    for (const auto &fact : facts)
        EXPECT_EQ(valueKeyOf(fact.value), fact.key) << fact.value;
}

TEST(ValueKey, IsOneForTextsThatAreTheSameNumber) {
    const std::vector<std::string> groups[] = {
        {"5", "5.0", " 05 ", "005.", "\t5\n"},
        {"0", "-0", "0.0", "-0.000", ".0"},
        {"-3", "-3.0", " -03"},
        {"2.50", "2.5", "02.5"},
        {std::string(400, '9'), '1' + std::string(400, '0')},
    };
    std::set<ValueKey> keys;
    for (const auto &group : groups) {
        for (const std::string &text : group)
            EXPECT_EQ(valueKeyOf(text), valueKeyOf(group[0])) << text;
        keys.insert(valueKeyOf(group[0]));
    }
    EXPECT_EQ(keys.size(), std::size(groups));
}

TEST(ValueKey, DependsOnEachByteAndTheLength) {
    std::set<ValueKey> keys;
    std::size_t texts = 0;
    for (std::size_t size = 1; size < 60; ++size) {
        const std::string text(size, '\0');
        keys.insert(valueKeyOf(text));
        ++texts;
        for (std::size_t at = 0; at < size; ++at) {
            for (const char byte : {'\1', '\x40', '\x80'}) {
                std::string other = text;
                other[at] = byte;
                keys.insert(valueKeyOf(other));
                ++texts;
            }
        }
    }
    // Of some five thousand texts two might share one of four thousand million keys.
    EXPECT_GE(keys.size(), texts - 1);
}

TEST(ValueKey, SpreadsOverAllBits) {
    constexpr std::size_t texts = 1 << 16;
    std::vector<std::size_t> byHigh(256);
    std::vector<std::size_t> byLow(256);
    for (std::size_t i = 0; i < texts; ++i) {
        const ValueKey key = valueKeyOf("item" + std::to_string(i));
        ++byHigh[key >> 24U];
        ++byLow[key & 255U];
    }
    for (const auto &counts : {byHigh, byLow}) {
        for (const std::size_t count : counts) {
            EXPECT_GT(count, texts / 256 / 2);
            EXPECT_LT(count, texts / 256 * 2);
        }
    }
}

TEST(ValueKey, OfATestIsThatOfEveryValueThatPasses) {
    const std::vector<std::string> texts = {"",   "5",    "5.0", " 05 ", "-0",      "0",
                                            "00", "five", "5e0", "2.50", "\xff",    "a",
                                            "A",  "a ",   "-3",  "0.0",  "\xc3\xa4"};
    std::size_t passing = 0;
    for (const std::string &literal : texts) {
        for (const Comparing comparing : {Comparing::asTexts, Comparing::asNumbers}) {
            const ValueTest test(Relation::equal, literal, comparing);
            EXPECT_EQ(test.key().has_value(), test.isWellFormed());
            for (const std::string &value : texts) {
                if (!test.matches(value)) continue;
                EXPECT_EQ(valueKeyOf(value), test.key()) << literal << " and " << value;
                ++passing;
            }
        }
    }
    EXPECT_GT(passing, texts.size());
}

TEST(ValueKey, IsOfTestsForEqualityOnly) {
    for (const Relation relation :
         {Relation::notEqual, Relation::less, Relation::lessEqual, Relation::greater,
          Relation::greaterEqual, Relation::contains, Relation::notEmpty, Relation::any})
        EXPECT_FALSE(ValueTest(relation, "5", Comparing::asNumbers).key());
}

}  // namespace
}  // namespace zdbs::embedded
