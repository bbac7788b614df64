// Steps: from one context as sets, from many as pairs.
#include <algorithm>
#include <cmath>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/xpath/asked_place.h"
#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {
namespace {

bool isEveryDescendantOrSelf(const Step &step) {
    return step.axis == Axis::descendantOrSelf && step.test.kind == NodeTest::Kind::node &&
           step.predicates.empty();
}

/** Whether the context of a node is its parent. */
bool isOfParent(Axis axis) {
    const AxisTraits &traits = traitsOf(axis);
    return traits.region == Region::below && traits.isDirect;
}

/** The operands of `and` or `or`; null where one is a number, which would be a place by itself. */
const std::vector<ExpressionPtr> *truthsJoined(const Expression &expression, Operator sign) {
    const auto *operation = expression.as<Operation>();
    if (!operation || operation->sign != sign) return nullptr;
    const auto &operands = operation->operands;
    const bool hasNumber =
        std::any_of(operands.begin(), operands.end(),
                    [](const ExpressionPtr &operand) { return operand->is(ValueType::number); });
    return hasNumber ? nullptr : &operands;
}

/** Positions of nodes, and how many there are with them. */
struct Places {
    std::vector<std::uint32_t> positions;
    std::vector<std::uint32_t> sizes;
};

/** Counts nodes, which come in document order, among those of the same parent. */
Places countedByParent(const Nodes &parents) {
    if (parents.empty()) return {};
    const auto [least, greatest] = std::minmax_element(parents.begin(), parents.end());
    const auto base = static_cast<std::uint64_t>(*least);
    const std::uint64_t span = static_cast<std::uint64_t>(*greatest) - base + 1;
    // A count for each number that a parent can have, unless these are few among many.
    constexpr std::uint64_t thin = 64;
    const bool isDense = span / thin <= parents.size();
    Nodes distinct;
    if (!isDense) {
        distinct = parents;
        std::sort(distinct.begin(), distinct.end());
        distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    }
    const auto family = [&](Node parent) -> std::size_t {
        return isDense ? static_cast<std::uint64_t>(parent) - base : placeIn(distinct, parent);
    };
    std::vector<std::uint32_t> counts(isDense ? span : distinct.size());
    Places places;
    places.positions.reserve(parents.size());
    places.sizes.reserve(parents.size());
    for (const Node parent : parents)
        places.positions.push_back(++counts[family(parent)]);
    for (const Node parent : parents)
        places.sizes.push_back(counts[family(parent)]);
    return places;
}

void requireFewPairs(std::size_t pairs) {
    if (pairs <= mostPairs) return;
    throw Failure(Status::requestFailed, {"a step of the expression relates more than " +
                                          std::to_string(mostPairs) + " pairs of nodes"});
}

/** What the first predicate of a step asks for. */
Reach reachOf(const Step &step) {
    return step.predicates.empty() ? Reach() : reachOf(*step.predicates.front());
}

}  // namespace

NodeSet Evaluator::ofOne(const Path &path, NodeSet set) {
    for (const ExpressionPtr &predicate : path.predicates)
        set = placedInOrder(set, *predicate);
    for (std::size_t next = 0; next < path.steps.size(); ++next) {
        const Step &step = path.steps[next];
        const Clock::time_point begin = Clock::now();
        const bool countsBelow = isEveryDescendantOrSelf(step) && next + 1 < path.steps.size() &&
                                 path.steps[next + 1].axis == Axis::child;
        if (countsBelow) {
            // Whoever has a child x below a context or in its place has it as descendant::x.
            const Step &child = path.steps[++next];
            const NodeSet found = collection_.reached(set, Axis::descendant, child.test);
            set = told(child, "step", countedAmongSiblings(found, child), begin);
        } else {
            set = told(step, "step", this->step(set, step), begin);
        }
    }
    return set;
}

/** A predicate of a filter expression, which counts in document order. */
NodeSet Evaluator::placedInOrder(const NodeSet &set, const Expression &predicate) {
    if (!isPositional(predicate)) return filtered(set, predicate);
    const auto asked = askedPlace(predicate);
    const double whole = asked ? std::floor(asked->place) : 0;
    if (asked && asked->relation == Relation::equal && whole == asked->place) {
        const auto size = static_cast<double>(collection_.sizeOf(set));
        return collection_.nodeAt(set, whole < 0 ? size + 1 + whole : whole);
    }
    const Groups counted = Groups::ofOne(collection_.nodesOf(set));
    return collection_.setOf(filteredByPosition(counted, predicate, false).nodes());
}

