// Predicates that count no positions, tried on whole sets: P(S) are the nodes of S of which P is
// true. and: P(Q(S)); or: P(S) with Q(S without P(S)); not: S without P(S). A path: those of S that
// its steps lead from to a node, found from the last step back.
#include <algorithm>
#include <utility>

#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {
namespace {

bool isPlain(const Path &path) {
    return std::all_of(path.steps.begin(), path.steps.end(),
                       [](const Step &step) { return step.predicates.empty(); });
}

/**
 * Whether it begins at the context and its steps can be gone back: a node on which positions were
 * counted has one context only, its parent.
 */
bool canBeGoneBack(const Path &path) {
    if (path.start != Path::Start::context) return false;
    return std::all_of(path.steps.begin(), path.steps.end(), [](const Step &step) {
        const AxisTraits &axis = traitsOf(step.axis);
        return !isPositional(step) || (axis.region == Region::below && axis.isDirect);
    });
}

}  // namespace

const Path *pathThatCanBeGoneBack(const Expression &expression) {
    const auto *path = expression.as<Path>();
    return path && canBeGoneBack(*path) ? path : nullptr;
}

NodeSet Evaluator::filtered(const NodeSet &set, const Expression &predicate) {
    if (collection_.isEmpty(set)) return set;
    const Clock::time_point begin = Clock::now();
    if (isSame(predicate)) {
        const Node root = collection_.root(0);
        const Value value = evaluate(predicate, {.nodes = {&root, 1}}).asTruths();
        return told(predicate, "once", value.truth(0) ? set : collection_.none(), begin);
    }
    if (std::optional<NodeSet> found = bySets(set, predicate))
        return told(predicate, "sets", std::move(*found), begin);
    if (std::optional<NodeSet> found = byNames(set, predicate))
        return told(predicate, "names", std::move(*found), begin);
    return told(predicate, "batches", filteredInBatches(narrowed(set, predicate), predicate),
                begin);
}

/** Whether it has one value for all nodes that there are. */
bool Evaluator::isSame(const Expression &expression) const {
    const Traits &traits = expression.traits;
    if (expression.as<StringLiteral>() || expression.as<NumberLiteral>()) return true;
    return !traits.asksContext && !traits.asksPosition && collection_.documentCount() == 1;
}

NodeSet Evaluator::filteredInBatches(const NodeSet &set, const Expression &predicate) {
    const Nodes nodes = collection_.nodesOf(set);
    Nodes left;
    for (std::size_t first = 0; first < nodes.size(); first += limits_.batch) {
        const Contexts some{.nodes = std::span(nodes).subspan(
                                first, std::min(limits_.batch, nodes.size() - first))};
        collection_.picked(set, some.nodes);  // what they are a set of is known from here on
        const Value value = evaluate(predicate, some).asTruths();
        for (std::size_t i = 0; i < some.size(); ++i) {
            if (value.truth(i)) left.push_back(some.nodes[i]);
        }
    }
    return collection_.picked(set, left);
}

std::optional<NodeSet> Evaluator::bySets(const NodeSet &set, const Expression &predicate) {
    if (const auto *operation = predicate.as<Operation>()) return byOperation(set, *operation);
    if (const auto *call = predicate.as<Call>()) return byCall(set, *call);
    const Path *path = pathThatCanBeGoneBack(predicate);
    return path ? std::optional(leadingTo(set, *path, nullptr)) : std::nullopt;
}

std::optional<NodeSet> Evaluator::byOperation(const NodeSet &set, const Operation &operation) {
    const auto &operands = operation.operands;
    if (operation.sign == Operator::logicalOr || operation.sign == Operator::unite)
        return byEither(set, operands);
    if (isComparison(operation.sign)) return byComparison(set, operation);
    if (operation.sign != Operator::logicalAnd) return std::nullopt;
    NodeSet left = set;
    for (const ExpressionPtr &operand : operands)
        left = filtered(left, *operand);
    return left;
}

/** Of a union: those from which one of the operands selects something. */
NodeSet Evaluator::byEither(const NodeSet &set, const std::vector<ExpressionPtr> &operands) {
    NodeSet found = collection_.none();
    NodeSet left = set;
    for (const ExpressionPtr &operand : operands) {
        const NodeSet more = filtered(left, *operand);
        found = collection_.united(found, more);
        if (&operand != &operands.back()) left = collection_.without(left, more);
    }
    return found;
}

std::optional<NodeSet> Evaluator::byCall(const NodeSet &set, const Call &call) {
    if (call.function == Function::boolean) return filtered(set, *call.arguments[0]);
    if (call.function == Function::logicalNot)
        return collection_.without(set, filtered(set, *call.arguments[0]));
    return bySearch(set, call);
}

/**
 * Those of a set from which a path leads to a node, or to one that passes a trial.
 * REQUIRES pathThatCanBeGoneBack().
 */
NodeSet Evaluator::leadingTo(const NodeSet &set, const Path &path, const NodeTrial *trial) {
    // Going back from all nodes of a name is cheaper than going forth first, unless that costs
    // little or something has to be tried on what is found there.
    const bool isDirect = isPlain(path) && !trial && !collection_.isKeptTogether(set);
    std::vector<NodeSet> reached{set};
    for (const Step &step : path.steps)
        reached.push_back(isDirect ? collection_.passing(step.axis, step.test)
                                   : this->step(reached.back(), step));
    NodeSet targets = trial ? (*trial)(reached.back()) : reached.back();
    for (std::size_t next = path.steps.size(); next-- > 0;)
        targets = collection_.leading(reached[next], path.steps[next].axis, targets);
    return targets;
}

}  // namespace zdbs::xpath
