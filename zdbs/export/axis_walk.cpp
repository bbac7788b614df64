#include "zdbs/export/axis_walk.h"

namespace zdbs {

NodeId AxisWalk::first(Axis axis, NodeId context) {
    const bool isAttribute = nodes_.kind(context) == NodeKind::attribute;
    switch (axis) {
        case Axis::child:
            return firstChild(context);
        case Axis::attribute:
            return next(axis, context, context);
        case Axis::descendant:
            return skipAttributes(context + 1, nodes_.lastBelow(context));
        case Axis::self:
        case Axis::descendantOrSelf:
        case Axis::ancestorOrSelf:
            return context;
        case Axis::parent:
        case Axis::ancestor:
            return nodes_.parent(context);
        case Axis::followingSibling:
            return isAttribute ? noNode : followingSibling(context);
        case Axis::precedingSibling:
            return isAttribute ? noNode : precedingSibling(context);
        case Axis::following:
            // What is below the element of an attribute follows the attribute.
            return skipAttributes((isAttribute ? context : nodes_.lastBelow(context)) + 1,
                                  documentOf(context).last);
        case Axis::preceding:
            return before(context, context);
        case Axis::namespaceNode:
            return noNode;
    }
    return noNode;
}

NodeId AxisWalk::next(Axis axis, NodeId context, NodeId node) {
    switch (axis) {
        case Axis::child:
        case Axis::followingSibling:
            return followingSibling(node);
        case Axis::attribute: {
            const bool more =
                node < nodes_.lastBelow(context) && nodes_.kind(node + 1) == NodeKind::attribute;
            return more ? node + 1 : noNode;
        }
        case Axis::descendant:
        case Axis::descendantOrSelf:
            return skipAttributes(node + 1, nodes_.lastBelow(context));
        case Axis::ancestor:
        case Axis::ancestorOrSelf:
            return nodes_.parent(node);
        case Axis::precedingSibling:
            return precedingSibling(node);
        case Axis::following:
            return skipAttributes(node + 1, documentOf(context).last);
        case Axis::preceding:
            return before(context, node);
        default:
            return noNode;
    }
}

NodeId AxisWalk::firstChild(NodeId element) const {
    return skipAttributes(element + 1, nodes_.lastBelow(element));
}

NodeId AxisWalk::followingSibling(NodeId node) {
    const NodeId parent = nodes_.parent(node);
    const NodeId last = parent == noNode ? documentOf(node).last : nodes_.lastBelow(parent);
    const NodeId sibling = nodes_.lastBelow(node) + 1;
    return sibling <= last ? sibling : noNode;
}

/** The node just before is the last one below the sibling: up from there. */
NodeId AxisWalk::precedingSibling(NodeId node) {
    const NodeId parent = nodes_.parent(node);
    NodeId sibling = node - 1;
    if (sibling == parent || sibling < documentOf(node).first) return noNode;
    while (nodes_.parent(sibling) != parent)
        sibling = nodes_.parent(sibling);
    return nodes_.kind(sibling) == NodeKind::attribute ? noNode : sibling;
}

NodeId AxisWalk::skipAttributes(NodeId node, NodeId last) const {
    while (node <= last && nodes_.kind(node) == NodeKind::attribute)
        ++node;
    return node <= last ? node : noNode;
}

/** The last node before `node` that is neither an attribute nor an ancestor of `context`. */
NodeId AxisWalk::before(NodeId context, NodeId node) {
    const NodeId firstOfAll = documentOf(context).first;
    while (node > firstOfAll) {
        --node;
        const bool isAncestor = nodes_.lastBelow(node) >= context;
        if (!isAncestor && nodes_.kind(node) != NodeKind::attribute) return node;
    }
    return noNode;
}

}  // namespace zdbs
