#include "parser_support.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace xpathtest {

namespace {

std::string number(double value) {
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.17g", value);
    return digits;
}

const char *tokenName(int code) {
    switch (code) {
        case LESSEQ:
            return "LESSEQ";
        case GREATEQ:
            return "GREATEQ";
        case NOTEQUAL:
            return "NOTEQUAL";
        case ASTERISK:
            return "ASTERISK";
        case DOUBLESLASH:
            return "DOUBLESLASH";
        case DOUBLECOLON:
            return "DOUBLECOLON";
        case CONTEXTNODE:
            return "CONTEXTNODE";
        case PARENTNODE:
            return "PARENTNODE";
        case AT:
            return "AT";
        default:
            return nullptr;
    }
}

std::string tokenText(int code, const XPATH_STYPE &value) {
    if (code == INT_CONST) return "INT_CONST(" + std::to_string(value.i) + ")";
    if (code == FLOAT_CONST) return "FLOAT_CONST(" + number(value.d) + ")";
    if (code == STRING_CONST) return "STRING_CONST(" + std::string(value.s) + ")";
    if (code == NCNAME) return "NCNAME(" + std::string(value.s) + ")";
    EXPECT_EQ(code, value.i) << "the value of a token that is its own code";
    if (const char *name = tokenName(code)) return name;
    if (code > ' ' && code < 127) return std::string("'") + static_cast<char>(code) + "'";
    return std::to_string(code);
}

}  // namespace

Parsed parse(const std::string &request) {
    ZXParserMain driver;
    CStringBuffer error(256);
    Parsed parsed;
    parsed.tree.reset(driver.Parse(request.c_str(), &error));
    parsed.error = text(error);
    return parsed;
}

std::unique_ptr<XPathStatement> tree(const std::string &request) {
    Parsed parsed = parse(request);
    EXPECT_NE(nullptr, parsed.tree) << request.substr(0, 100) << ": " << parsed.error;
    return std::move(parsed.tree);
}

std::string printed(const std::string &request) {
    const Parsed parsed = parse(request);
    return parsed.tree != nullptr ? text(*parsed.tree) : "!" + parsed.error;
}

std::string text(const XPathExpression &node, bool paths, bool prefix, bool suffix) {
    CStringBuffer buffer(256);
    node.ToString(buffer, paths, prefix, suffix);
    return text(buffer);
}

std::string dump(const XPathExpression &node, bool recursive, int indent) {
    CStringBuffer buffer(256);
    node.ToDebugString(buffer, recursive, indent);
    return text(buffer);
}

std::string text(const CStringBuffer &buffer) {
    if (buffer.length() == 0) return "";
    return std::string(buffer.getBufferPointer(), static_cast<size_t>(buffer.length()));
}

std::string tokens(const std::string &text) {
    ZXParserMain driver;
    yyscan_t scanner = nullptr;
    xpath_lex_init_extra(&driver, &scanner);
    xpath__scan_string(text.c_str(), scanner);
    std::string line;
    XPATH_STYPE value;
    while (const int code = xpath_lex(&value, scanner)) {
        if (!line.empty()) line += ' ';
        line += tokenText(code, value);
    }
    xpath_lex_destroy(scanner);
    return line;
}

std::string requestWith(const std::string &condition) {
    std::string request = "a[";
    request.append(condition).append("]");
    return request;
}

XPathExpression *predicateOf(const XPathStatement &statement) {
    const auto *path = dynamic_cast<const XPathPath *>(&statement);
    const auto *step = dynamic_cast<XPathAxisLocationStep *>(path->Get(0));
    return dynamic_cast<XPathPredicate *>(step->GetPredicates()->Get(0))->GetExpression();
}

std::string repeated(const std::string &text, int count) {
    std::string result;
    result.reserve(text.size() * static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

}  // namespace xpathtest
