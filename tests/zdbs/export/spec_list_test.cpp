#include "zdbs/export/spec_list.h"

#include <gtest/gtest.h>

#include "zdbs/export/quoted_text.h"

namespace zdbs {
namespace {

struct SplitFact {
    const char *text;
    std::vector<std::string> specs;
};

TEST(SpecList, IsCutAtWhiteSpaceOutsideBracketsAndLiterals) {
    const SplitFact facts[] = {
        {"", {}},
        {"   \t\n", {}},
        {"/", {"/"}},
        {"/a", {"/a"}},
        {"  /a  ", {"/a"}},
        {"/a /b", {"/a", "/b"}},
        {"/a\t/b\n/c\r\n/d", {"/a", "/b", "/c", "/d"}},
        {"/a[b = 'x'] /c", {"/a[b = 'x']", "/c"}},
        {"/a[b='x y'] /c", {"/a[b='x y']", "/c"}},
        {"/a[b='] /'] /c", {"/a[b='] /']", "/c"}},
        {"/a[b=\"it's\"] /c[d=\"isn't\"]", {"/a[b=\"it's\"]", "/c[d=\"isn't\"]"}},
        {"/a[b=`x ]`] /c", {"/a[b=`x ]`]", "/c"}},
        {"/a[b[c or d] and e] /f", {"/a[b[c or d] and e]", "/f"}},
        {"/a[contains(text(), 'x y')] /b", {"/a[contains(text(), 'x y')]", "/b"}},
        {"/text( ) /b", {"/text( )", "/b"}},
        {"/a [b]", {"/a", "[b]"}},
        {"/a | /b", {"/a", "|", "/b"}},
        {"/a|/b", {"/a|/b"}},
        // A backslash hides a quote when a later quote can close.
        {"/a[b='x\\' y'] /c", {"/a[b='x\\' y']", "/c"}},
        {"/a[b='x\\'] /c", {"/a[b='x\\']", "/c"}},
        // What never closes is left to the parser.
        {"/a[b /c", {"/a[b /c"}},
        {"/a] /b", {"/a]", "/b"}},
        {"/a]] /b[c d] /e", {"/a]]", "/b[c d]", "/e"}},
        {"/a' /b", {"/a'", "/b"}},
        {"'x y' /b", {"'x y'", "/b"}},
    };
    for (const SplitFact &fact : facts)
        EXPECT_EQ(splitSpecs(fact.text), fact.specs) << fact.text;
}

struct QuoteFact {
    std::string text;
    std::size_t end;
};

TEST(QuotedText, EndsAtTheQuoteThatTheRequestLanguageEndsItAt) {
    constexpr std::size_t none = std::string::npos;
    const QuoteFact facts[] = {
        {"''", 2},        {"'a'b", 3}, {"'a", none},      {"'", none},
        {"\"a'b\"c", 5},  {"`'`", 3},  {"'a\\'", 4},      {"'a\\'b'", 6},
        {"'a\\\\'b'", 7}, {"'\\'", 3}, {"'a\\'b\\'c", 7}, {"'a' 'b'", 3},
    };
    for (const QuoteFact &fact : facts)
        EXPECT_EQ(quotedEnd(fact.text, 0), fact.end) << fact.text;
}

}  // namespace
}  // namespace zdbs
