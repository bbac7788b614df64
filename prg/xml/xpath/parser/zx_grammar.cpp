#include "prg/xml/xpath/parser/zx_grammar.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace ZXGrammar {

void Error(void *scanner, const char *pszFormat, ...) {
    ZXParserMain *driver = scanner != nullptr ? xpath_get_extra(scanner) : nullptr;
    if (driver == nullptr) return;
    va_list args;
    va_start(args, pszFormat);
    driver->ParseError(pszFormat, args);
    va_end(args);
}

void *StackBlock(void *scanner, size_t nSize) {
    return xpath_get_extra(scanner)->Alloc(nSize);
}

namespace Scalar {

XPathScalar *StringLiteral(const char *pszText) {
    return new XPathChar(pszText);
}

XPathScalar *IntegerLiteral(int nValue) {
    auto *number = new XPathInt();
    *number = nValue;
    return number;
}

XPathScalar *FloatLiteral(double fValue) {
    auto *number = new XPathFloat();
    *number = fValue;
    return number;
}

XPathNumeric *NumericLiteral(XPathInt *pNumber) {
    return pNumber;
}

XPathNumeric *NumericLiteral(XPathFloat *pNumber) {
    return pNumber;
}

XPathScalar *AnyLiteral(XPathNumeric *pNumber) {
    return pNumber;
}

XPathScalar *AnyLiteral(XPathChar *pText) {
    return pText;
}

}  // namespace Scalar

namespace Utils {

XPathChar *CurrentTimestamp(int) {
    const time_t now = std::time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    CStringBuffer text(32);
    text.format("%04d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return new XPathChar(text.getBufferPointer());
}

void LogToConsole(const char *pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    std::vfprintf(stderr, pszFormat, args);
    va_end(args);
    std::fputc('\n', stderr);
}

}  // namespace Utils

}  // namespace ZXGrammar
