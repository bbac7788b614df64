// Editing in place, and what appending does afterwards.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/string_buffer.h"
#include "tests/foundation/buffer_text.h"

namespace {

struct ReplaceFact {
    const char *text, *find, *repl, *result;
};

TEST(StringBufferEdit, InsertPutsTheTextBeforeThePosition) {
    struct Fact {
        const char *text, *inserted;
        int pos;
        const char *result;
    };
    const Fact facts[] = {
        {"abc", "x", 0, "xabc"},    {"abc", "xy", 1, "axybc"}, {"abc", "x", 2, "abxc"},
        {"abc", "x", 3, "abcx"},    {"abc", "x", 99, "abcx"},  {"abc", "x", -1, "xabc"},
        {"", "x", 0, "x"},          {"", "x", -5, "x"},        {"abc", "", 1, "abc"},
        {"abc", nullptr, 1, "abc"},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.text);
        buffer.insert(fact.inserted, fact.pos);
        EXPECT_STREQ(buffer, fact.result) << fact.pos;
        EXPECT_EQ(buffer.length(), static_cast<int>(std::strlen(fact.result)));
    }
}

TEST(StringBufferEdit, InsertTakesBuffersAndIntegers) {
    CStringBuffer buffer("abc");
    buffer.insert(CStringBuffer("--"), 1);
    EXPECT_STREQ(buffer, "a--bc");
    buffer.insert(-12, 0);
    EXPECT_STREQ(buffer, "-12a--bc");
    buffer.insert(buffer, 3);
    EXPECT_STREQ(buffer, "-12-12a--bca--bc");
    const CStringBuffer empty;
    buffer.insert(CStringBuffer(empty), 1);
    EXPECT_STREQ(buffer, "-12-12a--bca--bc");
}

TEST(StringBufferEdit, ReplaceTakesEveryOccurrenceFromRightToLeft) {
    const ReplaceFact facts[] = {
        {"ababab", "ab", "x", "xxx"},
        {"aa", "a", "aa", "aaaa"},
        {"aaa", "aa", "b", "ab"},
        {"aaa", "aa", "bbb", "abbb"},
        {"abc", "b", "x", "axc"},
        {"abc", "b", "", "ac"},
        {"abc", "abc", "", ""},
        {"abc", "x", "y", "abc"},
        {"abc", "abcd", "y", "abc"},
        {"abc", "", "-", "-a-b-c-"},
        {"", "", "-", "-"},
        {"abc", "", "", "abc"},
        {"", "a", "b", ""},
        {"it's", "'", "''", "it''s"},
        {"aXbXc", "X", "<->", "a<->b<->c"},
        {"XX", "X", "XX", "XXXX"},
        {"abab", "ab", "ba", "baba"},
        {"abc", nullptr, "-", "-a-b-c-"},
        {"abc", "b", nullptr, "ac"},
    };
    for (const ReplaceFact &fact : facts) {
        CStringBuffer buffer(fact.text);
        buffer.replace(fact.find, fact.repl);
        EXPECT_STREQ(buffer, fact.result);
        EXPECT_EQ(buffer.length(), static_cast<int>(std::strlen(fact.result)));
    }
}

TEST(StringBufferEdit, ReplaceGrowsTheBlockAndAdoptsIt) {
    CStringBuffer buffer(4);
    buffer.set("aXb");
    buffer.replace("X", "12345678");
    EXPECT_STREQ(buffer, "a12345678b");
    EXPECT_EQ(buffer.length(), 10);
    EXPECT_EQ(buffer.bufLength(), 16);
}

TEST(StringBufferEdit, ReplaceTakesTextsOfTheBufferItself) {
    CStringBuffer buffer(4);
    buffer.set("aba");
    buffer.replace(buffer.getBufferPointer() + 2, buffer.getBufferPointer());
    EXPECT_STREQ(buffer, "abababa");
}

TEST(StringBufferEdit, ReplaceByALongerTextWritesNoNulBehindIt) {
    CStringBuffer buffer("0123456789");
    buffer.set("ab");
    buffer.replace("b", "xyz");
    EXPECT_EQ(textOf(buffer), "axyz");
    EXPECT_STREQ(buffer, "axyz456789");
}

