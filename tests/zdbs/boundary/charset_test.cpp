#include "zdbs/boundary/charset.h"

#include <gtest/gtest.h>

namespace zdbs {
namespace {

constexpr std::size_t plenty = 1000;

TEST(Charset, LeavesUtf8AndAsciiAsTheyAre) {
    for (const char *name : {"UTF-8", "utf8", "US-ASCII", "ANSI_X3.4-1968", "no such set", ""}) {
        Charset charset(name);
        for (const char *text : {"", "abc", "\xC3\xA4", "\xFF\x80"}) {
            EXPECT_EQ(charset.toUtf8(text), text) << name;
            EXPECT_EQ(charset.fromUtf8(text, plenty), text) << name;
        }
    }
}

TEST(Charset, ConvertsOthers) {
    Charset charset("ISO-8859-1");
    EXPECT_EQ(charset.toUtf8("M\xE4rchen"), "M\xC3\xA4rchen");
    EXPECT_EQ(charset.fromUtf8("M\xC3\xA4rchen", plenty), "M\xE4rchen");
    EXPECT_EQ(charset.toUtf8(""), "");
    EXPECT_EQ(charset.fromUtf8("\xE2\x82\xAC", plenty), "\x1A") << "a substitute";
}

TEST(Charset, ConvertsMultibyteSetsWhoseBytesLookLikeDelimiters) {
    Charset charset("Shift_JIS");
    EXPECT_EQ(charset.toUtf8("\x83\x5C"), "\xE3\x82\xBD");
    EXPECT_EQ(charset.fromUtf8("\xE3\x82\xBD", plenty), "\x83\x5C");
}

TEST(Charset, CutsBetweenCharacters) {
    Charset utf8("UTF-8");
    EXPECT_EQ(utf8.fromUtf8("a\xC3\xA4", 2), "a");
    EXPECT_EQ(utf8.fromUtf8("a\xC3\xA4", 3), "a\xC3\xA4");
    EXPECT_EQ(utf8.fromUtf8("a", 0), "");
    Charset japanese("Shift_JIS");
    EXPECT_EQ(japanese.fromUtf8("a\xE3\x82\xBD", 2), "a");
    EXPECT_EQ(japanese.fromUtf8("a\xE3\x82\xBD", 3), "a\x83\x5C");
    EXPECT_EQ(japanese.fromUtf8("\xE3\x82\xBD", 0), "");
}

TEST(Charset, ConvertsLongTexts) {
    Charset charset("ISO-8859-1");
    std::string text(100000, '\xE4');
    EXPECT_EQ(charset.toUtf8(text).size(), 200000U);
    EXPECT_EQ(charset.fromUtf8(charset.toUtf8(text), 2 * text.size()), text);
}

TEST(Charset, OfAProcessWithoutALocaleTakesBytesAsTheyAre) {
    EXPECT_EQ(Charset::ofProcess().toUtf8("\xC3\xA4"), "\xC3\xA4");
}

}  // namespace
}  // namespace zdbs
