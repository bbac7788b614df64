#include "zdbs/store/document_builder.h"

#include <algorithm>
#include <cassert>

#include "zdbs/status/status.h"

namespace zdbs {

void DocumentBuilder::begin(NodeId first) {
    first_ = first;
    next_ = first;
    open_.clear();
    longElements_.clear();
    block_.start(first);
}

NodeId DocumentBuilder::startElement(const NodeName &name) {
    const NodeId node = add(NodeKind::element, names_.numberOf(name), {});
    open_.push_back(node);
    return node;
}

NodeId DocumentBuilder::addLeaf(NodeKind kind, const NodeName &name, std::string_view value) {
    return add(kind, names_.numberOf(name), value);
}

NodeId DocumentBuilder::addNameless(NodeKind kind, std::string_view value) {
    return add(kind, noName, value);
}

void DocumentBuilder::addNamespace(std::string_view prefix, std::string_view uri) {
    assert(!open_.empty() && open_.back() + 1 == next_);
    block_.addNamespace(names_.numberOf({{}, prefix, uri}));
}

void DocumentBuilder::endElement() {
    assert(!open_.empty());
    const NodeId node = open_.back();
    const auto last = static_cast<NodeId>(next_ - 1);
    open_.pop_back();
    if (node >= block_.first())
        block_.setBelow(node, last - node);
    else
        longElements_.push_back({node, last});
}

NodeId DocumentBuilder::end() {
    assert(open_.empty());
    if (!block_.empty()) finishBlock();
    std::sort(longElements_.begin(), longElements_.end(),
              [](const LongElement &a, const LongElement &b) { return a.node < b.node; });
    return next_ == first_ ? noNode : static_cast<NodeId>(next_ - 1);
}

NodeId DocumentBuilder::add(NodeKind kind, std::uint32_t name, std::string_view value) {
    if (next_ > lastNodeId) throw Failure(Status::tooManyNodes, {"", std::to_string(lastNodeId)});
    if (value.size() > maxValueBytes)
        throw Failure(Status::valueTooLong, {"", std::to_string(maxValueBytes)});
    if (!block_.hasRoomFor(value.size())) finishBlock();
    const auto node = static_cast<NodeId>(next_);
    block_.add(kind, open_.empty() ? 0 : node - open_.back(), name, value);
    ++next_;
    return node;
}

// The elements that are open have begun in this block or, further out, in earlier ones.
void DocumentBuilder::finishBlock() {
    for (auto node = open_.rbegin(); node != open_.rend() && *node >= block_.first(); ++node)
        block_.setBelow(*node, endsLater);
    sink_(block_.first(), block_.encode());
    block_.start(static_cast<NodeId>(next_));
}

}  // namespace zdbs
