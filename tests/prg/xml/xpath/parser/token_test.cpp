// The token stream of a text.
#include <gtest/gtest.h>

#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

using namespace xpathtest;

namespace {

struct TokenFact {
    const char *text;
    const char *tokens;
};

template <size_t count>
void expectTokens(const TokenFact (&facts)[count]) {
    for (const TokenFact &fact : facts)
        EXPECT_EQ(fact.tokens, tokens(fact.text)) << fact.text;
}

}  // namespace

TEST(Token, CodesAreThoseOfTheTable) {
    EXPECT_EQ(258, INT_CONST);
    EXPECT_EQ(259, FLOAT_CONST);
    EXPECT_EQ(260, STRING_CONST);
    EXPECT_EQ(261, NCNAME);
    EXPECT_EQ(262, LESSEQ);
    EXPECT_EQ(263, GREATEQ);
    EXPECT_EQ(264, NOTEQUAL);
    EXPECT_EQ(265, ASTERISK);
    EXPECT_EQ(266, DOUBLESLASH);
    EXPECT_EQ(267, DOUBLECOLON);
    EXPECT_EQ(268, CONTEXTNODE);
    EXPECT_EQ(269, PARENTNODE);
    EXPECT_EQ(270, AT);
}

TEST(Token, NothingIsTheEndOfTheInput) {
    EXPECT_EQ("", tokens(""));
    EXPECT_EQ("", tokens(" \t\r\n"));
}

TEST(Token, Comments) {
    static constexpr TokenFact facts[] = {
        {"-- word\n", ""},
        {"-- word\r", ""},
        {"-- word\r\n", ""},
        {"--\n", ""},
        {"-- word", "'-' '-' NCNAME(word)"},
        {"--", "'-' '-'"},
        {"---\n", ""},
        {"- -\n", "'-' '-'"},
        {"a -- b\nc", "NCNAME(a) NCNAME(c)"},
        {"a -- b\rc", "NCNAME(a) NCNAME(c)"},
        {"a -- b\r\nc", "NCNAME(a) NCNAME(c)"},
        {"a -- b\n\nc", "NCNAME(a) NCNAME(c)"},
        {"a--b\nc", "NCNAME(a--b) NCNAME(c)"},
        {"a-- b\nc", "NCNAME(a--) NCNAME(b) NCNAME(c)"},
        {"a+--b\nc", "NCNAME(a) '+' NCNAME(c)"},
        {"1--b\nc", "INT_CONST(1) NCNAME(c)"},
        {"--a\n--b\nc", "NCNAME(c)"},
        {"--a\n--b", "'-' '-' NCNAME(b)"},
        {"-- 'x\n'y'", "STRING_CONST(y)"},
    };
    expectTokens(facts);
}

