#ifndef TESTS_PRG_XML_XPATH_PARSER_PARSER_SUPPORT_H
#define TESTS_PRG_XML_XPATH_PARSER_PARSER_SUPPORT_H

#include <memory>
#include <string>
#include <vector>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/xpath_exception.h"

/// What the tests of the parser and of the tree share.
namespace xpathtest {

/// The outcome of one parse: a tree, or the error text.
struct Parsed {
    std::unique_ptr<XPathStatement> tree;
    std::string error;
};

Parsed parse(const std::string &request);

/// The tree of a request that must be well formed.
std::unique_ptr<XPathStatement> tree(const std::string &request);

/// The request as NOEXECUTE prints it: the tree's text, or "!" and the error.
std::string printed(const std::string &request);

/// What a node prints; all flags true unless said otherwise.
std::string text(const XPathExpression &node, bool paths = true, bool prefix = true,
                 bool suffix = true);

std::string dump(const XPathExpression &node, bool recursive = true, int indent = 0);

/// A filled string buffer's text.
std::string text(const CStringBuffer &buffer);

/// The tokens of a text, one word each: NCNAME(a) INT_CONST(8) STRING_CONST(x) LESSEQ '+' -61.
/// Also proves that the value of a token that is its own code is that code.
std::string tokens(const std::string &text);

/// The request that asks for "a" under that condition: a[condition].
std::string requestWith(const std::string &condition);

/// The first step's predicate expression of the one-path request "a[...]"; owned by the tree.
XPathExpression *predicateOf(const XPathStatement &statement);

/// The message of the XPathException that `action` raises by pointer; "(none)" when it raises none.
template <typename Action>
std::string thrownMessage(Action action) {
    try {
        action();
    } catch (XPathException *raised) {
        const std::unique_ptr<XPathException> owned(raised);
        char message[256];
        owned->GetErrorMessage(message, sizeof message);
        return message;
    }
    return "(none)";
}

/// `count` times the same text.
std::string repeated(const std::string &text, int count);

}  // namespace xpathtest

#endif
