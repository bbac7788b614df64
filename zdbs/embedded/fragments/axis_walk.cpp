#include "zdbs/embedded/fragments/axis_walk.h"

namespace zdbs::embedded {

NodeId AxisWalk::first(Axis axis, NodeId context) {
    const AxisTraits &traits = traitsOf(axis);
    if (traits.withSelf) return context;
    const bool isAttribute = nodes_.kind(context) == NodeKind::attribute;
    switch (traits.region) {
        case Region::none:
            break;
        case Region::below:
            if (traits.toAttributes) return nextAttribute(context, context);
            return skipAttributes(context + 1, nodes_.lastBelow(context));
        case Region::above:
            return nodes_.parent(context);
        case Region::siblingsAfter:
            return isAttribute ? noNode : followingSibling(context);
        case Region::siblingsBefore:
            return isAttribute ? noNode : precedingSibling(context);
        case Region::after:
            // What is below the element of an attribute follows the attribute.
            return skipAttributes((isAttribute ? context : nodes_.lastBelow(context)) + 1,
                                  documentOf(context).last);
        case Region::before:
            return before(context, context);
    }
    return noNode;
}

NodeId AxisWalk::next(Axis axis, NodeId context, NodeId node) {
    const AxisTraits &traits = traitsOf(axis);
    switch (traits.region) {
        case Region::none:
            break;
        case Region::below:
            if (traits.toAttributes) return nextAttribute(context, node);
            if (traits.isDirect) return followingSibling(node);
            return skipAttributes(node + 1, nodes_.lastBelow(context));
        case Region::above:
            return traits.isDirect ? noNode : nodes_.parent(node);
        case Region::siblingsAfter:
            return followingSibling(node);
        case Region::siblingsBefore:
            return precedingSibling(node);
        case Region::after:
            return skipAttributes(node + 1, documentOf(context).last);
        case Region::before:
            return before(context, node);
    }
    return noNode;
}

NodeId AxisWalk::nextAttribute(NodeId element, NodeId attribute) const {
    const bool more =
        attribute < nodes_.lastBelow(element) && nodes_.kind(attribute + 1) == NodeKind::attribute;
    return more ? attribute + 1 : noNode;
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

}  // namespace zdbs::embedded
