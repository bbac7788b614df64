/** A fragment specification, ready to be evaluated at a node. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_PLAN_H
#define ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_PLAN_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/base/relation.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs {

/** Which nodes of an axis qualify. */
struct FragmentTest {
    enum class Kind : std::uint8_t { node, name, text, comment, instruction };

    Kind kind = Kind::node;
    std::string local;  ///< of a name; empty is every name
    std::string space;  ///< prefix as written or namespace name; empty is every namespace
};

struct FragmentStep;

/** Steps from a context node; without steps, the context node itself. */
struct FragmentPath {
    std::vector<FragmentStep> steps;
    std::optional<ValueTest> value;  ///< what the value of the last step's node must satisfy
    bool positional = false;         ///< some step counts positions, so contexts cannot be merged
};

/** A position, counted from 1 in axis order, or from -1 backwards. */
struct FragmentPosition {
    Relation relation = Relation::equal;
    double place = 0;
};

/**
 * A condition on the nodes that a step found. As in requests, positions count in
 * the set that was made last: the step's nodes, or what the condition before (a
 * predicate, or the left side of `and` and `or`) left of them.
 */
struct FragmentPredicate {
    enum class Kind : std::uint8_t {
        path,       ///< the path leads somewhere
        position,   ///< the position in the set made last
        unchanged,  ///< the set made last, as it is
        both,       ///< left and right
        either,     ///< left or right
    };

    Kind kind = Kind::unchanged;
    FragmentPath path;
    bool ofLast = false;  ///< of a path: tried on the set made last, not on the step's nodes
    FragmentPosition position;
    std::unique_ptr<FragmentPredicate> left;
    std::unique_ptr<FragmentPredicate> right;

    /** Does it depend on the set made last? */
    bool positional() const {
        if (kind == Kind::path) return ofLast;
        if (kind == Kind::both || kind == Kind::either)
            return left->positional() || right->positional();
        return true;
    }
};

struct FragmentStep {
    Axis axis = Axis::child;
    FragmentTest test;
    std::vector<FragmentPredicate> predicates;

    bool positional() const {
        for (const FragmentPredicate &predicate : predicates) {
            if (predicate.positional()) return true;
        }
        return false;
    }
};

/** The alternatives of a specification: more than one for a union. */
using FragmentSpec = std::vector<FragmentPath>;

}  // namespace zdbs

#endif
