/** Result sets with all that they remember written out, and what is made of them. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_SETS_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_SETS_H

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "tests/engine_conformance/naive/forest.h"
#include "tests/engine_conformance/naive/values.h"
#include "zdbs/engine/engine.h"

namespace zdbs::naive {

class Set;
using SetPtr = std::shared_ptr<const Set>;

/** A step on an axis from the nodes of a set. */
struct Step {
    SetPtr from;
    Axis axis;

    bool operator==(const Step &) const = default;
};

/** The nodes that a step selected from each context, in axis order. */
struct Pairs {
    std::map<Place, Places> nodes;
    std::optional<Step> step = std::nullopt;  ///< the one that all come from
};

class Set : public ResultSet {
public:
    Set(ForestPtr forest_, Places nodes_) : forest(std::move(forest_)), nodes(std::move(nodes_)) {}

    std::int64_t size() const override { return static_cast<std::int64_t>(nodes.size()); }
    std::int64_t hits() const override;
    bool contains(Place node) const;

    ForestPtr forest;
    Places nodes;
    bool isSetZero = false;  ///< which is more than its nodes as the first of a step
    std::shared_ptr<const Step> chain = nullptr;  ///< the last of the steps that lead here
    std::optional<Pairs> pairs = std::nullopt;    ///< none: it counts among siblings
    Leaves leaves = {};
};

SetPtr intersection(const Set &a, const Set &b);
SetPtr difference(const Set &a, const Set &b);
SetPtr unionOf(const Set &a, const Set &b);

/** The nodes of `set` that all of the field terms hold of, or not where they are negated. */
SetPtr filtered(const Set &set, const std::vector<const ConjunctTerm *> &fields);

/** The nodes of `a` from which the axis leads to one of `b`, chains regarded. */
SetPtr joinFirst(const SetPtr &a, Axis axis, const SetPtr &b);

/** The nodes of `b` that the axis leads to from one of `a`. */
SetPtr joinSecond(const SetPtr &a, Axis axis, const SetPtr &b);

/** The nodes whose position satisfies `position relation place` in some context. */
SetPtr atPosition(const Set &set, Relation relation, double place);

}  // namespace zdbs::naive

#endif