NodeSet Evaluator::step(const NodeSet &contexts, const Step &step) {
    if (isPositional(step) && !isOfParent(step.axis)) return stepByPairs(contexts, step);
    return countedAmongSiblings(collection_.reached(contexts, step.axis, step.test), step);
}

/** The predicates of a step whose nodes are found; positions count among those of one parent. */
NodeSet Evaluator::countedAmongSiblings(const NodeSet &found, const Step &step) {
    NodeSet set = found;
    for (const ExpressionPtr &predicate : step.predicates)
        set = placed(set, *predicate);
    return set;
}

/**
 * Those of a set that a predicate lets pass at their places. P and Q, which count in the same set:
 * P(S) with Q(S), and Q(P(S)) where Q counts nothing; P or Q: P(S) and Q(S) together; not P: S
 * without P(S). So what asks for one place only is left to the engine.
 */
NodeSet Evaluator::placed(const NodeSet &set, const Expression &predicate) {
    if (!isPositional(predicate)) return filtered(set, predicate);
    if (const auto asked = askedPlace(predicate))
        return collection_.atPosition(set, asked->relation, asked->place);
    if (const auto *operands = truthsJoined(predicate, Operator::logicalAnd)) {
        NodeSet left = set;
        for (const ExpressionPtr &operand : *operands) {
            if (isPositional(*operand)) left = collection_.common(left, placed(set, *operand));
        }
        for (const ExpressionPtr &operand : *operands) {
            if (!isPositional(*operand)) left = filtered(left, *operand);
        }
        return left;
    }
    if (const auto *operands = truthsJoined(predicate, Operator::logicalOr)) {
        NodeSet left = collection_.none();
        for (const ExpressionPtr &operand : *operands)
            left = collection_.united(left, placed(set, *operand));
        return left;
    }
    const auto *call = predicate.as<Call>();
    if (call && call->function == Function::logicalNot &&
        !call->arguments[0]->is(ValueType::number))
        return collection_.without(set, placed(set, *call->arguments[0]));
    return placedOneByOne(set, predicate);
}

NodeSet Evaluator::placedOneByOne(const NodeSet &set, const Expression &predicate) {
    const Nodes nodes = collection_.nodesOf(set);
    const auto [positions, sizes] = countedByParent(collection_.parents(nodes, set));
    const std::vector<char> keeps = kept(predicate, {nodes, positions, sizes});
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (keeps[i] != 0) left.push_back(nodes[i]);
    }
    return collection_.picked(set, left);
}

/** A step whose first predicate asks for places, which the engine counts; nothing for others. */
std::optional<NodeSet> Evaluator::stepToPlaces(const NodeSet &contexts, const Step &step) {
    const auto &predicates = step.predicates;
    const auto asked = askedPlace(*predicates.front());
    const bool counts = std::any_of(predicates.begin() + 1, predicates.end(),
                                    [](const ExpressionPtr &each) { return isPositional(*each); });
    if (!asked || counts) return std::nullopt;
    auto found =
        collection_.placedOnAxis(contexts, step.axis, step.test, asked->relation, asked->place);
    for (std::size_t next = 1; found && next < predicates.size(); ++next)
        found = filtered(*found, *predicates[next]);
    return found;
}

NodeSet Evaluator::stepByPairs(const NodeSet &contexts, const Step &step) {
    if (auto found = stepToPlaces(contexts, step)) return std::move(*found);
    const Nodes nodes = collection_.nodesOf(contexts);
    NodeSet result = collection_.none();
    const std::size_t batch = limits_.batch;
    for (std::size_t first = 0; first < nodes.size(); first += batch) {
        const auto some = std::span(nodes).subspan(first, std::min(batch, nodes.size() - first));
        collection_.picked(contexts, some);  // a set that is known from here on
        result = collection_.united(result, collection_.setOf(distinctNodes(pairs(some, step))));
    }
    return result;
}

Groups Evaluator::ofMany(const Path &path, Groups groups) {
    for (const ExpressionPtr &predicate : path.predicates)
        groups = filtered(groups, *predicate, false);
    for (const Step &step : path.steps)
        groups = this->step(groups, step);
    return groups;
}

namespace {

bool haveOneAtMost(const Groups &groups) {
    for (std::size_t group = 0; group < groups.size(); ++group) {
        if (groups[group].size() > 1) return false;
    }
    return true;
}

}  // namespace

