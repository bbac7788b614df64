#include "prg/xml/xpath/processor/tree_printout.h"

#include "foundation/logger.h"
#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print_limit.h"
#include "prg/xml/xpath/processor/buffer_text.h"

std::string TreePrintoutFormat(const XPathExpression &tree) {
    // The log prints two per-cent signs as one.
    const XPathPrintLimit limit(2 * zfxLogTextLength);
    CStringBuffer text(1 << 15);
    text.set("XPath parser node printout follows.");
    tree.ToDebugString(text, true, 0);
    text.append("\n\n");
    return EscapeFormat(BufferView(text));
}

std::string EscapeFormat(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        escaped.push_back(text[i]);
        if (text[i] != '%') continue;
        escaped.push_back('%');
        if (i + 1 < text.size() && text[i + 1] == '%') ++i;
    }
    return escaped;
}
