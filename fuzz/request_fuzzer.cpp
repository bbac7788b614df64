// Requests: whatever the text, parsing ends, and a tree prints, dumps and goes away.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(data, data + size);
    ZXParserMain parser;
    CStringBuffer error(256);
    const std::unique_ptr<XPathStatement> tree(parser.Parse(text.c_str(), &error));
    if (tree == nullptr) return 0;
    CStringBuffer printed(256);
    tree->ToString(printed, true, true, true);
    printed.clear();
    tree->ToDebugString(printed, true, 0);
    return 0;
}