/** A step from each group: what it leads to from any node of the group. */
Groups Evaluator::step(const Groups &groups, const Step &step) {
    const bool isEachOnce = isAscending(groups.nodes());
    const Nodes sorted = isEachOnce ? Nodes() : distinctNodes(groups);
    const std::span<const Node> distinct = isEachOnce ? groups.nodes() : std::span(sorted);
    Groups reached = pairs(distinct, step);
    // Nothing is met twice then, and in order.
    if (isEachOnce && (isAscending(reached.nodes()) || haveOneAtMost(groups)))
        return Groups::joined(groups, std::move(reached));
    Groups result;
    result.reserve(groups.size(), reached.nodes().size());
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (std::size_t place = groups.begin(group); place < groups.end(group); ++place)
            result.add(reached[isEachOnce ? place : placeIn(distinct, groups.nodes()[place])]);
        groups[group].size() > 1 ? result.closeSorted() : result.close();
        requireFewPairs(result.nodes().size());
    }
    return result;
}

/** REQUIRES ascending contexts. Halves them until their pairs are not too many at once. */
Groups Evaluator::pairs(std::span<const Node> contexts, const Step &step) {
    if (contexts.empty()) return {};
    if (isContextNode(step)) return Groups::ofEach(contexts);
    heedStop();
    if (isOfParent(step.axis)) {
        const NodeSet found = this->step(collection_.setOf(contexts), step);
        return *StepPairs(collection_, contexts, step.axis, found).within(limits_.pairs);
    }
    std::optional<Groups> found =
        StepPairs(collection_, contexts, step.axis, step.test, reachOf(step)).within(limits_.pairs);
    if (!found) {
        const std::size_t half = contexts.size() / 2;
        Groups result = pairs(contexts.first(half), step);
        result.append(pairs(contexts.subspan(half), step));
        requireFewPairs(result.nodes().size());
        return result;
    }
    for (const ExpressionPtr &predicate : step.predicates)
        found = filtered(*found, *predicate, isReverse(step.axis));
    return std::move(*found);
}

namespace {

Groups atPlace(const Groups &groups, const AskedPlace &asked, bool isReverse) {
    Groups result;
    result.reserve(groups.size(), groups.size());
    for (std::size_t group = 0; group < groups.size(); ++group) {
        const std::size_t size = groups[group].size();
        for (std::size_t place = 0; place < size; ++place) {
            const std::size_t position = isReverse ? size - place : place + 1;
            if (asked.lets(static_cast<double>(position), static_cast<double>(size)))
                result.add(groups[group][place]);
        }
        result.close();
    }
    return result;
}

}  // namespace

Groups Evaluator::filtered(const Groups &groups, const Expression &predicate, bool isReverse) {
    if (isPositional(predicate)) return filteredByPosition(groups, predicate, isReverse);
    const Nodes left =
        collection_.nodesOf(filtered(collection_.setOf(distinctNodes(groups)), predicate));
    Groups result;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (const Node node : groups[group]) {
            if (std::binary_search(left.begin(), left.end(), node)) result.add(node);
        }
        result.close();
    }
    return result;
}

Groups Evaluator::filteredByPosition(const Groups &groups, const Expression &predicate,
                                     bool isReverse) {
    if (const auto asked = askedPlace(predicate)) return atPlace(groups, *asked, isReverse);
    std::vector<std::uint32_t> positions;
    std::vector<std::uint32_t> sizes;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        const auto size = static_cast<std::uint32_t>(groups[group].size());
        for (std::uint32_t place = 0; place < size; ++place) {
            positions.push_back(isReverse ? size - place : place + 1);
            sizes.push_back(size);
        }
    }
    const std::vector<char> keeps = kept(predicate, {groups.nodes(), positions, sizes});
    Groups result;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (std::size_t place = groups.begin(group); place < groups.end(group); ++place) {
            if (keeps[place] != 0) result.add(groups.nodes()[place]);
        }
        result.close();
    }
    return result;
}

/** Whether a predicate lets each context pass: a number is the position that it asks for. */
std::vector<char> Evaluator::kept(const Expression &predicate, const Contexts &contexts) {
    std::vector<char> keeps(contexts.size());
    const std::size_t batch = limits_.batch;
    for (std::size_t first = 0; first < keeps.size(); first += batch) {
        const std::size_t count = std::min(batch, keeps.size() - first);
        const Contexts some{contexts.nodes.subspan(first, count),
                            contexts.positions.subspan(first, count),
                            contexts.sizes.subspan(first, count)};
        const Value value = evaluate(predicate, some);
        const bool isNumber = value.type() == ValueType::number;
        const Value found = isNumber ? value : value.asTruths();
        for (std::size_t i = 0; i < count; ++i)
            keeps[first + i] = isNumber ? found.number(i) == some.positions[i] : found.truth(i);
    }
    return keeps;
}

}  // namespace zdbs::xpath
