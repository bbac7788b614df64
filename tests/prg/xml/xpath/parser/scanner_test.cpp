// The scanner's operations beyond the token stream, and its fatal errors.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"
#include "prg/xml/xpath/parser/zx_token_text.h"

namespace {

/// A scanner that is destroyed with the test.
class Scanner {
public:
    explicit Scanner(ZXParserMain *driver) { xpath_lex_init_extra(driver, &scanner_); }
    ~Scanner() { xpath_lex_destroy(scanner_); }
    Scanner(const Scanner &) = delete;
    Scanner &operator=(const Scanner &) = delete;

    operator yyscan_t() const { return scanner_; }
    int next() { return xpath_lex(&value, scanner_); }

    XPATH_STYPE value = {};

private:
    yyscan_t scanner_ = nullptr;
};

/// A driver with a reserved word.
class DriverWithKeyword : public ZXParserMain {
public:
    DriverWithKeyword() { m_pSymbolTable->createSymbol("and", AT); }
    int blocks() const { return m_memory.size(); }
};

}  // namespace

TEST(Scanner, YieldsItsDriver) {
    ZXParserMain driver;
    const Scanner scanner(&driver);
    EXPECT_EQ(&driver, xpath_get_extra(scanner));
}

TEST(Scanner, ReadsFromACopyOfTheText) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    char text[] = "ab cd";
    xpath__scan_string(text, scanner);
    std::strcpy(text, "xxxxx");
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("ab", scanner.value.s);
    EXPECT_STREQ("ab", xpath_get_text(scanner));
    EXPECT_EQ(2, xpath_get_leng(scanner));
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("cd", scanner.value.s);
    EXPECT_EQ(0, scanner.next());
}

TEST(Scanner, ReservedWordsComeAsTheirTokenInAnyLetterCase) {
    DriverWithKeyword driver;
    Scanner scanner(&driver);
    xpath__scan_string("and AND andx", scanner);
    EXPECT_EQ(AT, scanner.next());
    EXPECT_EQ(AT, scanner.value.i);
    EXPECT_EQ(AT, scanner.next());
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("andx", scanner.value.s);
}

TEST(Scanner, TokenTextsBelongToTheDriver) {
    DriverWithKeyword driver;
    Scanner scanner(&driver);
    xpath__scan_string("a 'b' 1 and", scanner);
    while (scanner.next() != 0)
        continue;
    EXPECT_EQ(2, driver.blocks());
}

TEST(Scanner, WithoutADriverTokenTextsBelongToTheCaller) {
    Scanner scanner(nullptr);
    EXPECT_EQ(nullptr, xpath_get_extra(scanner));
    EXPECT_EQ(nullptr, find_symbol("a", scanner));
    xpath__scan_string("a 'b'", scanner);
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("a", scanner.value.s);
    std::free(scanner.value.s);
    EXPECT_EQ(STRING_CONST, scanner.next());
    EXPECT_STREQ("b", scanner.value.s);
    std::free(scanner.value.s);
}

TEST(Scanner, UnquoteTakesOffOnePairOfQuotes) {
    ZXParserMain driver;
    const Scanner scanner(&driver);
    EXPECT_EQ(nullptr, unquote(nullptr, '"', scanner));
    EXPECT_STREQ("", unquote("", '"', scanner));
    EXPECT_STREQ("x", unquote("\"x\"", '"', scanner));
    EXPECT_STREQ("", unquote("\"\"", '"', scanner));
    EXPECT_STREQ("\"x\"", unquote("\"\"x\"\"", '"', scanner));
    EXPECT_STREQ("\"x", unquote("\"x", '"', scanner));
    EXPECT_STREQ("x\"", unquote("x\"", '"', scanner));
    EXPECT_STREQ("'x'", unquote("'x'", '"', scanner));
    EXPECT_STREQ("", unquote("'", '\'', scanner)) << "one quote is the first and the last byte";
}

TEST(Scanner, MyAllocIsZeroFilledWithADriverAndWithout) {
    // Memory that nobody clears is not zero now, if it is too much for the allocator's caches.
    constexpr size_t size = 5000;
    mallopt(M_PERTURB, 0x5A);
    ZXParserMain driver;
    const Scanner owned(&driver);
    const Scanner ownerless(nullptr);
    const auto *block = static_cast<const char *>(myalloc(size, owned));
    EXPECT_EQ(std::string(size, '\0'), std::string(block, size));
    auto *free = static_cast<char *>(myalloc(size, ownerless));
    EXPECT_EQ(std::string(size, '\0'), std::string(free, size));
    std::free(free);
    mallopt(M_PERTURB, 0);
}

TEST(Scanner, MyStrDupCopies) {
    ZXParserMain driver;
    const Scanner scanner(&driver);
    const char text[] = "text";
    const char *copy = mystrdup(text, scanner);
    EXPECT_STREQ(text, copy);
    EXPECT_NE(text, copy);
    EXPECT_STREQ("", mystrdup(nullptr, scanner));
}

