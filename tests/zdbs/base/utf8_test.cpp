#include "zdbs/base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace zdbs {
namespace {

struct Utf8Case {
    std::string text;
    bool isUtf8;
};

TEST(IsUtf8, KnowsWellFormedText) {
    const std::vector<Utf8Case> cases{
        {"", true},
        {"abc", true},
        {std::string("a\0b", 3), true},
        {"\xC3\xA4", true},
        {"\xE2\x82\xAC", true},
        {"\xF0\x9F\x98\x80", true},
        {"\xF4\x8F\xBF\xBF", true},
        {"\xED\x9F\xBF", true},
        {"\xEE\x80\x80", true},
        {"\x80", false},
        {"\xC3", false},
        {"\xC3"
         "a",
         false},
        {"\xC0\x80", false},
        {"\xC1\xBF", false},
        {"\xE0\x9F\xBF", false},
        {"\xED\xA0\x80", false},
        {"\xF0\x8F\xBF\xBF", false},
        {"\xF4\x90\x80\x80", false},
        {"\xF5\x80\x80\x80", false},
        {"\xFF", false},
        {"\xE2\x82", false},
        {"a\xE2\x82"
         "b",
         false},
        {"\xF0\x9F\x98", false},
    };
    for (const Utf8Case &fact : cases)
        EXPECT_EQ(isUtf8(fact.text), fact.isUtf8) << fact.text;
}

TEST(CharacterCount, CountsStrayBytesAsOne) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("a\xC3\xA4\xF0\x9F\x98\x80"), 3U);
    EXPECT_EQ(characterCount("\x80\x80"
                             "a"),
              3U);
    EXPECT_EQ(characterCount("\xE2\x82"), 2U);
}

TEST(CutUtf8, CutsNoCharacter) {
    EXPECT_EQ(cutUtf8("abc", 5), "abc");
    EXPECT_EQ(cutUtf8("abc", 2), "ab");
    EXPECT_EQ(cutUtf8("a\xC3\xA4", 2), "a");
    EXPECT_EQ(cutUtf8("a\xC3\xA4", 3), "a\xC3\xA4");
    EXPECT_EQ(cutUtf8("\xF0\x9F\x98\x80", 3), "");
    EXPECT_EQ(cutUtf8("\x80\x80\x80", 2), "");
    EXPECT_EQ(cutUtf8("", 0), "");
}

}  // namespace
}  // namespace zdbs
