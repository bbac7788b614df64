#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"

#include <new>
#include <vector>

#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"

namespace {

/// The queue of the outermost call on this thread, or null. A bare pointer needs no destruction,
/// so that trees may be deleted as late as the process likes.
thread_local std::vector<XPathExpression *> *pendingNodes = nullptr;

void queueNode(XPathExpression *pNode) noexcept {
    try {
        pendingNodes->push_back(pNode);
    } catch (const std::bad_alloc &) {
        delete pNode;  // deeper on the stack, but never lost
    }
}

}  // namespace

void disposeExpression(XPathExpression *pNode) noexcept {
    if (pNode == nullptr) return;
    if (pendingNodes != nullptr) {
        queueNode(pNode);
        return;
    }
    std::vector<XPathExpression *> queue;
    pendingNodes = &queue;
    delete pNode;
    // By index: deleting a node appends its children.
    for (size_t i = 0; i < queue.size(); ++i)
        delete queue[i];
    pendingNodes = nullptr;
}