TEST(StringBufferEdit, WhateverAnAttachedBlockHeldEndsAtItsLastByte) {
    auto *block = static_cast<char *>(std::malloc(10));
    std::memset(block, '#', 10);
    std::memcpy(block, "ab", 2);
    CStringBuffer buffer;
    buffer.attach(block, 2, 10);
    EXPECT_STREQ(buffer, "ab");
    buffer.replace("b", "xyz");
    EXPECT_EQ(textOf(buffer), "axyz");
    EXPECT_STREQ(buffer, "axyz#####");
}

TEST(StringBufferEdit, AppendingAfterReplaceByAShorterTextLeavesAGap) {
    CStringBuffer buffer("abab");
    buffer.replace("ab", "x");
    EXPECT_STREQ(buffer, "xx");
    buffer.append("y");
    EXPECT_EQ(buffer.length(), 3);
    EXPECT_STREQ(buffer, "xx");
    EXPECT_EQ(buffer[4], 'y');
    EXPECT_EQ(buffer[5], '\0');
}

TEST(StringBufferEdit, TheGapAfterReplaceByAShorterTextHoldsWhatEveryReplacementLeft) {
    struct Fact {
        const char *text, *find, *repl, *appended;
        std::string result;
    };
    const Fact facts[] = {
        {"ababab", "ab", "x", "12345",
         std::string("xxx\0\0\0"
                     "12",
                     8)},
        {"abcabcXYZ", "abc", "d", "12345", std::string("ddXYZ\0Z\0Z1", 10)},
        {"abcd", "abcd", "x", "123", std::string("x\0cd", 4)},
        {"abcdabcd", "bcd", "", "1234567", std::string("aa\0da\0cd1", 9)},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.text);
        buffer.replace(fact.find, fact.repl);
        buffer.append(fact.appended);
        EXPECT_EQ(textOf(buffer), fact.result) << fact.text;
    }
}

TEST(StringBufferEdit, AppendingAfterReplaceByALongerTextWritesOverItsTail) {
    CStringBuffer buffer("ab");
    buffer.replace("b", "123456");
    buffer.append("y");
    EXPECT_EQ(buffer.length(), 8);
    EXPECT_STREQ(buffer, "a1y");
    EXPECT_EQ(std::memcmp(buffer,
                          "a1y\0"
                          "456",
                          7),
              0);
}

TEST(StringBufferEdit, ReplaceKeepsTheEndMarkerInANewBlock) {
    CStringBuffer buffer(8);
    buffer.set("ab    ");
    buffer.trim();
    buffer.replace("b", "123456789");
    EXPECT_EQ(buffer.bufLength(), 24);
    buffer.append("y");
    EXPECT_EQ(buffer.length(), 11);
    EXPECT_STREQ(buffer, "a12345y");
}

TEST(StringBufferEdit, TrimRemovesWhiteSpaceAtBothEnds) {
    struct Fact {
        const char *text, *trimmed;
    };
    const Fact facts[] = {
        {"", ""},
        {"a", "a"},
        {"   ", ""},
        {" a", "a"},
        {"a ", "a"},
        {" a b ", "a b"},
        {" \t\n\v\f\ra\r\f\v\n\t ", "a"},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.text);
        buffer.trim();
        EXPECT_STREQ(buffer, fact.trimmed);
        EXPECT_EQ(buffer.length(), static_cast<int>(std::strlen(fact.trimmed)));
    }
}

TEST(StringBufferEdit, AppendingAfterTrimWritesAtTheOldEnd) {
    CStringBuffer buffer(" ab  ");
    buffer.trim();
    buffer.append("cd");
    EXPECT_EQ(buffer.length(), 4);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(std::memcmp(buffer + 5, "cd", 3), 0);
    buffer.append("e");
    EXPECT_EQ(std::memcmp(buffer + 5, "cde", 4), 0);
}

TEST(StringBufferEdit, AppendingToATextThatTrimEmptiedStartsAgain) {
    CStringBuffer buffer("    ");
    buffer.trim();
    buffer.append("ab");
    EXPECT_STREQ(buffer, "ab");
}

