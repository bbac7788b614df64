#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_DISPOSAL_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_DISPOSAL_H

#include "prg/xml/xpath/parser/parsernodes/xpath_roster.h"

/// Deletes a node that another node owned; null is ignored. Used by the nodes' destructors in
/// place of delete, so that a tree of any depth is released with a stack of constant depth: called
/// while another node is being disposed of, it only queues the node; the outermost call works the
/// queue off (first in, first out) before it returns. Each thread has its own queue.
void disposeExpression(XPathExpression *pNode) noexcept;

/// The same, but while a roster deletes all nodes one by one: then the node may be gone already,
/// and is not looked at, not even for its virtual base.
template <typename T>
void disposeNode(T *pNode) noexcept {
    if (!XPathRoster::isDeleting()) disposeExpression(pNode);
}

#endif
