#include "prg/xml/xpath/parser/zx_token_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace {

struct FatalError {
    const char *generated;
    const char *text;
};

constexpr FatalError fatalErrors[] = {
    {"out of dynamic memory in yy_create_buffer()",
     "out of dynamic memory in xpath__create_buffer()"},
    {"out of dynamic memory in yyensure_buffer_stack()",
     "out of dynamic memory in xpath_ensure_buffer_stack()"},
    {"out of dynamic memory in yy_scan_buffer()", "out of dynamic memory in xpath__scan_buffer()"},
    {"out of dynamic memory in yy_scan_bytes()", "out of dynamic memory in xpath__scan_bytes()"},
    {"bad buffer in yy_scan_bytes()", "bad buffer in xpath__scan_bytes()"},
    {"yyset_lineno called with no buffer", "xpath_set_lineno called with no buffer"},
    {"yyset_column called with no buffer", "xpath_set_column called with no buffer"},
};

}  // namespace

void *myalloc(size_t size, void *scanner) {
    if (ZXParserMain *driver = xpath_get_extra(scanner)) return driver->Alloc(size);
    return std::calloc(size, 1);
}

char *mystrdup(const char *text, void *scanner) {
    if (ZXParserMain *driver = xpath_get_extra(scanner)) return driver->StrDup(text);
    return strdup(text != nullptr ? text : "");
}

char *unquote(const char *text, char quote, void *scanner) {
    if (text == nullptr) return nullptr;
    const size_t length = std::strlen(text);
    if (length == 0 || text[0] != quote || text[length - 1] != quote) {
        return mystrdup(text, scanner);
    }
    const size_t inner = std::max<size_t>(length, 2) - 2;  // a lone quote has nothing inside
    auto *value = static_cast<char *>(myalloc(length, scanner));
    if (value == nullptr) return nullptr;
    std::memcpy(value, text + 1, inner);
    value[inner] = '\0';
    return value;
}

ZXSymbol *find_symbol(const char *name, void *scanner) {
    const ZXParserMain *driver = xpath_get_extra(scanner);
    return driver != nullptr ? driver->Lookup(name) : nullptr;
}

const char *fatal_error_text(const char *text) {
    for (const auto &error : fatalErrors) {
        if (std::strcmp(text, error.generated) == 0) return error.text;
    }
    return text;
}
