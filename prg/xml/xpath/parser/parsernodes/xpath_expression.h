#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_EXPRESSION_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_EXPRESSION_H

#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_roster.h"

/// Root of the expression tree: what every node can do.
///
/// Ownership: a node owns the nodes that its pointer members and its list hold. Deleting the root
/// of a tree releases all of it, with a stack depth that does not depend on the tree's depth.
/// A pointer handed out by a getter stays owned by the node and lives as long as the node.
///
/// Kinds are told apart by dynamic_cast; a cast to a class that the object does not belong to
/// yields null, and casts work through the virtual bases.
///
/// Errors: Clone and ToString raise a heap-allocated XPathException by pointer on a class that has
/// no form of its own for them; the catcher deletes it. A tree belongs to one thread.
class XPathExpression {
public:
    XPathExpression();
    /// Takes over the round-bracket mark and nothing else.
    XPathExpression(const XPathExpression &source);
    XPathExpression &operator=(const XPathExpression &) = delete;
    virtual ~XPathExpression();

    /// A new deep copy, owned by the caller. The base form throws
    /// "XPathExpression::Clone() is not implemented.".
    virtual XPathExpression *Clone() const;

    /// Appends the node as XPath text to `buffer`, which is never cleared.
    /// bPaths: false makes every location path print nothing.
    /// bPrefix, bSuffix: print the opening and the closing quote of string literals.
    /// The base form throws "XPathExpression::ToString(CStringBuffer&) is not implemented.".
    virtual void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const;

    /// Appends the indented one-line-per-node dump: each line starts with a line break and three
    /// blanks a level. Never throws; a base class says that it is used in error. A dump that has
    /// grown beyond `maxDumpLength` (xpath_print.h) is cut there and says so.
    /// Both forms of printing stop at an XPathPrintLimit.
    virtual void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const;

    /// True when the parser met the expression inside round brackets.
    void SetParenthesized(bool bIsParenthesized) { m_bIsParenthesized = bIsParenthesized; }
    bool IsParenthesized() const { return m_bIsParenthesized; }

    /// Copies the round-bracket mark only.
    void Copy(const XPathExpression &source) { m_bIsParenthesized = source.m_bIsParenthesized; }

    /// Appends three blanks a level; nothing for a level of zero or below.
    void IndentLevel(CStringBuffer &buffer, int nIndent) const;

protected:
    /// Starts a dump line: line break, indentation, label. False when the dump is cut: the caller
    /// then appends nothing, neither the rest of its line nor its children.
    bool DumpLine(CStringBuffer &buffer, int nIndent, const char *pszLabel) const;

private:
    bool m_bIsParenthesized = false;
    XPathRoster::Entry m_entry;
};

#endif
