#include "prg/xml/xpath/parser/parsernodes/xpath_spine.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_expression_pair.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_filter_expression.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathSpine::Link::Link(const XPathExpression *pExpr)
    : pair(dynamic_cast<const XPathExpressionPair *>(pExpr)) {
    if (pair != nullptr) {
        unary = dynamic_cast<const XPathUnaryExpression *>(pair);
    } else {
        filter = dynamic_cast<const XPathFilterExpression *>(pExpr);
    }
}

const XPathExpression *XPathSpine::Link::below() const {
    return pair != nullptr ? pair->m_pLeft : filter->m_pExpr;
}

const XPathExpression *XPathSpine::Link::beside() const {
    if (pair != nullptr) return pair->m_pRight;
    return filter->m_pPredicate;
}

void XPathSpine::Link::printHead(CStringBuffer &buffer) const {
    if (filter != nullptr) {
        appendText(buffer, filter->StepParentText());
    } else if (unary != nullptr && unary->IsNegated()) {
        appendText(buffer, "-", 1);
    }
}

bool XPathSpine::Link::dumpHead(CStringBuffer &buffer, int nIndent) const {
    if (filter != nullptr) return filter->DumpHead(buffer, nIndent);
    return unary != nullptr ? unary->DumpHead(buffer, nIndent) : pair->DumpHead(buffer, nIndent);
}

std::unique_ptr<XPathExpression> XPathSpine::Link::cloneOver(
    std::unique_ptr<XPathExpression> copy) const {
    using Owner = std::unique_ptr<XPathExpression>;
    if (filter != nullptr) return Owner(new XPathFilterExpression(*filter, std::move(copy)));
    if (unary != nullptr) return Owner(new XPathUnaryExpression(*unary, std::move(copy)));
    return Owner(new XPathExpressionPair(*pair, std::move(copy)));
}

XPathSpine::XPathSpine(const XPathExpression *pTop) : end_(pTop) {
    for (Link link(end_); link.isLink(); link = Link(end_)) {
        links_.push_back(link);
        end_ = link.below();
    }
    firstPair_ = 0;
    while (firstPair_ < links_.size() && links_[firstPair_].pair == nullptr)
        ++firstPair_;
}

void XPathSpine::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const {
    for (const Link &link : links_)
        link.printHead(buffer);
    // A pair prints the paths in its operands whatever its own caller wants.
    const bool pathsAtEnd = bPaths || firstPair_ < links_.size();
    if (XPathPrintLimit::IsReached(buffer)) return;
    if (end_ != nullptr) end_->ToString(buffer, pathsAtEnd, bPrefix, bSuffix);
    for (size_t i = links_.size(); i-- > 0 && !XPathPrintLimit::IsReached(buffer);) {
        printTail(links_[i], buffer, bPaths || i >= firstPair_, bPrefix, bSuffix);
    }
}

void XPathSpine::printTail(const Link &link, CStringBuffer &buffer, bool bPaths, bool bPrefix,
                           bool bSuffix) const {
    if (link.pair != nullptr) appendText(buffer, link.pair->OperatorText());
    if (const auto *beside = link.beside()) beside->ToString(buffer, bPaths, bPrefix, bSuffix);
}

void XPathSpine::ToDebugString(CStringBuffer &buffer, int nIndent) const {
    int level = nIndent;
    for (const Link &link : links_) {
        if (!link.dumpHead(buffer, level++)) return;
    }
    if (end_ != nullptr) end_->ToDebugString(buffer, true, level);
    for (size_t i = links_.size(); i-- > 0; --level) {
        const auto *beside = links_[i].beside();
        if (beside != nullptr) beside->ToDebugString(buffer, true, level);
    }
}

std::unique_ptr<XPathExpression> XPathSpine::Clone() const {
    std::unique_ptr<XPathExpression> copy(end_ != nullptr ? end_->Clone() : nullptr);
    for (size_t i = links_.size(); i-- > 0;)
        copy = links_[i].cloneOver(std::move(copy));
    return copy;
}
