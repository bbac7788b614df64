#include "prg/xml/xpath/parser/zx_parser_main.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "foundation/memory.h"
#include "prg/xml/xpath/parser/xpath_grammar.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace {

/// Reserved words and the tokens that the scanner returns for them, ended by a zero token. Empty:
/// every name is a name, and the grammar's actions know the keywords.
struct ReservedWord {
    const char *name;
    int32_t token;
};

constexpr ReservedWord reservedWords[] = {
    {nullptr, 0},
};

}  // namespace

ZXParserMain::ZXParserMain() : m_pSymbolTable(new ZXSymbolTable(nullptr, nullptr)) {
    SetupSymbols();
}

ZXParserMain::~ZXParserMain() {
    delete m_pSymbolTable;
    if (m_scanner != nullptr) xpath_lex_destroy(m_scanner);
    if (m_szTmpXPathFile[0] != '\0') unlink(m_szTmpXPathFile);
    for (int i = 0; i < m_memory.size(); ++i)
        std::free(m_memory.get(i));
}

XPathStatement *ZXParserMain::Parse(const char *pszText, CStringBuffer *pError) {
    if (pszText == nullptr) pszText = "";
    ParserSetup(pszText);
    XPathStatement *tree = nullptr;
    XPathRoster roster;
    const int result = xpath_parse(&tree, m_scanner);
    roster.keepNodes();
    if (result == 0) return tree;

    delete tree;  // complete, but followed by something that does not belong there
    if (pError == nullptr) return nullptr;
    if (m_strParseError.length() > 0) {
        pError->set(m_strParseError);
    } else {
        pError->format("Unexplained error #%d parsing XPath statement \"%s\"", result, pszText);
    }
    return nullptr;
}

void ZXParserMain::ParseError(const char *pszFormat, va_list args) {
    CStringBuffer text(256);
    text.vformat(pszFormat, args);
    m_strParseError.append(text);
}

ZXSymbol *ZXParserMain::Lookup(const char *pszName) const {
    return m_pSymbolTable->lookup(pszName);
}

void *ZXParserMain::Alloc(size_t nSize) {
    m_memory.append(nullptr);  // a place for it first, so that it cannot be lost
    void *const block = std::calloc(nSize > 0 ? nSize : 1, 1);
    if (block == nullptr) ZfxOutOfMemory();
    m_memory.m_ppList[m_memory.size() - 1] = block;
    return block;
}

char *ZXParserMain::StrDup(const char *pszText) {
    if (pszText == nullptr) pszText = "";
    const size_t size = std::strlen(pszText) + 1;
    return static_cast<char *>(std::memcpy(Alloc(size), pszText, size));
}

void ZXParserMain::SetupSymbols() {
    m_pSymbolTable->setAllocMode(ZX_ALLOCMODE_OFF);
    m_pSymbolTable->setCaseSensetive(false);
    for (const auto *word = reservedWords; word->token != 0; ++word) {
        m_pSymbolTable->createSymbol(word->name, word->token);
    }
}

void ZXParserMain::ParserSetup(const char *pszText) {
    if (m_scanner != nullptr) xpath_lex_destroy(m_scanner);
    m_scanner = nullptr;
    if (xpath_lex_init_extra(this, &m_scanner) != 0) ZfxOutOfMemory();
    xpath__scan_string(pszText, m_scanner);
}
