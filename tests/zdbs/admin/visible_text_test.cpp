#include "zdbs/admin/visible_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zdbs::admin {
namespace {

using testing::ElementsAre;

struct VisibleCase {
    std::string text;
    const char *visible;
};

TEST(VisibleText, HoldsNothingThatATerminalObeys) {
    const VisibleCase cases[] = {
        {"", ""},
        {"//a[text()='b c']", "//a[text()='b c']"},
        {"a\nb\r\tc", "a\\nb\\r\\tc"},
        {"\x1b[31m\x7f", "\\x1b[31m\\x7f"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\xc3\xa4\xf0\x9f\x98\x80", "\xc3\xa4\xf0\x9f\x98\x80"},
        {"\xc2\x9b\x33\xc2\xa0", "\\x9b\x33\xc2\xa0"},
        {"a\xe2\x80\xae"
         "b\xe2\x80\xa8\xe2\x81\xa6\xef\xbb\xbf",
         "a\\u202eb\\u2028\\u2066\\ufeff"},
        {"\xe2\x80\xa7\xe2\x80\xaf", "\xe2\x80\xa7\xe2\x80\xaf"},
        {"\xc3\xa4\xff", "\\xc3\\xa4\\xff"},
        {"\xc2", "\\xc2"},
        {"back\\slash", "back\\slash"},
    };
    for (const VisibleCase &row : cases)
        EXPECT_EQ(visibleText(row.text), row.visible);
}

struct ShortCase {
    std::string text;
    std::size_t width;
    std::string result;
};

TEST(ShortText, IsCutBetweenCharacters) {
    const ShortCase cases[] = {
        {"", 5, ""},
        {"abcde", 5, "abcde"},
        {"abcdef", 5, "ab..."},
        {"\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4", 5, "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"},
        {"\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4x", 5, "\xc3\xa4\xc3\xa4..."},
        {std::string(1000000, 'x'), 6, "xxx..."},
        {std::string(1000000, '\n'), 7, "\\n\\n..."},
        {std::string(100, '\xf0'), 9, "\\xf0\\x..."},
    };
    for (const ShortCase &row : cases)
        EXPECT_EQ(shortText(row.text, row.width), row.result);
}

TEST(Wrapped, BreaksAtBlanksWhereItCan) {
    EXPECT_THAT(wrapped("", 10, 3), ElementsAre(""));
    EXPECT_THAT(wrapped("one two", 10, 3), ElementsAre("one two"));
    EXPECT_THAT(wrapped("one two three", 10, 3), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("exactly 10 more", 10, 3), ElementsAre("exactly 10", "more"));
    EXPECT_THAT(wrapped("0123456789abcdef", 10, 3), ElementsAre("0123456789", "abcdef"));
    EXPECT_THAT(wrapped(" 23456789abcdef", 10, 3), ElementsAre(" 23456789a", "bcdef"));
}

TEST(Wrapped, CutsTheLastLineOfTooMany) {
    EXPECT_THAT(wrapped("a b c d e f", 4, 2), ElementsAre("a b", "c..."));
    EXPECT_THAT(wrapped("0123456789", 5, 1), ElementsAre("01..."));
    EXPECT_THAT(wrapped("01234", 5, 1), ElementsAre("01234"));
}

TEST(Wrapped, CountsCharacters) {
    EXPECT_THAT(wrapped("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4 x", 4, 2),
                ElementsAre("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4", "x"));
}

}  // namespace
}  // namespace zdbs::admin
