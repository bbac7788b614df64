// The parse tree in the log.
#ifndef PRG_XML_XPATH_PROCESSOR_TREE_PRINTOUT_H
#define PRG_XML_XPATH_PROCESSOR_TREE_PRINTOUT_H

#include <string>
#include <string_view>

class XPathExpression;

// The debug printout of a tree with its heading, to be handed to the logger as the format itself:
// as much of it as the logger keeps.
std::string TreePrintoutFormat(const XPathExpression &tree);

// `text` made safe to be a format without arguments: "%%" stays, so that the logger prints one
// per-cent sign for it; every other per-cent sign is doubled. A request is free to contain "%n".
std::string EscapeFormat(std::string_view text);

#endif
