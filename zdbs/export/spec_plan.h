/** A fragment specification as a tree. */
#ifndef ZDBS_EXPORT_SPEC_PLAN_H
#define ZDBS_EXPORT_SPEC_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/engine/fragments.h"

namespace zdbs {

struct SpecStep;

/** What a value must be. */
struct ValueCondition {
    Relation relation = Relation::equal;
    std::string literal;
};

/** Steps from a context node; without steps, the context node itself. */
struct SpecPath {
    std::vector<SpecStep> steps;
    std::optional<ValueCondition> value;  ///< what the value of the last step's node must satisfy
};

/** A condition on the nodes that a step found, as FragmentFilter, but for paths. */
struct SpecPredicate {
    enum class Kind : std::uint8_t {
        path,       ///< the path leads somewhere
        position,   ///< the position in the set made last
        unchanged,  ///< the set made last, as it is
        both,       ///< left and right side
        either,     ///< left or right side
    };

    Kind kind = Kind::unchanged;
    SpecPath path;
    bool ofLast = false;  ///< of a path: tried on the set made last, not on the step's nodes
    Relation relation = Relation::equal;  ///< of a position, which is counted from 1
    double place = 0;                     ///< in axis order, or from -1 backwards
    std::vector<SpecPredicate> sides;     ///< left and right

    /** Does it depend on the set made last? */
    bool isPositional() const;
};

struct SpecStep {
    Axis axis = Axis::child;
    NodeTest test;
    std::vector<SpecPredicate> predicates;

    bool isPositional() const;
};

inline bool SpecPredicate::isPositional() const {
    if (kind == Kind::path) return ofLast;
    for (const SpecPredicate &side : sides) {
        if (side.isPositional()) return true;
    }
    return sides.empty();
}

inline bool SpecStep::isPositional() const {
    for (const SpecPredicate &predicate : predicates) {
        if (predicate.isPositional()) return true;
    }
    return false;
}

/** The alternatives of a specification: more than one for a union. */
using SpecPlan = std::vector<SpecPath>;

}  // namespace zdbs

#endif
