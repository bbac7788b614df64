#ifndef PRG_XML_XPATH_PARSER_ZX_PARSER_MAIN_H
#define PRG_XML_XPATH_PARSER_ZX_PARSER_MAIN_H

#include <cstdarg>
#include <cstddef>

#include "foundation/pointer_list.h"
#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/zx_symbol_table.h"

class XPathStatement;

/// One parse of one request: runs the scanner and the grammar, collects the grammar's error texts
/// and owns every token text, all of which are freed with it. The tree outlives it.
///
/// Meant for one Parse: a second one on the same driver would report the first one's errors again.
/// Used by one thread.
class ZXParserMain {
public:
    ZXParserMain();
    ZXParserMain(const ZXParserMain &) = delete;
    ZXParserMain &operator=(const ZXParserMain &) = delete;
    virtual ~ZXParserMain();

    /// The tree of the request, owned by the caller; null when the request is not well formed,
    /// and then `pError` (when given) holds the message. Never throws for bad input.
    XPathStatement *Parse(const char *pszText, CStringBuffer *pError);

    /// Appends the formatted text to the parse errors, with nothing between two of them.
    void ParseError(const char *pszFormat, va_list args);

    /// The reserved word of that name, or null. The table of reserved words is empty.
    ZXSymbol *Lookup(const char *pszName) const;

    /// A zero-filled block, owned by the driver.
    void *Alloc(size_t nSize);
    /// A copy of the text (null counts as ""), owned by the driver.
    char *StrDup(const char *pszText);

    /// Makes the table case-insensitive and fills it with the reserved words. Called once, by the
    /// constructor.
    void SetupSymbols();
    /// Creates the scanner and points it at a copy of the text; called by Parse.
    void ParserSetup(const char *pszText);

protected:
    ZXSymbolTable *m_pSymbolTable;
    void *m_scanner = nullptr;
    CStringBuffer m_strParseError{256};
    ZfxPtrList m_memory;
    /// A file to remove on destruction; nothing in the system names one.
    char m_szTmpXPathFile[1024] = {};
};

#endif
