// Comparisons of count(path) with what is the same for all nodes. Of children by their places.
// Where each node that the path finds has one context: counted from the nodes found, of those
// without any nothing is asked. Otherwise the last step is counted for all contexts at once.
#include <algorithm>
#include <cmath>
#include <utility>

#include "zdbs/xpath/comparison.h"
#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {
namespace {

const Expression *countedBy(const Expression &expression) {
    const auto *call = expression.as<Call>();
    return call && call->function == Function::count ? call->arguments[0].get() : nullptr;
}

/** Whether all steps go to children or attributes. */
bool goesDown(const Path &path) {
    return std::all_of(path.steps.begin(), path.steps.end(), [](const Step &step) {
        const AxisTraits &axis = traitsOf(step.axis);
        return axis.region == Region::below && axis.isDirect;
    });
}

/** Nodes in document order, and a count of each. */
struct Counted {
    Nodes nodes;
    std::vector<std::uint64_t> counts;  ///< empty: one of each

    std::uint64_t count(std::size_t place) const { return counts.empty() ? 1 : counts[place]; }
};

/** The counts of nodes summed up for their parents. */
Counted ofParents(const Counted &below, const Nodes &parents) {
    Counted result;
    const auto add = [&](Node parent, std::uint64_t count) {
        if (!result.nodes.empty() && result.nodes.back() == parent) {
            result.counts.back() += count;
            return;
        }
        result.nodes.push_back(parent);
        result.counts.push_back(count);
    };
    if (std::is_sorted(parents.begin(), parents.end())) {
        for (std::size_t i = 0; i < parents.size(); ++i)
            add(parents[i], below.count(i));
        return result;
    }
    std::vector<std::pair<Node, std::uint64_t>> pairs;
    pairs.reserve(parents.size());
    for (std::size_t i = 0; i < parents.size(); ++i)
        pairs.emplace_back(parents[i], below.count(i));
    std::sort(pairs.begin(), pairs.end());
    for (const auto &[parent, count] : pairs)
        add(parent, count);
    return result;
}

/** The parents of some nodes of a set; it is faster to ask for those of all than of each. */
Nodes parentsAmong(const Collection &collection, const Nodes &nodes, const NodeSet &set) {
    constexpr std::uint64_t aPart = 4;
    const std::uint64_t size = collection.sizeOf(set);
    if (size > aPart * nodes.size()) return collection.parents(nodes);
    if (size == nodes.size()) return collection.parents(nodes, set);
    const Nodes all = collection.nodesOf(set);
    Nodes parents = collection.parents(all, set);
    std::size_t place = 0;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        while (all[place] != nodes[i])
            ++place;
        parents[i] = parents[place];
    }
    parents.resize(nodes.size());
    return parents;
}

}  // namespace

std::optional<NodeSet> Evaluator::byCount(const NodeSet &set, const Operation &operation) {
    for (std::size_t side = 0; side < 2; ++side) {
        const Expression *nodes = countedBy(*operation.operands[side]);
        const Expression &other = *operation.operands[1 - side];
        if (!nodes || !isSame(other) || !other.is(ValueType::number)) continue;
        const Node root = collection_.root(0);
        const double number = evaluate(other, {.nodes = {&root, 1}}).number(0);
        const Relation sign = relationOf(operation.sign);
        const Relation relation = side == 0 ? sign : turned(sign);
        const CountTrial passes = [relation, number](std::uint64_t count) {
            const auto value = static_cast<double>(count);
            return relation == Relation::notEqual ? value != number
                                                  : holds(relation, value, number);
        };
        const Path *below = pathThatCanBeGoneBack(*nodes);
        if (below && goesDown(*below)) {
            if (auto found = countedByPlaces(set, *below, relation, number)) return found;
            return counted(set, *below, passes);
        }
        if (const Path *path = countablePath(*nodes)) return countedOneByOne(set, *path, passes);
    }
    return std::nullopt;
}

std::optional<NodeSet> Evaluator::countedOneByOne(const NodeSet &set, const Path &path,
                                                  const CountTrial &passes) {
    const Nodes nodes = collection_.nodesOf(set);
    const auto counts = countsOf(path, nodes);
    if (!counts) return std::nullopt;
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (passes((*counts)[i])) left.push_back(nodes[i]);
    }
    return collection_.picked(set, left);
}

/** Who has a child at a place has as many at least, or more. */
std::optional<NodeSet> Evaluator::countedByPlaces(const NodeSet &set, const Path &path,
                                                  Relation relation, double number) {
    constexpr double most = 1e9;
    const bool isPlace = number >= 1 && number <= most && std::floor(number) == number;
    if (!isPlace || path.steps.size() != 1 || path.steps[0].axis != Axis::child)
        return std::nullopt;
    const NodeSet found = step(set, path.steps[0]);
    const auto having = [&](double count) {
        const NodeSet there = collection_.atPosition(found, Relation::equal, count);
        return collection_.leading(set, Axis::child, there);
    };
    const auto exactly = [&] { return collection_.without(having(number), having(number + 1)); };
    switch (relation) {
        case Relation::equal:
            return exactly();
        case Relation::notEqual:
            return collection_.without(set, exactly());
        case Relation::less:
            return collection_.without(set, having(number));
        case Relation::lessEqual:
            return collection_.without(set, having(number + 1));
        case Relation::greater:
            return having(number + 1);
        case Relation::greaterEqual:
            return having(number);
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return std::nullopt;
}

NodeSet Evaluator::counted(const NodeSet &set, const Path &path, const CountTrial &passes) {
    std::vector<NodeSet> found{set};
    for (const Step &step : path.steps)
        found.push_back(this->step(found.back(), step));
    Counted counts{collection_.nodesOf(found.back()), {}};
    for (; found.size() > 1; found.pop_back()) {
        counts = ofParents(counts, parentsAmong(collection_, counts.nodes, found.back()));
    }
    // Those without any node are as many as there are; they are not listed.
    const bool nonePasses = passes(0);
    Nodes listed;
    for (std::size_t i = 0; i < counts.nodes.size(); ++i) {
        if (passes(counts.count(i)) != nonePasses) listed.push_back(counts.nodes[i]);
    }
    const NodeSet others = collection_.picked(set, listed);
    return nonePasses ? collection_.without(set, others) : others;
}

}  // namespace zdbs::xpath
