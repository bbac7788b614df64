// A grammar that fails without a word. It never does so by itself: the linker gives the parses of
// this program to the function below, which can.
#include <gtest/gtest.h>

#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"

namespace {

int resultWithoutAWord = 0;  // 0: the grammar parses

class WordlessGrammar {
public:
    explicit WordlessGrammar(int result) { resultWithoutAWord = result; }
    ~WordlessGrammar() { resultWithoutAWord = 0; }
    WordlessGrammar(const WordlessGrammar &) = delete;
    WordlessGrammar &operator=(const WordlessGrammar &) = delete;
};

}  // namespace

// xpath_parse(XPathStatement **, void *), as the linker names it.
extern "C" {
int __real__Z11xpath_parsePP14XPathStatementPv(XPathStatement **result, void *scanner);
int __wrap__Z11xpath_parsePP14XPathStatementPv(XPathStatement **result, void *scanner);

int __wrap__Z11xpath_parsePP14XPathStatementPv(XPathStatement **result, void *scanner) {
    if (resultWithoutAWord != 0) return resultWithoutAWord;
    return __real__Z11xpath_parsePP14XPathStatementPv(result, scanner);
}
}

using xpathtest::text;

TEST(UnexplainedError, NamesTheResultOfTheGrammarAndTheRequest) {
    for (const int result : {1, 2, -3}) {
        const WordlessGrammar grammar(result);
        ZXParserMain driver;
        CStringBuffer error("what was there before");
        EXPECT_EQ(nullptr, driver.Parse("a[b='%s']", &error));
        EXPECT_EQ("Unexplained error #" + std::to_string(result) +
                      " parsing XPath statement \"a[b='%s']\"",
                  text(error));
    }
}

TEST(UnexplainedError, GivesWayToAnyWord) {
    class SpokenDriver : public ZXParserMain {
    public:
        SpokenDriver() { m_strParseError.set("a word"); }
    };
    const WordlessGrammar grammar(1);
    SpokenDriver driver;
    CStringBuffer error;
    EXPECT_EQ(nullptr, driver.Parse("a", &error));
    EXPECT_EQ("a word", text(error));
}

TEST(UnexplainedError, NeedsNobodyToTell) {
    const WordlessGrammar grammar(1);
    ZXParserMain driver;
    EXPECT_EQ(nullptr, driver.Parse("a", nullptr));
}
