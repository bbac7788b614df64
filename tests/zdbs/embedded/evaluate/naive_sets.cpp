#include "tests/zdbs/embedded/evaluate/naive_sets.h"

#include <algorithm>
#include <map>

namespace zdbs::testing {
namespace {

DocumentIndex documentOf(const NodeTable &table, NodeId node) {
    DocumentIndex index = 0;
    for (const DocumentRange &document : table.documents()) {
        if (node >= document.first && node <= document.last) return index;
        ++index;
    }
    return index;
}

/** Position satisfies `position relation place`, counted from the end when negative. */
bool satisfies(std::size_t position, std::size_t length, PositionTest test) {
    double place = test.place;
    if (place < 0) place = static_cast<double>(length) + 1 + place;
    return holds(test.relation, static_cast<double>(position), place);
}

}  // namespace

NaiveSets::NaiveSets(const NodeTable &table) : table_(table) {
    Set everything;
    for (Point point : nodesOf(table))
        everything.nodes.insert(point);
    add(everything);
}

std::size_t NaiveSets::add(Set set) {
    sets_.push_back(std::move(set));
    return sets_.size() - 1;
}

std::size_t NaiveSets::plain(const NodeIds &nodes) {
    Set set;
    for (NodeId node : nodes)
        set.nodes.insert({node, documentOf(table_, node)});
    return add(set);
}

NodeIds NaiveSets::nodes(std::size_t set) const {
    NodeIds result;
    for (Point point : sets_[set].nodes)
        result.push_back(point.node);
    return result;
}

/** Set 0 on the first side: the roots and every node but the attributes. */
std::vector<Point> NaiveSets::firstSide(std::size_t set) const {
    std::vector<Point> result;
    for (Point point : sets_[set].nodes) {
        bool isAttribute = table_.kind(point.node) == NodeKind::attribute;
        if (set != 0 || !isAttribute) result.push_back(point);
    }
    if (set == 0) {
        std::vector<Point> roots = rootsOf(table_);
        result.insert(result.end(), roots.begin(), roots.end());
    }
    return result;
}

std::vector<Point> NaiveSets::secondSide(std::size_t set) const {
    return {sets_[set].nodes.begin(), sets_[set].nodes.end()};
}

Step NaiveSets::stepTo(Axis axis, const std::vector<Point> &second) const {
    bool onlyAttributes =
        !second.empty() && std::all_of(second.begin(), second.end(), [&](Point point) {
            return point.node != noNode && table_.kind(point.node) == NodeKind::attribute;
        });
    return {axis, axis == Axis::child && onlyAttributes};
}

std::size_t NaiveSets::join(Axis axis, std::size_t a, std::size_t b, Direction direction) {
    return add(direction == Direction::first ? joinFirst(axis, a, b) : joinSecond(axis, a, b));
}

NaiveSets::Set NaiveSets::joinSecond(Axis axis, std::size_t a, std::size_t b) {
    Set result;
    result.pairs.emplace();
    Step step = stepTo(axis, secondSide(b));
    for (Point x : firstSide(a)) {
        Counted counted{x, {}};
        for (Point y : secondSide(b)) {
            if (!related(table_, step, x, y)) continue;
            counted.nodes.push_back(y.node);
            result.nodes.insert(y);
        }
        if (isReverse(axis)) std::reverse(counted.nodes.begin(), counted.nodes.end());
        result.pairs->push_back(counted);
    }
    result.step = {a, axis};
    result.chain = sets_[a].chain;
    result.chain.push_back({a, step, ++joins_});
    return result;
}

/** Whether a node of a chain's set leads down the rest of the chain to a node of its end. */
bool NaiveSets::reaches(Point point, const std::vector<Link> &chain, std::size_t place,
                        std::size_t end) const {
    bool isLast = place + 1 == chain.size();
    for (Point next : isLast ? secondSide(end) : secondSide(chain[place + 1].from)) {
        if (!related(table_, chain[place].step, point, next)) continue;
        if (isLast || reaches(next, chain, place + 1, end)) return true;
    }
    return false;
}

bool NaiveSets::isInChain(std::size_t set, std::size_t end) const {
    for (const Link &link : sets_[end].chain) {
        if (link.from == set) return true;
        bool keepsLink = !sets_[set].chain.empty() && sets_[set].chain.back().join == link.join;
        if (keepsLink) return true;
    }
    return false;
}

NaiveSets::Set NaiveSets::joinFirst(Axis axis, std::size_t a, std::size_t b) const {
    std::vector<Point> second = secondSide(b);
    Step step = stepTo(axis, second);
    const std::vector<Link> &chain = sets_[b].chain;
    if (!chain.empty() && !isInChain(a, b)) {
        second = firstSide(chain.front().from);
        step = stepTo(axis, second);
        std::erase_if(second, [&](Point point) { return !reaches(point, chain, 0, b); });
    }
    Set result;
    for (Point x : firstSide(a)) {
        bool hasPartner = std::any_of(second.begin(), second.end(),
                                      [&](Point y) { return related(table_, step, x, y); });
        if (hasPartner && x.node != noNode) result.nodes.insert(x);
    }
    result.chain = sets_[a].chain;
    result.pairs = restricted(sets_[a].pairs, result.nodes);
    result.step = sets_[a].step;
    return result;
}

std::optional<NaiveSets::Pairs> NaiveSets::restricted(const std::optional<Pairs> &pairs,
                                                      const std::set<Point> &nodes) {
    if (!pairs) return std::nullopt;
    Pairs result = *pairs;
    for (Counted &counted : result) {
        std::erase_if(counted.nodes, [&](NodeId node) {
            return std::none_of(nodes.begin(), nodes.end(),
                                [node](Point point) { return point.node == node; });
        });
    }
    return result;
}

/** The pairs of a set; of one without a step, each node with its parent. */
NaiveSets::Pairs NaiveSets::pairsOf(std::size_t set) const {
    if (sets_[set].pairs) return *sets_[set].pairs;
    std::map<Point, NodeIds> siblings;
    for (Point point : sets_[set].nodes) {
        siblings[{table_.parent(point.node), point.document}].push_back(point.node);
    }
    Pairs result;
    for (auto &[parent, nodes] : siblings)
        result.push_back({parent, nodes});
    return result;
}

std::size_t NaiveSets::select(std::size_t set, PositionTest test) {
    Set result;
    Pairs pairs = pairsOf(set);
    for (Counted &counted : pairs) {
        NodeIds kept;
        for (std::size_t i = 0; i < counted.nodes.size(); ++i) {
            if (!satisfies(i + 1, counted.nodes.size(), test)) continue;
            kept.push_back(counted.nodes[i]);
            result.nodes.insert({kept.back(), documentOf(table_, kept.back())});
        }
        counted.nodes = kept;
    }
    if (sets_[set].pairs) result.pairs = pairs;
    result.step = sets_[set].step;
    result.chain = sets_[set].chain;
    return add(result);
}

std::size_t NaiveSets::intersect(std::size_t a, std::size_t b) {
    Set result;
    const Set &first = sets_[a];
    const Set &second = sets_[b];
    for (Point point : first.nodes) {
        if (second.nodes.contains(point)) result.nodes.insert(point);
    }
    result.chain = first.chain;
    if (!first.pairs || !second.pairs) {
        const Set &counted = first.pairs ? first : second;
        result.pairs = restricted(counted.pairs, result.nodes);
        result.step = counted.step;
        return add(result);
    }
    result.pairs.emplace();
    for (const Counted &one : *first.pairs) {
        Counted both{one.context, {}};
        for (const Counted &other : *second.pairs) {
            if (other.context != one.context) continue;
            for (NodeId node : one.nodes) {
                bool isCommon =
                    std::find(other.nodes.begin(), other.nodes.end(), node) != other.nodes.end();
                if (isCommon) both.nodes.push_back(node);
            }
        }
        result.pairs->push_back(both);
    }
    if (first.step == second.step) result.step = first.step;
    return add(result);
}

std::size_t NaiveSets::subtract(std::size_t a, std::size_t b) {
    Set result = sets_[a];
    for (Point point : sets_[b].nodes)
        result.nodes.erase(point);
    result.pairs = restricted(result.pairs, result.nodes);
    return add(result);
}

std::size_t NaiveSets::unite(std::size_t a, std::size_t b) {
    Set result;
    const Set &first = sets_[a];
    const Set &second = sets_[b];
    result.nodes = first.nodes;
    result.nodes.insert(second.nodes.begin(), second.nodes.end());
    bool shareChain = !first.chain.empty() && !second.chain.empty() &&
                      first.chain.back().from == second.chain.back().from &&
                      first.chain.back().step.axis == second.chain.back().step.axis;
    if (shareChain) {
        result.chain = first.chain;
        result.chain.back().step.attributesAreChildren |=
            second.chain.back().step.attributesAreChildren;
    }
    bool shareStep = first.step && first.step == second.step;
    if (!shareStep) return add(result);
    result.step = first.step;
    result.pairs = first.pairs;
    for (const Counted &more : *second.pairs) {
        for (Counted &counted : *result.pairs) {
            if (counted.context != more.context) continue;
            std::set<NodeId> merged(counted.nodes.begin(), counted.nodes.end());
            merged.insert(more.nodes.begin(), more.nodes.end());
            counted.nodes.assign(merged.begin(), merged.end());
            if (isReverse(first.step->second)) {
                std::reverse(counted.nodes.begin(), counted.nodes.end());
            }
        }
    }
    return add(result);
}

}  // namespace zdbs::testing
