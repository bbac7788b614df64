// Searching, comparing and copying out.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "foundation/string_buffer.h"
#include "tests/foundation/buffer_text.h"

namespace {

TEST(StringBufferSearch, FindGivesThePositionOfTheFirstMatch) {
    struct Fact {
        const char *text, *wanted;
        int start;
        int position, positionNoCase;
    };
    const Fact facts[] = {
        {"abcabc", "b", 0, 1, 1},
        {"abcabc", "b", 1, 1, 1},
        {"abcabc", "b", 2, 4, 4},
        {"abcabc", "bc", 2, 4, 4},
        {"abcabc", "cab", 0, 2, 2},
        {"abcabc", "x", 0, -1, -1},
        {"abcabc", "abcabcd", 0, -1, -1},
        {"abcABC", "ABC", 0, 3, 0},
        {"abcABC", "aBc", 1, -1, 3},
        {"abc", "", 1, 1, 1},
        {"abc", nullptr, 1, 1, 1},
        {"abc", "c", 2, 2, 2},
        {"xxx", "x", 3, -1, -1},
        {"xxx", "x", -1, -1, -1},
        {"xxx", "x", INT_MAX, -1, -1},
        {"xxx", "x", INT_MIN, -1, -1},
        {"", "x", 0, -1, -1},
        {"", "", 0, -1, -1},
    };
    for (const Fact &fact : facts) {
        const CStringBuffer buffer(fact.text);
        EXPECT_EQ(buffer.find(fact.wanted, fact.start), fact.position)
            << fact.text << ' ' << fact.start;
        EXPECT_EQ(buffer.find(fact.wanted, fact.start, true), fact.positionNoCase)
            << fact.text << ' ' << fact.start;
        EXPECT_EQ(textOf(buffer), fact.text);
    }
}

TEST(StringBufferSearch, FindOfACharacterGivesThePositionInTheText) {
    struct Fact {
        const char *text;
        char wanted;
        int start;
        int position, positionNoCase;
    };
    const Fact facts[] = {
        {"abcABC", 'B', 0, 4, 1},   {"abcABC", 'b', 0, 1, 1}, {"abcABC", 'b', 2, -1, 4},
        {"abcABC", 'x', 0, -1, -1}, {"a=b", '=', 0, 1, 1},    {"xxx", 'x', 3, -1, -1},
        {"xxx", 'x', -1, -1, -1},   {"", 'x', 0, -1, -1},     {"abc", 'c', 2, 2, 2},
    };
    for (const Fact &fact : facts) {
        const CStringBuffer buffer(fact.text);
        EXPECT_EQ(buffer.find(fact.wanted, fact.start), fact.position) << fact.text;
        EXPECT_EQ(buffer.find(fact.wanted, fact.start, true), fact.positionNoCase) << fact.text;
    }
}

TEST(StringBufferSearch, FindReverseGivesThePositionOfTheLastMatch) {
    struct Fact {
        const char *text;
        char wanted;
        int position, positionNoCase;
    };
    const Fact facts[] = {
        {"abcabc", 'b', 4, 4}, {"abcABC", 'b', 1, 4}, {"abcABC", 'A', 3, 3},
        {"abc", 'x', -1, -1},  {"", 'x', -1, -1},     {"/a/b", '/', 2, 2},
    };
    for (const Fact &fact : facts) {
        const CStringBuffer buffer(fact.text);
        EXPECT_EQ(buffer.findReverse(fact.wanted), fact.position) << fact.text;
        EXPECT_EQ(buffer.findReverse(fact.wanted, true), fact.positionNoCase) << fact.text;
    }
}

TEST(StringBufferSearch, EndsWithComparesTheLastBytes) {
    struct Fact {
        const char *text, *wanted;
        int n;
        bool result, resultNoCase;
    };
    const Fact facts[] = {
        {"abc;", ";", -1, true, true},     {"abc", "bc", -1, true, true},
        {"abc", "BC", -1, false, true},    {"abc", "ab", -1, false, false},
        {"abc", "abc", -1, true, true},    {"abc", "xabc", -1, false, false},
        {"abc", "", -1, true, true},       {"", "", -1, true, true},
        {"", "a", -1, false, false},       {"abc", "cX", 1, true, true},
        {"abc", "Cx", 1, false, true},     {"abc", "x", 0, true, true},
        {"abc", nullptr, -1, true, true},  {"abc", nullptr, 0, true, true},
        {"abc", nullptr, 1, false, false}, {"abc", "abc", INT_MAX, false, false},
    };
    for (const Fact &fact : facts) {
        const CStringBuffer buffer(fact.text);
        const char *shown = fact.wanted != nullptr ? fact.wanted : "(null)";
        EXPECT_EQ(buffer.endsWith(fact.wanted, fact.n, false), fact.result) << shown;
        EXPECT_EQ(buffer.endsWith(fact.wanted, fact.n, true), fact.resultNoCase) << shown;
    }
}

TEST(StringBufferSearch, CompareNoCaseOrdersWithoutRegardToCase) {
    const CStringBuffer buffer("Child");
    EXPECT_EQ(buffer.compareNoCase("CHILD"), 0);
    EXPECT_LT(buffer.compareNoCase("childs"), 0);
    EXPECT_GT(buffer.compareNoCase("chil"), 0);
    EXPECT_LT(buffer.compareNoCase("D"), 0);
    EXPECT_GT(buffer.compareNoCase(nullptr), 0);
}

TEST(StringBufferSearch, BuffersAreEqualWhenTheirLengthsAndBytesAre) {
    const CStringBuffer buffer("abc");
    CStringBuffer other(8);
    EXPECT_FALSE(buffer == other);
    other.set("abc");
    EXPECT_TRUE(buffer == other);
    other.set("abd");
    EXPECT_TRUE(buffer != other);
    CStringBuffer withNul;
    withNul.set("a\0b", 3);
    other.set("a\0c", 3);
    EXPECT_FALSE(withNul == other);
    const CStringBuffer empty;
    const CStringBuffer withoutBlock(empty);
    EXPECT_TRUE(empty == withoutBlock);
    EXPECT_TRUE(withoutBlock == empty);
}

TEST(StringBufferSearch, CopyToCutsToTheSizeAndTerminates) {
    struct Fact {
        const char *text;
        int size, copied;
        const char *target;
    };
    const Fact facts[] = {
        {"abc", 0, 0, "untouched"}, {"abc", -1, 0, "untouched"},
        {"abc", 1, 0, ""},          {"abc", 2, 1, "a"},
        {"abc", 3, 2, "ab"},        {"abc", 4, 3, "abc"},
        {"abc", 10, 3, "abc"},      {"", 10, 0, ""},
        {"", 0, 0, "untouched"},
    };
    for (const Fact &fact : facts) {
        char target[] = "untouched";
        EXPECT_EQ(CStringBuffer(fact.text).copyTo(target, fact.size), fact.copied) << fact.size;
        EXPECT_STREQ(target, fact.target) << fact.size;
    }
}

TEST(StringBufferSearch, CopyToWithSizeOneWritesNothingButTheNul) {
    char target[] = "xyz";
    EXPECT_EQ(CStringBuffer("abc").copyTo(target, 1), 0);
    EXPECT_EQ(std::string(target, 3), std::string("\0yz", 3));
}

TEST(StringBufferSearch, GetSubStrSetsOrAppendsAPartOfAnotherBuffer) {
    struct Fact {
        const char *source;
        int start, count;
        const char *set, *appended;
    };
    const Fact facts[] = {
        {"abcdef", 1, 2, "bc", "oldbc"},
        {"abcdef", 0, 6, "abcdef", "oldabcdef"},
        {"abcdef", 4, 2, "ef", "oldef"},
        {"abcdef", 4, 3, "ef", "oldef"},
        {"abcdef", 4, -1, "ef", "oldef"},
        {"abcdef", 4, INT_MAX, "ef", "oldef"},
        {"abcdef", 4, 0, "", "old"},
        {"abcdef", 6, 1, "", "old"},
        {"abcdef", INT_MAX, 1, "", "old"},
        {"abcdef", -2, 2, "ab", "oldab"},
        {"", 0, 1, "", "old"},
    };
    for (const Fact &fact : facts) {
        const CStringBuffer source(fact.source);
        CStringBuffer target("old");
        target.getSubStr(source, fact.start, fact.count, true);
        EXPECT_STREQ(target, fact.appended) << fact.start << ' ' << fact.count;
        target.set("old");
        target.getSubStr(source, fact.start, fact.count, false);
        EXPECT_STREQ(target, fact.set) << fact.start << ' ' << fact.count;
    }
}

TEST(StringBufferSearch, GetSubStrOfTheBufferItself) {
    CStringBuffer buffer(4);
    buffer.set("abcdef");
    buffer.getSubStr(buffer, 2, 3, true);
    EXPECT_STREQ(buffer, "abcdefcde");
    buffer.getSubStr(buffer, 2, 3, false);  // it has been cleared before it is read
    EXPECT_STREQ(buffer, "");
}

}  // namespace
