#include "zdbs/embedded/fragments/fragment_evaluator.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <utility>

#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

/** The members whose position, counted in axis order, satisfies the test. */
NodeIds atPosition(const FragmentFilter &test, const NodeIds &nodes, Axis axis) {
    NodeIds result;
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        if (test.holdsAt(index + 1, nodes.size(), traitsOf(axis))) result.push_back(nodes[index]);
    }
    return result;
}

/** Does it depend on the nodes found last? */
bool isPositional(const FragmentFilter &filter) {
    if (filter.kind == FragmentFilter::Kind::among) return filter.ofLast;
    return filter.sides.empty() ||
           std::any_of(filter.sides.begin(), filter.sides.end(), isPositional);
}

bool isPositional(const FragmentStep &step) {
    return std::any_of(step.filters.begin(), step.filters.end(),
                       [](const FragmentFilter &filter) { return isPositional(filter); });
}

/** How many nodes of the axis are enough to answer the filters. */
std::size_t enough(const FragmentStep &step) {
    constexpr std::size_t all = std::numeric_limits<std::size_t>::max();
    if (step.filters.size() != 1) return all;
    const FragmentFilter &only = step.filters.front();
    if (only.kind != FragmentFilter::Kind::position || only.place < 0) return all;
    switch (only.relation) {
        case Relation::equal:
        case Relation::less:
        case Relation::lessEqual:
            return only.place < 1e9 ? static_cast<std::size_t>(only.place) : all;
        case Relation::notEqual:
        case Relation::greater:
        case Relation::greaterEqual:
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return all;
}

/** Keeps contexts with a key that did not come before; of the last ones when `fromEnd`. */
template <typename Key>
NodeIds oneForEach(const NodeIds &contexts, bool fromEnd, Key key) {
    std::unordered_set<ParentKey> seen;
    NodeIds result;
    const auto keep = [&](NodeId node) {
        if (seen.insert(key(node)).second) result.push_back(node);
    };
    if (fromEnd) {
        std::for_each(contexts.rbegin(), contexts.rend(), keep);
    } else {
        std::for_each(contexts.begin(), contexts.end(), keep);
    }
    return result;
}

}  // namespace

NodeIds FragmentEvaluator::select(const FragmentSpec &spec, NodeId context) {
    NodeIds result;
    for (const FragmentPath &path : spec)
        result = merged(result, follow(path, context));
    return result;
}

NodeIds FragmentEvaluator::follow(const FragmentPath &path, NodeId context) {
    NodeIds nodes{context};
    for (const FragmentStep &step : path)
        nodes = stepFrom(step, nodes);
    return nodes;
}

NodeIds FragmentEvaluator::stepFrom(const FragmentStep &step, const NodeIds &contexts) {
    if (isPositional(step)) return stepFromEach(step, contexts);
    NodeIds found;
    std::unordered_set<NodeId> walked;
    const AxisTraits &axis = traitsOf(step.axis);
    const bool upwards = axis.region == Region::above && !axis.isDirect;
    for (const NodeId context : pruned(step.axis, contexts)) {
        walk_.along(step.axis, context, [&](NodeId node) {
            // From here up another context has gone already.
            if (upwards && !walked.insert(node).second) return false;
            if (passes(step.test, step.axis, node)) found.push_back(node);
            return true;
        });
    }
    sortUnique(found);
    return filtered(step, std::move(found));
}

NodeIds FragmentEvaluator::stepFromEach(const FragmentStep &step, const NodeIds &contexts) {
    NodeIds result;
    for (const NodeId context : contexts) {
        const NodeIds found = stepFromOne(step, context);
        result.insert(result.end(), found.begin(), found.end());
    }
    sortUnique(result);
    return result;
}

NodeIds FragmentEvaluator::stepFromOne(const FragmentStep &step, NodeId context) {
    NodeIds candidates;
    const std::size_t limit = enough(step);
    if (limit == 0) return candidates;
    walk_.along(step.axis, context, [&](NodeId node) {
        if (passes(step.test, step.axis, node)) candidates.push_back(node);
        return candidates.size() < limit;
    });
    if (isReverse(step.axis)) std::reverse(candidates.begin(), candidates.end());
    return filtered(step, std::move(candidates));
}

