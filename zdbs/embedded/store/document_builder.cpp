#include "zdbs/embedded/store/document_builder.h"

#include <algorithm>
#include <cassert>

#include "zdbs/base/status.h"

namespace zdbs::embedded {

void DocumentBuilder::begin(NodeId first) {
    first_ = first;
    next_ = first;
    if (lastHandedOut_ >= first) lastHandedOut_ = noNode;  // of the part before
    most_ = mostFrom(first);
    open_.clear();
    longElements_.clear();
}

NodeId DocumentBuilder::startElement(std::uint32_t name) {
    const NodeId node = add(NodeKind::element, name, {});
    open_.push_back({node, lastPath_, lastPlace_});
    return node;
}

void DocumentBuilder::addNamespace(std::string_view prefix, std::string_view uri) {
    assert(!open_.empty() && open_.back().node + 1 == next_);
    rows_.addDeclaration({open_.back().node, names_.numberOf({{}, prefix, uri})});
}

// Whose row was handed out already cannot be told any more where it ends.
void DocumentBuilder::endElement() {
    assert(!open_.empty());
    const OpenElement element = open_.back();
    const auto last = static_cast<NodeId>(next_ - 1);
    open_.pop_back();
    if (element.node > lastHandedOut_)
        rows_.setBelow(element.place, last - element.node);
    else
        longElements_.push_back({element.node, last});
}

NodeId DocumentBuilder::end() {
    assert(open_.empty());
    std::sort(longElements_.begin(), longElements_.end(),
              [](const LongElement &a, const LongElement &b) { return a.node < b.node; });
    return last();
}

void DocumentBuilder::abandon(NodeId lastHandedOut) {
    rows_.truncate(first_);
    open_.clear();
    lastHandedOut_ = lastHandedOut;
}

NodeId DocumentBuilder::add(NodeKind kind, std::uint32_t name, std::string_view value) {
    if (value.size() > maxValueBytes)
        throw Failure(Status::valueTooLong, {"", std::to_string(maxValueBytes)});
    if (next_ > most_) makeRoom();
    if (rows_.isFull(limits_)) finishSegment();
    const auto node = static_cast<NodeId>(next_);
    const bool isTop = open_.empty();
    lastPath_ = paths_.child(isTop ? noPath : open_.back().path, kind, name);
    lastPlace_ = rows_.add(lastPath_, paths_[lastPath_],
                           {node, isTop ? noNode : open_.back().node, name, value});
    ++next_;
    return node;
}

void DocumentBuilder::makeRoom() {
    if (first_ == 1)
        throw Failure(Status::tooManyNodes, {"", std::to_string(limits_.nodesOfDocument)});
    nextPart_();
}

void DocumentBuilder::handOut() {
    if (!rows_.empty()) finishSegment();
}

void DocumentBuilder::renumber() {
    const NodeId less = first_ - 1;
    for (OpenElement &element : open_)
        element.node -= less;
    for (LongElement &element : longElements_)
        element = {element.node - less, element.last - less};
    next_ -= less;
    first_ = 1;
    most_ = mostFrom(first_);
    lastHandedOut_ = last();
}

// The elements that are open have begun in this segment or, further out, in earlier ones.
void DocumentBuilder::finishSegment() {
    for (auto element = open_.rbegin(); element != open_.rend() && element->node > lastHandedOut_;
         ++element)
        rows_.setBelow(element->place, endsLater);
    lastHandedOut_ = rows_.lastNode();
    sink_(takeRows());
}

}  // namespace zdbs::embedded