TEST(Scanner, BuffersCanBeStackedScannedByLengthAndRestarted) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    YY_BUFFER_STATE outer = xpath__scan_string("a b", scanner);
    EXPECT_EQ(NCNAME, scanner.next());
    xpath_push_buffer_state(xpath__create_buffer(nullptr, 16384, scanner), scanner);
    xpath_pop_buffer_state(scanner);

    YY_BUFFER_STATE inner = xpath__scan_bytes("c d", 1, scanner);
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("c", scanner.value.s);
    EXPECT_EQ(0, scanner.next());
    xpath__delete_buffer(inner, scanner);

    xpath__switch_to_buffer(outer, scanner);
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_STREQ("b", scanner.value.s);
}

TEST(Scanner, ReadsFilesThroughItsDefaultBuffer) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    std::FILE *file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    const std::string text(40000, 'n');  // more than the default buffer of 16384
    std::fputs(text.c_str(), file);
    std::rewind(file);
    xpath_set_in(file, scanner);
    EXPECT_EQ(file, xpath_get_in(scanner));
    EXPECT_EQ(NCNAME, scanner.next());
    EXPECT_EQ(text, scanner.value.s);
    EXPECT_EQ(0, scanner.next());
    std::fclose(file);
}

TEST(Scanner, KeepsItsSettings) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    xpath__scan_string("a", scanner);
    xpath_set_lineno(7, scanner);
    EXPECT_EQ(7, xpath_get_lineno(scanner));
    xpath_set_column(9, scanner);
    EXPECT_EQ(9, xpath_get_column(scanner));
    xpath_set_debug(1, scanner);
    EXPECT_EQ(1, xpath_get_debug(scanner));
    xpath_set_debug(0, scanner);
    xpath_set_out(stderr, scanner);
    EXPECT_EQ(stderr, xpath_get_out(scanner));
    XPATH_STYPE value = {};
    xpath_set_lval(&value, scanner);
    EXPECT_EQ(&value, xpath_get_lval(scanner));
    xpath_set_extra(nullptr, scanner);
    EXPECT_EQ(nullptr, xpath_get_extra(scanner));
}

TEST(Scanner, SeveralScannersDoNotMixUp) {
    ZXParserMain driver;
    Scanner first(&driver);
    Scanner second(&driver);
    xpath__scan_string("a b", first);
    xpath__scan_string("c d", second);
    EXPECT_EQ(NCNAME, first.next());
    EXPECT_EQ(NCNAME, second.next());
    EXPECT_STREQ("a", first.value.s);
    EXPECT_STREQ("c", second.value.s);
    EXPECT_EQ(NCNAME, first.next());
    EXPECT_STREQ("b", first.value.s);
}

TEST(Scanner, FatalErrorsNameItsOperations) {
    struct {
        const char *generated;
        const char *text;
    } const facts[] = {
        {"flex scanner jammed", "flex scanner jammed"},
        {"input in flex scanner failed", "input in flex scanner failed"},
        {"out of dynamic memory in yy_get_next_buffer()",
         "out of dynamic memory in yy_get_next_buffer()"},
        {"out of dynamic memory in yy_create_buffer()",
         "out of dynamic memory in xpath__create_buffer()"},
        {"out of dynamic memory in yyensure_buffer_stack()",
         "out of dynamic memory in xpath_ensure_buffer_stack()"},
        {"out of dynamic memory in yy_scan_buffer()",
         "out of dynamic memory in xpath__scan_buffer()"},
        {"out of dynamic memory in yy_scan_bytes()",
         "out of dynamic memory in xpath__scan_bytes()"},
        {"bad buffer in yy_scan_bytes()", "bad buffer in xpath__scan_bytes()"},
        {"yyset_lineno called with no buffer", "xpath_set_lineno called with no buffer"},
        {"yyset_column called with no buffer", "xpath_set_column called with no buffer"},
    };
    for (const auto &fact : facts)
        EXPECT_STREQ(fact.text, fatal_error_text(fact.generated));
}

TEST(ScannerDeathTest, FatalErrorsPrintTheirTextAndEndWithStatusTwo) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    EXPECT_EXIT(xpath_set_lineno(1, scanner), testing::ExitedWithCode(2),
                "xpath_set_lineno called with no buffer\n");
    EXPECT_EXIT(xpath_set_column(1, scanner), testing::ExitedWithCode(2),
                "xpath_set_column called with no buffer\n");
}

TEST(ScannerDeathTest, AFileThatCannotBeReadIsAFatalError) {
    ZXParserMain driver;
    Scanner scanner(&driver);
    std::FILE *folder = std::fopen("/", "r");
    ASSERT_NE(nullptr, folder);
    xpath_set_in(folder, scanner);
    EXPECT_EXIT(scanner.next(), testing::ExitedWithCode(2), "input in flex scanner failed\n");
    std::fclose(folder);
}
