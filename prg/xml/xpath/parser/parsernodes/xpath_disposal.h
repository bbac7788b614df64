#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_DISPOSAL_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_DISPOSAL_H

class XPathExpression;

/// Deletes a node that another node owned; null is ignored. Used by the nodes' destructors in
/// place of delete, so that a tree of any depth is released with a stack of constant depth: called
/// while another node is being disposed of, it only queues the node; the outermost call works the
/// queue off (first in, first out) before it returns. Each thread has its own queue. Nothing
/// happens while a roster deletes all nodes one by one.
void disposeNode(XPathExpression *pNode) noexcept;

#endif
