#include "zdbs/load/entity_table.h"

#include <gtest/gtest.h>

#include <string>

namespace zdbs {
namespace {

constexpr auto general = EntityTable::Kind::general;
constexpr auto parameter = EntityTable::Kind::parameter;

TEST(EntityTable, KnowsThePredefinedEntities) {
    const EntityTable table(10);
    for (const char *name : {"lt", "gt", "amp", "apos", "quot"})
        EXPECT_FALSE(table.firstUnexpandable(name)) << name;
    EXPECT_EQ(table.firstUnexpandable("nbsp"), "nbsp");
}

TEST(EntityTable, FindsTheFirstEntityThatStandsInTheWay) {
    EntityTable table(10);
    table.declare(general, "a", "text");
    table.declare(general, "b", "x&a;y");
    table.declare(general, "c", "x&missing;y");
    table.declare(general, "d", "&b;&c;");
    table.declare(general, "e", std::nullopt);
    table.declare(general, "f", "&#38;&lt;&amp;");
    table.declare(general, "g", "&g;");
    table.declare(parameter, "h", "text");
    EXPECT_FALSE(table.firstUnexpandable("a"));
    EXPECT_FALSE(table.firstUnexpandable("b"));
    EXPECT_EQ(table.firstUnexpandable("c"), "missing");
    EXPECT_EQ(table.firstUnexpandable("d"), "missing");
    EXPECT_EQ(table.firstUnexpandable("e"), "e");
    EXPECT_FALSE(table.firstUnexpandable("f"));
    EXPECT_FALSE(table.firstUnexpandable("g"));
    EXPECT_EQ(table.firstUnexpandable("h"), "h");
}

TEST(EntityTable, FindsReferencesInMarkup) {
    EntityTable table(10);
    table.declare(general, "known", "x");
    const auto find = [&](const char *text) {
        return table.firstUnexpandableIn(text).value_or("-");
    };
    EXPECT_EQ(find(""), "-");
    EXPECT_EQ(find("<a b='&known;&lt;&#65;&#x41;'>"), "-");
    EXPECT_EQ(find("<a b='&known;&other;'>"), "other");
    EXPECT_EQ(find("<a b='&one;' c='&two;'>"), "one");
    EXPECT_EQ(find("&;"), "-");
    EXPECT_EQ(find("& x;"), "-");
    EXPECT_EQ(find("&x"), "-");
    EXPECT_EQ(find("&x&y;"), "y");
}

TEST(EntityTable, TakesTheFirstDeclarationOfAName) {
    EntityTable table(10);
    table.declare(general, "e", "x");
    table.declare(general, "e", "&missing;");
    table.declare(general, "f", std::nullopt);
    table.declare(general, "f", "x");
    EXPECT_FALSE(table.firstUnexpandable("e"));
    EXPECT_EQ(table.firstUnexpandable("f"), "f");
}

TEST(EntityTable, CountsTheNestingInEveryOrderOfDeclaration) {
    // Each digit declares that entity; i refers to i + 1, and 3 to nothing.
    for (const char *order : {"0123", "3210", "1302", "2031", "3021"}) {
        for (const std::size_t limit : {3U, 4U}) {
            EntityTable table(limit);
            bool fits = true;
            for (const char *number = order; *number; ++number) {
                const std::string text =
                    *number == '3' ? "x" : std::string("&") + static_cast<char>(*number + 1) + ";";
                fits = table.declare(general, std::string(1, *number), text) && fits;
            }
            EXPECT_EQ(fits, limit == 4) << order << limit;
        }
    }
}

TEST(EntityTable, LeavesShortCyclesToTheParser) {
    EntityTable table(10);
    EXPECT_TRUE(table.declare(general, "a", "&b;"));
    EXPECT_TRUE(table.declare(general, "b", "&c;"));
    EXPECT_TRUE(table.declare(general, "c", "&a;"));
    EXPECT_TRUE(table.declare(general, "self", "&self;&self;"));
    EXPECT_TRUE(table.declare(general, "d", "&a;"));
}

TEST(EntityTable, DoesNotMixKinds) {
    EntityTable table(1);
    EXPECT_TRUE(table.declare(general, "a", "%b; 100%"));
    EXPECT_TRUE(table.declare(parameter, "b", "&a;"));
    EXPECT_TRUE(table.declare(parameter, "a", "x"));
    EXPECT_FALSE(table.declare(parameter, "c", "%a;"));
}

}  // namespace
}  // namespace zdbs
