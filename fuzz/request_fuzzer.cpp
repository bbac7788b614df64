// Requests: whatever the text, parsing ends, and a tree prints, dumps and goes away.
#include <memory>
#include <string>

#include "foundation/string_buffer.h"
#include "fuzz/fuzzing.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"

void fuzz(fuzzing::Bytes input) {
    const std::string text(fuzzing::textOf(input));
    ZXParserMain parser;
    CStringBuffer error(256);
    const std::unique_ptr<XPathStatement> tree(parser.Parse(text.c_str(), &error));
    if (tree == nullptr) return;
    CStringBuffer printed(256);
    tree->ToString(printed, true, true, true);
    printed.clear();
    tree->ToDebugString(printed, true, 0);
}
