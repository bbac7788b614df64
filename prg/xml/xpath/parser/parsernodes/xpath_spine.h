#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_SPINE_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_SPINE_H

#include <memory>
#include <vector>

#include "foundation/string_buffer.h"

class XPathExpression;
class XPathExpressionPair;
class XPathFilterExpression;
class XPathUnaryExpression;

/// The chain of left operands below a node: from a pair to its left operand, from a filter
/// expression to the expression it filters, down to the first node that is neither.
///
/// The grammar builds this chain by left recursion, without limit: 1 + 1 + ... + 1, 'x'[a][b]...
/// The pair and the filter expression print, dump and copy it here, in loops. Everything that
/// hangs on the chain (right operands, predicates) nests no deeper than the parser's stack allows
/// and is left to the nodes' own operations.
///
/// A view: owns nothing; valid while the tree is not changed. Used by the node classes only.
class XPathSpine {
public:
    /// `pTop` may be null.
    explicit XPathSpine(const XPathExpression *pTop);

    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const;
    /// The recursive dump, the top at level nIndent.
    void ToDebugString(CStringBuffer &buffer, int nIndent) const;
    /// A copy of all of it; null for null.
    std::unique_ptr<XPathExpression> Clone() const;

private:
    /// One node of the chain: a pair (perhaps a unary one) or a filter expression.
    struct Link {
        const XPathExpressionPair *pair = nullptr;
        const XPathUnaryExpression *unary = nullptr;
        const XPathFilterExpression *filter = nullptr;

        explicit Link(const XPathExpression *pExpr);
        bool isLink() const { return pair != nullptr || filter != nullptr; }
        const XPathExpression *below() const;
        const XPathExpression *beside() const;
        void printHead(CStringBuffer &buffer) const;
        bool dumpHead(CStringBuffer &buffer, int nIndent) const;
        std::unique_ptr<XPathExpression> cloneOver(std::unique_ptr<XPathExpression> copy) const;
    };

    void printTail(const Link &link, CStringBuffer &buffer, bool bPaths, bool bPrefix,
                   bool bSuffix) const;

    std::vector<Link> links_;     // top first
    const XPathExpression *end_;  // what the last link stands on; may be null
    size_t firstPair_;            // index of the topmost pair; links_.size() without one
};

#endif