TEST(StringBufferEdit, AnAppendThatTakesANewBlockClosesTheGap) {
    CStringBuffer buffer(8);
    buffer.set("ab     ");
    buffer.trim();
    buffer.append("123456");
    EXPECT_EQ(buffer.bufLength(), 16);
    EXPECT_STREQ(buffer, "ab123456");
}

TEST(StringBufferEdit, AnAppendThatTheGapLeavesNoRoomForTakesANewBlock) {
    CStringBuffer buffer(8);
    buffer.set("ab     ");
    buffer.trim();
    buffer.append("1");  // by the length alone there would be room for five bytes
    EXPECT_EQ(buffer.bufLength(), 8);
    EXPECT_STREQ(buffer, "ab1");
    buffer.append("234");
    EXPECT_STREQ(buffer, "ab1234");
    EXPECT_EQ(buffer.length(), 6);
}

TEST(StringBufferEdit, ANewBlockIsNeverSmallerThanTheOld) {
    CStringBuffer buffer(8);
    buffer.set(("ab" + std::string(98, ' ')).c_str());
    EXPECT_EQ(buffer.bufLength(), 104);
    buffer.trim();
    buffer.append("1234");  // eight bytes would do for the text
    EXPECT_EQ(buffer.bufLength(), 104);
    EXPECT_STREQ(buffer, "ab1234");
}

TEST(StringBufferEdit, SettingPutsTheEndMarkerRight) {
    CStringBuffer buffer(" ab  ");
    buffer.trim();
    buffer.set("x").append("y");
    EXPECT_STREQ(buffer, "xy");
    buffer.set("  z  ");
    buffer.trim();
    buffer.clear();
    buffer.append("w");
    EXPECT_STREQ(buffer, "w");
}

TEST(StringBufferEdit, CaseIsChangedInPlace) {
    CStringBuffer buffer("Abc-1\xE4z");
    EXPECT_EQ(&buffer.toUpperCase(), &buffer);
    EXPECT_STREQ(buffer, "ABC-1\xE4Z");
    EXPECT_EQ(&buffer.toLowerCase(), &buffer);
    EXPECT_STREQ(buffer, "abc-1\xE4z");
}

TEST(StringBufferEdit, WhatIsBehindANulIsEditedAsWell) {
    const auto withNul = [](const char *before, const char *behind) {
        return std::string(before) + '\0' + behind;
    };
    const std::string text = withNul("a\rB", "c\rD\r");
    CStringBuffer buffer;
    buffer.set(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(textOf(buffer.toUpperCase()), withNul("A\rB", "C\rD\r"));
    EXPECT_EQ(textOf(buffer.toLowerCase()), withNul("a\rb", "c\rd\r"));
    buffer.convertLinebreaks();
    EXPECT_EQ(textOf(buffer), withNul("a\nb", "c\nd\n"));
}

TEST(StringBufferEdit, CarriageReturnsBecomeLineFeeds) {
    struct Fact {
        const char *text, *result;
    };
    const Fact facts[] = {
        {"a\r\nb", "a\n\nb"}, {"a\rb\r", "a\nb\n"}, {"a\nb", "a\nb"}, {"", ""}, {"\r\r", "\n\n"},
    };
    for (const Fact &fact : facts) {
        CStringBuffer buffer(fact.text);
        buffer.convertLinebreaks();
        EXPECT_STREQ(buffer, fact.result);
        EXPECT_EQ(buffer.length(), static_cast<int>(std::strlen(fact.text)));
    }
}

TEST(StringBufferEdit, ReplacingInALargeTextIsLinear) {
    // 2 million matches: moving the tail for every one of them would never end.
    CStringBuffer buffer;
    buffer.set(std::string(2000000, 'a').c_str());
    buffer.replace("a", "bcd");
    EXPECT_EQ(buffer.length(), 6000000);
    buffer.replace("bcd", "e");
    EXPECT_EQ(textOf(buffer), std::string(2000000, 'e'));
}

}  // namespace