TEST(Token, Strings) {
    static constexpr TokenFact facts[] = {
        {R"("x")", "STRING_CONST(x)"},
        {R"('x')", "STRING_CONST(x)"},
        {R"(`x`)", "STRING_CONST(x)"},
        {R"("")", "STRING_CONST()"},
        {R"('')", "STRING_CONST()"},
        {R"(``)", "STRING_CONST()"},
        {R"('say "x"')", R"(STRING_CONST(say "x"))"},
        {R"("it's `x`")", R"(STRING_CONST(it's `x`))"},
        {R"('a''b')", "STRING_CONST(a) STRING_CONST(b)"},
        {R"("a""b")", "STRING_CONST(a) STRING_CONST(b)"},
        {"'a\nb\rc'", "STRING_CONST(a\nb\rc)"},
        {R"("a\"b")", R"(STRING_CONST(a\"b))"},
        {R"("a\")", R"(STRING_CONST(a\))"},
        {R"("a\" b)", R"(STRING_CONST(a\) NCNAME(b))"},
        {R"("a\\")", R"(STRING_CONST(a\\))"},
        {R"("a\\"b")", R"(STRING_CONST(a\\"b))"},
        {R"("a\n")", R"(STRING_CONST(a\n))"},
        {R"('a\'b')", R"(STRING_CONST(a\'b))"},
        {R"(`a\`b`)", R"(STRING_CONST(a\`b))"},
        {R"('a\"b')", R"(STRING_CONST(a\"b))"},
        {R"('--')", "STRING_CONST(--)"},
        {"'\xFF\xC3'", "STRING_CONST(\xFF\xC3)"},
        {R"(")", R"('"')"},
        {R"('a)", "''' NCNAME(a)"},
        {R"(`1)", "'`' INT_CONST(1)"},
        {R"('a"b)", R"(''' NCNAME(a) '"' NCNAME(b))"},
        {R"("a'b'c)", R"('"' NCNAME(a) STRING_CONST(b) NCNAME(c))"},
        {R"(\"a")", R"('\' STRING_CONST(a))"},
    };
    expectTokens(facts);
}

TEST(Token, Numbers) {
    static constexpr TokenFact facts[] = {
        {"0", "INT_CONST(0)"},
        {"08", "INT_CONST(8)"},
        {"0010", "INT_CONST(10)"},
        {"12345678901", "INT_CONST(12345678901)"},
        {"9223372036854775807", "INT_CONST(9223372036854775807)"},
        {"1.5", "FLOAT_CONST(1.5)"},
        {"00.50", "FLOAT_CONST(0.5)"},
        {"1E5", "FLOAT_CONST(100000)"},
        {"1e5", "FLOAT_CONST(100000)"},
        {"1.5e3", "FLOAT_CONST(1500)"},
        {"1e+5", "FLOAT_CONST(100000)"},
        {"25e-2", "FLOAT_CONST(0.25)"},
        {"1.5.6", "FLOAT_CONST(1.5) CONTEXTNODE INT_CONST(6)"},
        {".5", "CONTEXTNODE INT_CONST(5)"},
        {"5.", "INT_CONST(5) CONTEXTNODE"},
        {"5..6", "INT_CONST(5) PARENTNODE INT_CONST(6)"},
        {"1e", "INT_CONST(1) NCNAME(e)"},
        {"1e+", "INT_CONST(1) NCNAME(e) '+'"},
        {"1e-x", "INT_CONST(1) NCNAME(e-x)"},
        {"1.e5", "INT_CONST(1) CONTEXTNODE NCNAME(e5)"},
        {"1.5e", "FLOAT_CONST(1.5) NCNAME(e)"},
        {"0x10", "INT_CONST(0) NCNAME(x10)"},
        {"1a", "INT_CONST(1) NCNAME(a)"},
        {"1-2", "INT_CONST(1) '-' INT_CONST(2)"},
        {"-1", "'-' INT_CONST(1)"},
        {"1 2", "INT_CONST(1) INT_CONST(2)"},
    };
    expectTokens(facts);
}

TEST(Token, Operators) {
    static constexpr TokenFact facts[] = {
        {"*", "ASTERISK"},
        {"<=>=!=", "LESSEQ GREATEQ NOTEQUAL"},
        {"< =", "'<' '='"},
        {"==", "'=' '='"},
        {"=<", "'=' '<'"},
        {"<>", "'<' '>'"},
        {"!", "'!'"},
        {"! =", "'!' '='"},
        {"/", "'/'"},
        {"//", "DOUBLESLASH"},
        {"///", "DOUBLESLASH '/'"},
        {"/ /", "'/' '/'"},
        {".", "CONTEXTNODE"},
        {"..", "PARENTNODE"},
        {"...", "PARENTNODE CONTEXTNODE"},
        {". .", "CONTEXTNODE CONTEXTNODE"},
        {":", "':'"},
        {"::", "DOUBLECOLON"},
        {":::", "DOUBLECOLON ':'"},
        {"@", "AT"},
        {"=<>+-/|:()[],", "'=' '<' '>' '+' '-' '/' '|' ':' '(' ')' '[' ']' ','"},
    };
    expectTokens(facts);
}

TEST(Token, NamesInAscii) {
    static constexpr TokenFact facts[] = {
        {"a", "NCNAME(a)"},
        {"AZaz09", "NCNAME(AZaz09)"},
        {"a-b", "NCNAME(a-b)"},
        {"a.b", "NCNAME(a.b)"},
        {"a--b", "NCNAME(a--b)"},
        {"a - b", "NCNAME(a) '-' NCNAME(b)"},
        {"a..b", "NCNAME(a..b)"},
        {"a_b", "NCNAME(a) '_' NCNAME(b)"},
        {"_a", "'_' NCNAME(a)"},
        {"a:b", "NCNAME(a) ':' NCNAME(b)"},
        {"p:*", "NCNAME(p) ':' ASTERISK"},
        {"child::x", "NCNAME(child) DOUBLECOLON NCNAME(x)"},
        {"and or div mod text node",
         "NCNAME(and) NCNAME(or) NCNAME(div) NCNAME(mod) NCNAME(text) "
         "NCNAME(node)"},
        {"a@b", "NCNAME(a) AT NCNAME(b)"},
        {"[a]", "'[' NCNAME(a) ']'"},
    };
    expectTokens(facts);
}

TEST(Token, OtherBytesAreTokensOfTheirOwn) {
    static constexpr TokenFact facts[] = {
        {"$", "'$'"},
        {"#", "'#'"},
        {"{}", "'{' '}'"},
        {"~", "'~'"},
        {"\\", "'\\'"},
        {"\x01", "1"},
        {"\x0B", "11"},
        {"\x0C", "12"},
        {"\x7F", "127"},
        {"\x80", "-128"},
        {"\xFE", "-2"},
        {"\xFF", "-1"},
        {"a\xC3\x97", "NCNAME(a) -61 -105"},
    };
    expectTokens(facts);
    EXPECT_EQ(36, '$');
}

TEST(Token, AMegabyteIsOneTokenLikeAnyOther) {
    const std::string name = repeated("abcdefgh", 128 * 1024);
    EXPECT_EQ("NCNAME(" + name + ")", tokens(name));
    EXPECT_EQ("STRING_CONST(" + name + ")", tokens("'" + name + "'"));
    EXPECT_EQ("INT_CONST(1) NCNAME(a)", tokens("1 --" + name + "\n a"));
    EXPECT_EQ("INT_CONST(7)", tokens(repeated("0", 1024 * 1024) + "7"));
    EXPECT_EQ("FLOAT_CONST(0.5)", tokens("0.5" + repeated("0", 1024 * 1024)));
}
