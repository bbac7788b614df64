#include "zdbs/embedded/fragments/fragment_evaluator.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <utility>

namespace zdbs {
namespace {

void sortUnique(NodeIds &nodes) {
    if (!std::is_sorted(nodes.begin(), nodes.end())) std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

NodeIds common(const NodeIds &a, const NodeIds &b) {
    NodeIds result;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

NodeIds merged(const NodeIds &a, const NodeIds &b) {
    NodeIds result;
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

/** The members whose position, counted in axis order, satisfies the test. */
NodeIds atPosition(const FragmentPosition &test, const NodeIds &nodes, Axis axis) {
    NodeIds result;
    const auto size = static_cast<double>(nodes.size());
    const double place = test.place < 0 ? size + 1 + test.place : test.place;
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        const auto before = static_cast<double>(index);
        const double position = isReverse(axis) ? size - before : before + 1;
        if (holds(test.relation, position, place)) result.push_back(nodes[index]);
    }
    return result;
}

/** How many nodes of the axis are enough to answer the predicates. */
std::size_t enough(const FragmentStep &step) {
    constexpr std::size_t all = std::numeric_limits<std::size_t>::max();
    if (step.predicates.size() != 1) return all;
    const FragmentPredicate &only = step.predicates.front();
    if (only.kind != FragmentPredicate::Kind::position || only.position.place < 0) return all;
    switch (only.position.relation) {
        case Relation::equal:
        case Relation::less:
        case Relation::lessEqual:
            return only.position.place < 1e9 ? static_cast<std::size_t>(only.position.place) : all;
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
    for (const FragmentStep &step : path.steps)
        nodes = stepFrom(step, nodes);
    keepValues(path, nodes);
    return nodes;
}

NodeIds FragmentEvaluator::stepFrom(const FragmentStep &step, const NodeIds &contexts) {
    if (step.positional()) return stepFromEach(step, contexts);
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

/**
 * Applies the predicates of a step. As in requests, each is tried on all candidates
 * and the answers are intersected; positions count in what was made last.
 */
NodeIds FragmentEvaluator::filtered(const FragmentStep &step, NodeIds candidates) {
    if (step.predicates.empty()) return candidates;
    NodeIds last = candidates;
    NodeIds held = candidates;
    bool first = true;
    for (const FragmentPredicate &predicate : step.predicates) {
        held = common(held, satisfying(predicate, candidates, step.axis, last));
        if (!first) last = held;
        first = false;
    }
    return held;
}

NodeIds FragmentEvaluator::satisfying(const FragmentPredicate &predicate, const NodeIds &candidates,
                                      Axis axis, NodeIds &last) {
    using Kind = FragmentPredicate::Kind;
    switch (predicate.kind) {
        case Kind::path:
            last = withPath(predicate.path, predicate.ofLast ? last : candidates);
            break;
        case Kind::position:
            last = atPosition(predicate.position, last, axis);
            break;
        case Kind::unchanged:
            break;
        case Kind::both:
        case Kind::either: {
            const NodeIds left = satisfying(*predicate.left, candidates, axis, last);
            const NodeIds right = satisfying(*predicate.right, candidates, axis, last);
            last = predicate.kind == Kind::both ? common(left, right) : merged(left, right);
            break;
        }
    }
    return last;
}

/** Forwards along the path from all candidates at once, then back over what was reached. */
NodeIds FragmentEvaluator::withPath(const FragmentPath &path, const NodeIds &candidates) {
    if (path.positional || candidates.size() == 1) return withPathOneByOne(path, candidates);
    std::vector<NodeIds> levels{candidates};
    for (const FragmentStep &step : path.steps)
        levels.push_back(stepFrom(step, levels.back()));
    keepValues(path, levels.back());
    for (std::size_t level = path.steps.size(); level > 0; --level) {
        const Step step{path.steps[level - 1].axis};
        levels[level - 1] =
            keepFirst(nodes_, step, {levels[level - 1], {}}, {levels[level], {}}).nodes;
    }
    return levels.front();
}

NodeIds FragmentEvaluator::withPathOneByOne(const FragmentPath &path, const NodeIds &candidates) {
    NodeIds result;
    for (const NodeId candidate : candidates) {
        if (!follow(path, candidate).empty()) result.push_back(candidate);
    }
    return result;
}

void FragmentEvaluator::keepValues(const FragmentPath &path, NodeIds &nodes) const {
    if (!path.value) return;
    std::erase_if(nodes, [&](NodeId node) { return !path.value->matches(nodes_.value(node)); });
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

bool FragmentEvaluator::passes(const FragmentTest &test, Axis axis, NodeId node) const {
    switch (test.kind) {
        case FragmentTest::Kind::node:
            return true;
        case FragmentTest::Kind::text:
            return nodes_.kind(node) == NodeKind::text;
        case FragmentTest::Kind::comment:
            return nodes_.kind(node) == NodeKind::comment;
        case FragmentTest::Kind::instruction:
            return nodes_.kind(node) == NodeKind::processingInstruction;
        case FragmentTest::Kind::name:
            break;
    }
    // The principal kind of the axis.
    if (nodes_.kind(node) !=
        (traitsOf(axis).toAttributes ? NodeKind::attribute : NodeKind::element))
        return false;
    const NodeName name = nodes_.name(node);
    if (!test.local.empty() && test.local != name.local) return false;
    if (test.space.empty()) return true;
    return test.space == name.prefix || test.space == name.uri;
}

}  // namespace zdbs
