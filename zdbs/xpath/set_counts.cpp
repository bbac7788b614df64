// Comparisons of count(path) with what is the same for all nodes. Where each node that the path
// finds has one context: counted from the nodes found, of those without any nothing is asked.
// Otherwise the last step is counted for all contexts at once.
#include <algorithm>
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
    std::vector<std::uint64_t> counts;
};

/** The counts of nodes summed up for their parents. */
Counted ofParents(const Counted &below, const Nodes &parents) {
    std::vector<std::pair<Node, std::uint64_t>> pairs;
    pairs.reserve(parents.size());
    for (std::size_t i = 0; i < parents.size(); ++i) {
        if (!pairs.empty() && pairs.back().first == parents[i])
            pairs.back().second += below.counts[i];
        else
            pairs.emplace_back(parents[i], below.counts[i]);
    }
    std::sort(pairs.begin(), pairs.end());
    Counted result;
    for (const auto &[node, count] : pairs) {
        if (!result.nodes.empty() && result.nodes.back() == node) {
            result.counts.back() += count;
            continue;
        }
        result.nodes.push_back(node);
        result.counts.push_back(count);
    }
    return result;
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
        if (below && goesDown(*below)) return counted(set, *below, passes);
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
    return collection_.setOf(left);
}

NodeSet Evaluator::counted(const NodeSet &set, const Path &path, const CountTrial &passes) {
    NodeSet found = set;
    for (const Step &step : path.steps)
        found = this->step(found, step);
    Counted counts{collection_.nodesOf(found), {}};
    counts.counts.assign(counts.nodes.size(), 1);
    for (std::size_t level = 0; level < path.steps.size(); ++level) {
        const bool isFirst = level == 0;
        counts = ofParents(counts, isFirst ? collection_.parents(counts.nodes, found)
                                           : collection_.parents(counts.nodes));
    }
    // Those without any node are as many as there are; they are not listed.
    const bool nonePasses = passes(0);
    Nodes listed;
    for (std::size_t i = 0; i < counts.nodes.size(); ++i) {
        if (passes(counts.counts[i]) != nonePasses) listed.push_back(counts.nodes[i]);
    }
    const NodeSet others = collection_.setOf(listed);
    return nonePasses ? collection_.without(set, others) : others;
}

}  // namespace zdbs::xpath
