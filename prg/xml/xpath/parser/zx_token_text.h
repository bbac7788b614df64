#ifndef PRG_XML_XPATH_PARSER_ZX_TOKEN_TEXT_H
#define PRG_XML_XPATH_PARSER_ZX_TOKEN_TEXT_H

// What the scanner calls: texts of tokens, owned by the scanner's parser driver, the driver's
// reserved words, and the texts of fatal errors. `scanner` is never null.

#include <cstddef>

class ZXSymbol;

/// A zero-filled block that the driver owns; the caller's own (free) when the scanner has no
/// driver.
void *myalloc(size_t size, void *scanner);

/// A copy of the text, owned like a block of myalloc.
char *mystrdup(const char *text, void *scanner);

/// The text without its quotes when it starts and ends with the quote, else the whole text; null
/// for null. Nothing inside is decoded. The result is owned like a block of myalloc.
char *unquote(const char *text, char quote, void *scanner);

/// The reserved word of that name; null when there is none, or no driver to ask.
ZXSymbol *find_symbol(const char *name, void *scanner);

/// The text of a fatal error with the scanner's operations under the names that they have here:
/// the generator writes some of them with a prefix of its own.
const char *fatal_error_text(const char *text);

#endif
