#include "zdbs/load/encoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

using testing::HasSubstr;

std::string utf16(const std::u16string &text, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const auto high = static_cast<char>(unit >> 8);
        const auto low = static_cast<char>(unit & 0xff);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

std::string declared(const std::string &encoding, const std::string &rest) {
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + rest;
}

struct EncodingCase {
    const char *name;
    const char *bytes;
    const char *utf8;
};

TEST(Encoding, OfOneByteACharacterIsRead) {
    const EncodingCase cases[] = {
        {"UTF-8", "\xc3\xa9\xe2\x82\xac", "\xc3\xa9\xe2\x82\xac"},
        {"utf-8", "\xc3\xa9", "\xc3\xa9"},
        {"US-ASCII", "abc", "abc"},
        {"ISO-8859-1", "\xe9\xfc\xdf", "\xc3\xa9\xc3\xbc\xc3\x9f"},
        {"iso-8859-1", "\xa4", "\xc2\xa4"},
        {"ISO-8859-15", "\xa4", "\xe2\x82\xac"},
        {"ISO-8859-2", "\xb1\xe6", "\xc4\x85\xc4\x87"},
        {"ISO-8859-5", "\xbf", "\xd0\x9f"},
        {"ISO-8859-7", "\xe1", "\xce\xb1"},
        {"windows-1252", "\x80\x93\xe9", "\xe2\x82\xac\xe2\x80\x9c\xc3\xa9"},
        {"windows-1251", "\xcf", "\xd0\x9f"},
        {"KOI8-R", "\xf0", "\xd0\x9f"},
        {"macintosh", "\x8e", "\xc3\xa9"},
        {"IBM850", "\x82", "\xc3\xa9"},
    };
    for (const EncodingCase &row : cases) {
        LoadFixture fixture;
        const std::string xml =
            declared(row.name, "<a b='" + std::string(row.bytes) + "'>" + row.bytes + "</a>");
        EXPECT_EQ(fixture.tree(xml),
                  "a(@b=" + std::string(row.utf8) + " '" + std::string(row.utf8) + "')")
            << row.name;
    }
}

TEST(Encoding, Utf8AndUtf16AreKnownByTheirMarks) {
    const std::u16string text = u"<\u00e4 b='\u20ac'>\U0001f600</\u00e4>";
    const char *tree = "\xc3\xa4(@b=\xe2\x82\xac '\xf0\x9f\x98\x80')";
    LoadFixture fixture;
    for (const bool bigEndian : {true, false}) {
        EXPECT_EQ(fixture.tree(utf16(u"\ufeff" + text, bigEndian)), tree);
        EXPECT_EQ(
            fixture.tree(utf16(u"\ufeff<?xml version='1.0' encoding='UTF-16'?>" + text, bigEndian)),
            tree);
    }
    EXPECT_EQ(fixture.tree("\xef\xbb\xbf<a>\xc3\xa9</a>"), "a('\xc3\xa9')");
    EXPECT_EQ(fixture.tree("\xef\xbb\xbf" + declared("UTF-8", "<a/>")), "a()");
}

TEST(Encoding, ThatIsUnknownOrOfSeveralBytesIsRefusedByName) {
    LoadFixture fixture;
    for (const char *name : {"no-such-set", "Shift_JIS", "EUC-JP", "GB18030", "UTF-7", "UTF-32"}) {
        std::string sentence;
        EXPECT_EQ(fixture.status(declared(name, "<a/>"), &sentence), Status::unknownEncoding)
            << name;
        EXPECT_THAT(sentence, HasSubstr(std::string(name) + " is unknown"));
        EXPECT_THAT(sentence, testing::StartsWith("f:1:"));
    }
}

TEST(Encoding, RefusesBytesThatAreNoCharacters) {
    LoadFixture fixture;
    EXPECT_EQ(fixture.status(declared("US-ASCII", "<a>\xe9</a>")), Status::malformed);
    EXPECT_EQ(fixture.status(declared("ISO-8859-7", "<a>\xff</a>")), Status::malformed);
}

TEST(Encoding, DoesNotHideUnexpandableReferencesInAttributes) {
    LoadFixture fixture;
    std::string sentence;
    const std::string doctype = "<!DOCTYPE a SYSTEM 'x' [<!ENTITY known 'v'>]>";
    for (const char *encoding : {"ISO-8859-1", "ISO-8859-15", "UTF-8"}) {
        EXPECT_EQ(fixture.status(declared(encoding, doctype + "<a b='&known;'/>")), Status::ok);
        EXPECT_EQ(fixture.status(declared(encoding, doctype + "<a b='&nbsp;'/>"), &sentence),
                  Status::unknownEntity);
        EXPECT_THAT(sentence, HasSubstr("entity nbsp "));
    }
    for (const bool bigEndian : {true, false}) {
        const std::u16string head = u"\ufeff<!DOCTYPE a SYSTEM 'x' [<!ENTITY known 'v'>]>";
        EXPECT_EQ(fixture.status(utf16(head + u"<a b='&known;'/>", bigEndian)), Status::ok);
        EXPECT_EQ(fixture.status(utf16(head + u"<a b='&n\u00e4;'/>", bigEndian), &sentence),
                  Status::unknownEntity);
        EXPECT_THAT(sentence, HasSubstr("entity n\xc3\xa4 "));
    }
    // A name that is known in Latin 1 only when its bytes are taken for what they are.
    const std::string latin = "<!DOCTYPE a SYSTEM 'x' [<!ENTITY \xe9 'v'>]>";
    EXPECT_EQ(fixture.tree(declared("ISO-8859-1", latin + "<a b='&\xe9;'/>")), "a(@b=v)");
    EXPECT_EQ(fixture.tree(declared("ISO-8859-15", latin + "<a b='&\xe9;'/>")), "a(@b=v)");
}

TEST(Encoding, MarkupIsTurnedIntoUtf8) {
    const auto latin = singleByteEncoding("ISO-8859-1");
    ASSERT_TRUE(latin);
    EXPECT_EQ(markupToUtf8("<\xe9>", &*latin), "<\xc3\xa9>");
    EXPECT_EQ(markupToUtf8("<\xc3\xa9>", nullptr), "<\xc3\xa9>");
    EXPECT_EQ(markupToUtf8(utf16(u"<\U0001f600>", true), nullptr), "<\xf0\x9f\x98\x80>");
    EXPECT_EQ(markupToUtf8(utf16(u"<\U0001f600>", false), nullptr), "<\xf0\x9f\x98\x80>");
    EXPECT_EQ(markupToUtf8("", nullptr), "");
    EXPECT_EQ(markupToUtf8("&", nullptr), "&");
}

TEST(Encoding, LiteralsEndAtTheirOwnQuotes) {
    const std::string cases[][2] = {
        {"'abc' 'd'", "'abc'"}, {"\"a'b\">", "\"a'b\""}, {"''", "''"}, {"'abc", ""},
        {"abc'", ""},           {"%p; 'x'", ""},         {"", ""},     {"'", ""},
    };
    for (const auto &row : cases) {
        EXPECT_EQ(quotedLiteral(row[0]), row[1]);
        const std::u16string wide(row[0].begin(), row[0].end());
        const std::u16string wideLiteral(row[1].begin(), row[1].end());
        for (const bool bigEndian : {true, false})
            EXPECT_EQ(quotedLiteral(utf16(wide, bigEndian)), utf16(wideLiteral, bigEndian));
    }
}

}  // namespace
}  // namespace zdbs
