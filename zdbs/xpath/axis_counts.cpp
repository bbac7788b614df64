// Counts of paths for many contexts, whose last step is counted and not gone.
#include <algorithm>
#include <utility>

#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {

const Path *countablePath(const Expression &expression) {
    const auto *path = expression.as<Path>();
    if (!path || path->start != Path::Start::context || isPositional(path->steps.back()))
        return nullptr;
    return path;
}

namespace {

/**
 * Brings groups of contexts down to those whose nodes are different ones, and together those of
 * all: what is below one of them lies below no other, behind or before one lies what does so of
 * the others. Ancestors and siblings can be shared without being the same; with the contexts
 * themselves there may be attributes among these.
 */
class Reduction {
public:
    Reduction(const Collection &collection, std::span<const Node> distinct, Axis axis)
        : distinct_(distinct), axis_(traitsOf(axis)) {
        const bool asksEnds = axis_.region == Region::after || axis_.region == Region::below;
        if (asksEnds && !axis_.isDirect) ends_ = collection.ends(distinct);
    }

    bool goes(std::span<const Node> group) const {
        const bool isShared = axis_.withSelf || axis_.region == Region::above ||
                              axis_.region == Region::siblingsAfter ||
                              axis_.region == Region::siblingsBefore;
        return group.size() < 2 || !isShared;
    }

    /** Calls `take` with the place of each that is left. REQUIRES goes(). */
    template <typename Take>
    void of(std::span<const Node> group, Take take) const {
        if (group.empty()) return;
        if (axis_.region == Region::before) return take(placeIn(distinct_, group.back()));
        if (axis_.region == Region::after) return take(firstToEnd(group));
        Node end{};
        for (const Node node : group) {
            const std::size_t place = placeIn(distinct_, node);
            const bool isInside = !ends_.empty() && node <= end;
            if (!isInside && !ends_.empty()) end = ends_[place];
            if (!isInside) take(place);
        }
    }

private:
    std::size_t firstToEnd(std::span<const Node> group) const {
        std::size_t first = placeIn(distinct_, group.front());
        for (const Node node : group) {
            const std::size_t place = placeIn(distinct_, node);
            if (ends_[place] < ends_[first]) first = place;
        }
        return first;
    }

    std::span<const Node> distinct_;
    const AxisTraits &axis_;
    Nodes ends_;  ///< of `distinct_`, where they are asked for
};

}  // namespace

/** Nothing where the nodes of one context are those of others, too. REQUIRES countablePath(). */
std::optional<std::vector<std::uint64_t>> Evaluator::countsOf(const Path &path,
                                                              std::span<const Node> contexts) {
    const Step &last = path.steps.back();
    if (path.steps.size() == 1) return countsOf(last, contexts)->of(contexts);
    Groups groups = Groups::ofEach(contexts);
    for (std::size_t next = 0; next + 1 < path.steps.size(); ++next)
        groups = step(groups, path.steps[next]);
    const Nodes distinct = distinctNodes(groups);
    const Reduction reduction(collection_, distinct, last.axis);
    for (std::size_t group = 0; group < groups.size(); ++group) {
        if (!reduction.goes(groups[group])) return std::nullopt;
    }
    const std::vector<std::uint64_t> each = countsOf(last, distinct)->of(distinct);
    std::vector<std::uint64_t> counts(groups.size());
    for (std::size_t group = 0; group < groups.size(); ++group)
        reduction.of(groups[group], [&](std::size_t place) { counts[group] += each[place]; });
    return counts;
}

/** What is asked for a batch of many is made for all of them. */
std::shared_ptr<const StepCounts> Evaluator::countsOf(const Step &step,
                                                      std::span<const Node> contexts) {
    const bool isOfMany = contexts.size() >= limits_.batch;
    const auto known = ofAllContexts_.find(&step);
    if (isOfMany && known != ofAllContexts_.end()) return known->second;
    NodeSet passing = isOfMany
                          ? collection_.passing(step.axis, step.test)
                          : collection_.reached(collection_.setOf(contexts), step.axis, step.test);
    for (const ExpressionPtr &predicate : step.predicates)
        passing = filtered(passing, *predicate);
    auto made = std::make_shared<const StepCounts>(collection_, step.axis, passing);
    if (isOfMany) ofAllContexts_[&step] = made;
    return made;
}

}  // namespace zdbs::xpath
