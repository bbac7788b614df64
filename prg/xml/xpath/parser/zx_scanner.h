#ifndef PRG_XML_XPATH_PARSER_ZX_SCANNER_H
#define PRG_XML_XPATH_PARSER_ZX_SCANNER_H

// The scanner's operations (xpath_lex_init_extra, xpath__scan_string, xpath_lex, xpath_get_extra,
// xpath_lex_destroy, ...), its token codes (xpath_tokentype) and its values (XPATH_STYPE).
//
// A scanner keeps all its state in its own instance; one instance is used by one thread. Its
// "extra" datum is the parser driver (ZXParserMain), which owns the texts of the tokens; with a
// null driver they are the caller's (free).
//
// The generated header wants the driver's name and, for a moment, the value type under its own.
class ZXParserMain;
#include "prg/xml/xpath/parser/xpath_grammar.h"
#define YYSTYPE XPATH_STYPE
#include "prg/xml/xpath/parser/xpath_lexer.h"
#undef YYSTYPE

#endif