/** Each filter is tried on all candidates, and the answers are intersected. */
NodeIds FragmentEvaluator::filtered(const FragmentStep &step, NodeIds candidates) {
    if (step.filters.empty()) return candidates;
    NodeIds last = candidates;
    NodeIds held = candidates;
    bool first = true;
    for (const FragmentFilter &filter : step.filters) {
        held = common(held, satisfying(filter, candidates, step.axis, last));
        if (!first) last = held;
        first = false;
    }
    return held;
}

NodeIds FragmentEvaluator::satisfying(const FragmentFilter &filter, const NodeIds &candidates,
                                      Axis axis, NodeIds &last) {
    using Kind = FragmentFilter::Kind;
    switch (filter.kind) {
        case Kind::among:
            last = membersOf(*filter.among, filter.ofLast ? last : candidates);
            break;
        case Kind::position:
            last = atPosition(filter, last, axis);
            break;
        case Kind::unchanged:
            break;
        case Kind::both:
        case Kind::either: {
            const NodeIds left = satisfying(filter.sides[0], candidates, axis, last);
            const NodeIds right = satisfying(filter.sides[1], candidates, axis, last);
            last = filter.kind == Kind::both ? common(left, right) : merged(left, right);
            break;
        }
    }
    return last;
}

NodeIds FragmentEvaluator::membersOf(const ResultSet &set, const NodeIds &candidates) {
    std::unique_ptr<Members> &members = members_[&set];
    if (!members) members = std::make_unique<Members>(sets_(set));
    NodeIds result;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(result),
                 [&](NodeId node) { return members->quick.contains(node); });
    return result;
}

/** The contexts that are enough to reach all that the contexts together reach on the axis. */
NodeIds FragmentEvaluator::pruned(Axis axis, const NodeIds &contexts) {
    const AxisTraits &traits = traitsOf(axis);
    switch (traits.region) {
        case Region::below:
            return traits.isDirect ? contexts : outermost(contexts);
        case Region::after:
            return earliestEnds(contexts);
        case Region::before:
            return oneForEach(contexts, true,
                              [this](NodeId node) { return rootKey(finder_.indexOf(node)); });
        case Region::siblingsAfter:
        case Region::siblingsBefore: {
            NodeIds nodes = contexts;
            std::erase_if(nodes, [this](NodeId node) { return isAttribute(node); });
            return oneForEach(nodes, traits.isReverse(),
                              [this](NodeId node) { return parentKey(nodes_, finder_, node); });
        }
        case Region::above:
        case Region::none:
            break;
    }
    return contexts;
}

/** Without the nodes below others; attributes stay, being on no axis of their elements' kin. */
NodeIds FragmentEvaluator::outermost(const NodeIds &contexts) const {
    NodeIds result;
    NodeId end = noNode;
    for (const NodeId node : contexts) {
        if (node > end || isAttribute(node)) result.push_back(node);
        if (!isAttribute(node)) end = std::max(end, nodes_.lastBelow(node));
    }
    return result;
}

/** Of each document the context after which most follows. */
NodeIds FragmentEvaluator::earliestEnds(const NodeIds &contexts) {
    NodeIds result;
    for (const NodeId node : contexts) {
        if (result.empty() || finder_.indexOf(result.back()) != finder_.indexOf(node)) {
            result.push_back(node);
        } else if (nodes_.lastBelow(node) < nodes_.lastBelow(result.back())) {
            result.back() = node;
        }
    }
    return result;
}

bool FragmentEvaluator::isAttribute(NodeId node) const {
    return nodes_.kind(node) == NodeKind::attribute;
}

bool FragmentEvaluator::passes(const NodeTest &test, Axis axis, NodeId node) const {
    const auto kind = test.kindOn(traitsOf(axis));
    if (kind && nodes_.kind(node) != *kind) return false;
    return !test.asksForName() || test.allows(nodes_.name(node));
}

}  // namespace zdbs::embedded
