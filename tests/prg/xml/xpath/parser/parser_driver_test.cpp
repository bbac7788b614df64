// The driver of one parse.
#include "prg/xml/xpath/parser/zx_parser_main.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "parser_support.h"
#include "prg/xml/xpath/parser/xpath_grammar.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

using namespace xpathtest;

namespace {

/// A driver whose inside can be read.
class OpenDriver : public ZXParserMain {
public:
    using ZXParserMain::m_memory;
    using ZXParserMain::m_pSymbolTable;
    using ZXParserMain::m_scanner;
    using ZXParserMain::m_strParseError;
    using ZXParserMain::m_szTmpXPathFile;

    void report(const char *format, ...) __attribute__((format(printf, 2, 3))) {
        va_list args;
        va_start(args, format);
        ParseError(format, args);
        va_end(args);
    }
};

int parseDirectly(ZXParserMain &driver, const char *request,
                  std::unique_ptr<XPathStatement> &result) {
    yyscan_t scanner = nullptr;
    xpath_lex_init_extra(&driver, &scanner);
    xpath__scan_string(request, scanner);
    XPathStatement *tree = nullptr;
    const int code = xpath_parse(&tree, scanner);
    result.reset(tree);
    xpath_lex_destroy(scanner);
    return code;
}

}  // namespace

TEST(Driver, StartsWithoutScannerErrorsBlocksAndWords) {
    const OpenDriver driver;
    EXPECT_EQ(nullptr, driver.m_scanner);
    EXPECT_EQ(0, driver.m_strParseError.length());
    EXPECT_EQ(0, driver.m_memory.size());
    EXPECT_EQ('\0', driver.m_szTmpXPathFile[0]);
    EXPECT_EQ(1024u, sizeof driver.m_szTmpXPathFile);
    EXPECT_FALSE(driver.m_pSymbolTable->getCaseSensetive());
    EXPECT_EQ(ZX_ALLOCMODE_OFF, driver.m_pSymbolTable->getAllocMode());
    for (const char *word : {"and", "or", "div", "mod", "text", "node", "child"}) {
        EXPECT_EQ(nullptr, driver.Lookup(word)) << word;
    }
}

TEST(Driver, LooksReservedWordsUp) {
    OpenDriver driver;
    ZXSymbol *symbol = driver.m_pSymbolTable->createSymbol("word", AT);
    EXPECT_EQ(symbol, driver.Lookup("WORD"));
}

TEST(Driver, ParserSetupPointsTheScannerAtTheText) {
    OpenDriver driver;
    driver.ParserSetup("a");
    ASSERT_NE(nullptr, driver.m_scanner);
    EXPECT_EQ(&driver, xpath_get_extra(driver.m_scanner));
    XPATH_STYPE value;
    EXPECT_EQ(NCNAME, xpath_lex(&value, driver.m_scanner));
    EXPECT_EQ(0, xpath_lex(&value, driver.m_scanner));
}

TEST(Driver, AllocGivesZeroFilledBlocksThatItOwns) {
    OpenDriver driver;
    const auto *block = static_cast<const char *>(driver.Alloc(100));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(0, block[i]);
    EXPECT_NE(nullptr, driver.Alloc(0));
    EXPECT_EQ(2, driver.m_memory.size());
    EXPECT_EQ(block, driver.m_memory.get(0));
}

TEST(Driver, StrDupCopiesIntoItsOwnMemory) {
    OpenDriver driver;
    const char text[] = "text";
    const char *copy = driver.StrDup(text);
    EXPECT_STREQ("text", copy);
    EXPECT_NE(text, copy);
    EXPECT_STREQ("", driver.StrDup(nullptr));
    EXPECT_STREQ("", driver.StrDup(""));
    EXPECT_EQ(3, driver.m_memory.size());
}

TEST(Driver, TheTreeOutlivesTheDriver) {
    std::unique_ptr<XPathStatement> tree;
    {
        ZXParserMain driver;
        tree.reset(driver.Parse("a[b='x']", nullptr));
    }
    EXPECT_EQ("child::a[child::bchild::text()=\"x\"]", text(*tree));
}

