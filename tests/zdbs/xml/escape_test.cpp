#include "zdbs/xml/escape.h"

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

}  // namespace
}  // namespace zdbs
