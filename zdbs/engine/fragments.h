/** Which fragments of the records of a set are asked for. */
#ifndef ZDBS_ENGINE_FRAGMENTS_H
#define ZDBS_ENGINE_FRAGMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/base/node.h"
#include "zdbs/base/relation.h"
#include "zdbs/engine/result_set.h"

namespace zdbs {

/** Which nodes of an axis qualify. */
struct NodeTest {
    enum class Kind : std::uint8_t { node, name, text, comment, instruction };

    Kind kind = Kind::node;
    std::string local = {};  ///< of a name; empty is every name
    std::string space = {};  ///< prefix as written or namespace name; empty is every namespace

    /** The only kind that passes on an axis: the principal one where a name is asked for. */
    std::optional<NodeKind> kindOn(const AxisTraits &axis) const {
        switch (kind) {
            case Kind::node:
                break;
            case Kind::name:
                return axis.toAttributes ? NodeKind::attribute : NodeKind::element;
            case Kind::text:
                return NodeKind::text;
            case Kind::comment:
                return NodeKind::comment;
            case Kind::instruction:
                return NodeKind::processingInstruction;
        }
        return std::nullopt;
    }

    /** Whether not all nodes of that kind pass. */
    bool asksForName() const { return kind == Kind::name && !(local.empty() && space.empty()); }
    bool allows(const NodeName &name) const {
        if (!local.empty() && local != name.local) return false;
        return space.empty() || space == name.prefix || space == name.uri;
    }
};

/**
 * What the nodes must satisfy that a step found from one context. Each filter of a step is tried
 * on all of them, and the answers are intersected. Positions count in the nodes found last: those
 * of the step, or what the filter before, or the left side, let pass.
 */
struct FragmentFilter {
    enum class Kind : std::uint8_t {
        among,      ///< it is in a set
        position,   ///< its position in the nodes found last
        unchanged,  ///< the nodes found last, as they are
        both,       ///< left and right side
        either,     ///< left or right side
    };

    Kind kind = Kind::unchanged;
    ResultSetPtr among = nullptr;  ///< of the state that is asked
    bool ofLast = false;  ///< `among` is tried on the nodes found last, not on those of the step
    Relation relation = Relation::equal;     ///< of a position, which is counted from 1
    double place = 0;                        ///< in axis order, or from -1 backwards
    std::vector<FragmentFilter> sides = {};  ///< left and right

    /** Whether a position passes of which there are so many, counted from 1 in document order. */
    bool holdsAt(std::size_t position, std::size_t count, const AxisTraits &axis) const {
        const auto size = static_cast<double>(count);
        const auto forwards = static_cast<double>(position);
        return holds(relation, axis.isReverse() ? size + 1 - forwards : forwards,
                     place < 0 ? size + 1 + place : place);
    }
};

struct FragmentStep {
    Axis axis = Axis::child;
    NodeTest test;
    std::vector<FragmentFilter> filters;
};

/** Steps from a record, as in XPath 1.0; without steps, the record itself. */
using FragmentPath = std::vector<FragmentStep>;

/** Alternatives: what any of them selects, in document order, each node once. */
using FragmentSpec = std::vector<FragmentPath>;

}  // namespace zdbs

#endif