TEST(Driver, ASyntaxErrorIsExactlyThat) {
    ZXParserMain driver;
    CStringBuffer error("what was there before");
    EXPECT_EQ(nullptr, driver.Parse("a[", &error));
    EXPECT_EQ("syntax error", text(error));
}

TEST(Driver, AWellFormedRequestLeavesTheErrorAlone) {
    ZXParserMain driver;
    CStringBuffer error("what was there before");
    const std::unique_ptr<XPathStatement> tree(driver.Parse("a", &error));
    EXPECT_NE(nullptr, tree);
    EXPECT_EQ("what was there before", text(error));
}

TEST(Driver, AnErrorBufferIsNotNeeded) {
    ZXParserMain driver;
    EXPECT_EQ(nullptr, driver.Parse("a[", nullptr));
}

TEST(Driver, NoTextIsAnEmptyOne) {
    ZXParserMain driver;
    CStringBuffer error;
    EXPECT_EQ(nullptr, driver.Parse(nullptr, &error));
    EXPECT_EQ("syntax error", text(error));
}

TEST(Driver, ASecondParseReportsTheFirstErrorsAgain) {
    ZXParserMain driver;
    CStringBuffer error;
    EXPECT_EQ(nullptr, driver.Parse("chld::a", &error));
    EXPECT_EQ(nullptr, driver.Parse("a[", &error));
    EXPECT_EQ("Invalid axis \"chld\"syntax error", text(error));
    const std::unique_ptr<XPathStatement> tree(driver.Parse("a", &error));
    EXPECT_NE(nullptr, tree);
}

TEST(Driver, ParseErrorsAreCollectedWithNothingBetween) {
    OpenDriver driver;
    driver.report("one %d ", 1);
    driver.report("%s", "two");
    EXPECT_EQ("one 1 two", text(driver.m_strParseError));
}

TEST(Driver, WithoutADriverTheGrammarFailsWithoutAWord) {
    yyscan_t scanner = nullptr;
    xpath_lex_init_extra(nullptr, &scanner);
    xpath__scan_string("/", scanner);
    XPathStatement *result = nullptr;
    EXPECT_EQ(1, xpath_parse(&result, scanner));
    EXPECT_EQ(nullptr, result);
    xpath_lex_destroy(scanner);
}

TEST(Driver, TheGrammarReturnsZeroOneOrTwo) {
    ZXParserMain driver;
    std::unique_ptr<XPathStatement> tree;
    EXPECT_EQ(0, parseDirectly(driver, "a", tree));
    EXPECT_NE(nullptr, tree);
    EXPECT_EQ(1, parseDirectly(driver, "/", tree));
    EXPECT_EQ(nullptr, tree);
    EXPECT_EQ(1, parseDirectly(driver, "chld::a", tree));
    EXPECT_EQ(1, parseDirectly(driver, "foo()", tree));
    EXPECT_EQ(2, parseDirectly(driver, ("a[" + repeated("(", 10000)).c_str(), tree));
    EXPECT_EQ(nullptr, tree);
}

TEST(Driver, RemovesItsTemporaryFile) {
    std::string folder = std::filesystem::temp_directory_path() / "xpath_driver_test.XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    const std::string file = folder + "/request";
    std::ofstream(file) << "a";
    ASSERT_TRUE(std::filesystem::exists(file));
    {
        OpenDriver driver;
        std::strcpy(driver.m_szTmpXPathFile, file.c_str());
    }
    EXPECT_FALSE(std::filesystem::exists(file));
    std::filesystem::remove_all(folder);
}

TEST(Driver, AMegabyteOfNameOrStringIsParsed) {
    const std::string name = repeated("abcdefgh", 128 * 1024);
    EXPECT_EQ("child::" + name + "[\"" + name + "\"]", printed(name + "['" + name + "']"));
}

TEST(Driver, AMessageOfAMegabyteIsCutAndNotOverrun) {
    const std::string name = repeated("abcdefgh", 128 * 1024);
    const std::string error = parse(name + "::a").error;
    EXPECT_EQ("Invalid axis \"abcdefgh", error.substr(0, 22));
    EXPECT_EQ(16383u, error.size());
    EXPECT_EQ("Invalid node type \"abcdefgh", parse(name + "()").error.substr(0, 27));
}
