/** The nodes on an axis, one by one. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_AXIS_WALK_H
#define ZDBS_EMBEDDED_FRAGMENTS_AXIS_WALK_H

#include "zdbs/base/axis.h"
#include "zdbs/base/stop.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {

/**
 * Walks along the axes of a node table in axis order: backwards on the reverse
 * axes. `visit(NodeId)` answers whether to go on. Holds nothing but a place.
 */
class AxisWalk {
public:
    /** `nodes` must outlive the walk. */
    explicit AxisWalk(const NodeTable &nodes) : nodes_(nodes), finder_(nodes) {}

    template <typename Visit>
    void along(Axis axis, NodeId context, Visit visit) {
        StopCounter stop;
        NodeId node = first(axis, context);
        while (node != noNode && visit(node)) {
            stop.step();
            node = next(axis, context, node);
        }
    }

    /** First node on the axis, or noNode. */
    NodeId first(Axis axis, NodeId context);

    /** The node that follows `node` on the axis of `context`, or noNode. */
    NodeId next(Axis axis, NodeId context, NodeId node);

    /** The document that a node is in. */
    const DocumentRange &documentOf(NodeId node) { return finder_.documentOf(node); }

private:
    NodeId nextAttribute(NodeId element, NodeId attribute) const;
    NodeId followingSibling(NodeId node);
    NodeId precedingSibling(NodeId node);
    NodeId skipAttributes(NodeId node, NodeId last) const;
    NodeId before(NodeId context, NodeId node);

    const NodeTable &nodes_;
    DocumentFinder finder_;
};

}  // namespace zdbs::embedded

#endif
