#include "zdbs/base/escape.h"

#include <gtest/gtest.h>

namespace zdbs {
namespace {

struct EscapeFact {
    const char *plain;
    const char *inText;
    const char *inAttribute;
};

constexpr EscapeFact facts[] = {
    {"", "", ""},
    {"plain", "plain", "plain"},
    {"a&b", "a&amp;b", "a&amp;b"},
    {"&amp;", "&amp;amp;", "&amp;amp;"},
    {"a<b>c", "a&lt;b&gt;c", "a&lt;b&gt;c"},
    {"]]>", "]]&gt;", "]]&gt;"},
    {"\"quoted\" 'single'", "\"quoted\" 'single'", "&quot;quoted&quot; 'single'"},
    {"a\tb\nc", "a\tb\nc", "a&#9;b&#10;c"},
    {"a\r\nb", "a&#13;\nb", "a&#13;&#10;b"},
    {"&&", "&amp;&amp;", "&amp;&amp;"},
    {"\xC3\xA5 \xF0\x9F\x98\x80", "\xC3\xA5 \xF0\x9F\x98\x80", "\xC3\xA5 \xF0\x9F\x98\x80"},
};

TEST(Escape, TextEscapesMarkupAndCarriageReturns) {
    for (const EscapeFact &fact : facts)
        EXPECT_EQ(escapedText(fact.plain), fact.inText);
}

TEST(Escape, AttributesEscapeQuotesAndWhiteSpaceToo) {
    for (const EscapeFact &fact : facts)
        EXPECT_EQ(escapedAttribute(fact.plain), fact.inAttribute);
}

TEST(Escape, FindsWhatToEscapeAtEveryPlaceOfTextsOfEveryLength) {
    for (std::size_t length = 1; length < 40; ++length) {
        const std::string plain(length, 'x');
        EXPECT_EQ(escapedText(plain), plain);
        EXPECT_EQ(escapedAttribute(plain), plain);
        for (std::size_t place = 0; place < length; ++place) {
            for (int byte = 1; byte < 256; ++byte) {
                std::string text = plain;
                text[place] = static_cast<char>(byte);
                const std::string_view one(&text[place], 1);
                const auto expected = [&](std::string_view special,
                                          std::string (*escape)(std::string_view)) {
                    const bool isSpecial = special.find(one[0]) != std::string_view::npos;
                    EXPECT_EQ(escape(one) != one, isSpecial) << byte;
                    return plain.substr(0, place) + escape(one) + plain.substr(place + 1);
                };
                ASSERT_EQ(escapedText(text), expected("&<>\r", escapedText));
                ASSERT_EQ(escapedAttribute(text), expected("&<>\"\t\n\r", escapedAttribute));
            }
        }
    }
}

}  // namespace
}  // namespace zdbs
