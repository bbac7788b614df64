#include "prg/xml/xpath/parser/parsernodes/xpath_roster.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"

namespace {

thread_local XPathRoster *innermost = nullptr;
thread_local bool deletesNodes = false;

}  // namespace

XPathRoster::XPathRoster() : outer_(innermost) {
    innermost = this;
}

XPathRoster::~XPathRoster() {
    innermost = outer_;
    deletesNodes = true;
    while (first_ != nullptr)
        delete &first_->node_;
    deletesNodes = false;
}

void XPathRoster::keepNodes() noexcept {
    while (first_ != nullptr)
        first_->leave();
}

bool XPathRoster::isDeleting() {
    return deletesNodes;
}

XPathRoster::Entry::Entry(XPathExpression &node) : node_(node) {
    if (innermost == nullptr) return;
    next_ = innermost->first_;
    if (next_ != nullptr) next_->link_ = &next_;
    link_ = &innermost->first_;
    *link_ = this;
}

void XPathRoster::Entry::leave() noexcept {
    if (link_ == nullptr) return;
    *link_ = next_;
    if (next_ != nullptr) next_->link_ = link_;
    link_ = nullptr;
}
