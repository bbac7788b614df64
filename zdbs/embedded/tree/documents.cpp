#include "zdbs/embedded/tree/documents.h"

#include <algorithm>

namespace zdbs::embedded {
namespace {

/** The place of the last document that does not begin after `node`; documents.size() for none. */
std::size_t candidateFor(std::span<const DocumentRange> documents, NodeId node) {
    auto after = std::upper_bound(
        documents.begin(), documents.end(), node,
        [](NodeId number, const DocumentRange &document) { return number < document.first; });
    if (after == documents.begin()) return documents.size();
    return static_cast<std::size_t>(after - documents.begin()) - 1;
}

}  // namespace

DocumentIndex DocumentFinder::indexOf(NodeId node) {
    const DocumentRange &last = documents_[last_];
    if (node < last.first || node > last.last) last_ = candidateFor(documents_, node);
    return static_cast<DocumentIndex>(last_);
}

bool isPresent(const NodeTable &table, NodeId node) {
    auto documents = table.documents();
    std::size_t index = candidateFor(documents, node);
    return index < documents.size() && node <= documents[index].last;
}

ParentKey parentKey(const NodeTable &table, DocumentFinder &finder, NodeId node) {
    NodeId parent = table.parent(node);
    return parent != noNode ? parent : rootKey(finder.indexOf(node));
}

}  // namespace zdbs::embedded
