#include "zdbs/embedded/joins/join.h"

#include <algorithm>
#include <cassert>
#include <unordered_map>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/tree/ascending_numbers.h"
#include "zdbs/embedded/tree/membership.h"

namespace zdbs::embedded {
namespace {

using NodeSpan = std::span<const NodeId>;
using RootSpan = std::span<const DocumentIndex>;

template <typename Condition>
NodeIds filtered(NodeSpan nodes, Condition condition) {
    NodeIds result;
    StopCounter stop;
    for (const NodeId node : nodes) {
        stop.step();
        if (condition(node)) result.push_back(node);
    }
    return result;
}

bool contains(RootSpan roots, DocumentIndex document) {
    return std::binary_search(roots.begin(), roots.end(), document);
}

/** The joins over one table; each operation is one pass or two. */
class Joins {
public:
    explicit Joins(const NodeTable &table) : table_(table), finder_(table) {}

    bool isAttribute(NodeId node) const { return table_.kind(node) == NodeKind::attribute; }

    NodeIds withoutAttributes(NodeSpan nodes) const {
        return filtered(nodes, [this](NodeId node) { return !isAttribute(node); });
    }

    NodeIds attributesOnly(NodeSpan nodes) const {
        return filtered(nodes, [this](NodeId node) { return isAttribute(node); });
    }

    NodeIds inDocuments(NodeSpan nodes, RootSpan roots) {
        if (roots.empty()) return {};
        return filtered(nodes, [&](NodeId node) { return contains(roots, finder_.indexOf(node)); });
    }

    DocumentIndexes documentsOf(NodeSpan nodes) {
        DocumentIndexes result;
        for (NodeId node : nodes) {
            DocumentIndex document = finder_.indexOf(node);
            if (result.empty() || result.back() != document) result.push_back(document);
        }
        return result;
    }

    /** The elements and the roots that these nodes are directly below. */
    Selection parentsOf(NodeSpan nodes) {
        Selection result;
        for (NodeId node : nodes) {
            NodeId parent = table_.parent(node);
            if (parent != noNode) {
                result.nodes.push_back(parent);
            } else {
                result.roots.push_back(finder_.indexOf(node));
            }
        }
        sortUnique(result.nodes);
        sortUnique(result.roots);
        return result;
    }

    /** The nodes whose parent is among `parents`. */
    NodeIds directlyBelow(NodeSpan nodes, Operand parents) {
        Membership isParent(parents.nodes);
        return filtered(nodes, [&](NodeId node) {
            NodeId parent = table_.parent(node);
            return parent != noNode ? isParent.contains(parent)
                                    : contains(parents.roots, finder_.indexOf(node));
        });
    }

    /**
     * The nodes that lie below one of `tops`. Subtrees nest, so of all tops before a
     * node only the furthest end matters: the others are covered.
     */
    NodeIds below(NodeSpan nodes, NodeSpan tops) const {
        auto top = tops.begin();
        NodeId end = noNode;
        return filtered(nodes, [&](NodeId node) {
            for (; top != tops.end() && *top < node; ++top) {
                end = std::max(end, table_.lastBelow(*top));
            }
            return node <= end;
        });
    }

    /** The nodes that one of `lows` lies below: the next of them decides. */
    NodeIds above(NodeSpan nodes, NodeSpan lows) const {
        auto low = lows.begin();
        return filtered(nodes, [&](NodeId node) {
            while (low != lows.end() && *low <= node)
                ++low;
            return low != lows.end() && *low <= table_.lastBelow(node);
        });
    }

    /** The nodes with one of `others` among the siblings after them, or before them. */
    NodeIds besides(NodeSpan nodes, NodeSpan others, bool after) {
        NodeIds candidates = withoutAttributes(nodes);
        NodeIds partners = withoutAttributes(others);
        std::unordered_map<ParentKey, NodeId> outermost;
        for (NodeId partner : partners) {
            auto [place, isNew] =
                outermost.try_emplace(parentKey(table_, finder_, partner), partner);
            if (!isNew && after) place->second = partner;
        }
        return filtered(candidates, [&](NodeId node) {
            auto place = outermost.find(parentKey(table_, finder_, node));
            if (place == outermost.end()) return false;
            return after ? place->second > node : place->second < node;
        });
    }

    /** The nodes that end before the last of `others` in their document begins. */
    NodeIds endingBefore(NodeSpan nodes, NodeSpan others) {
        return filtered(nodes, [&](NodeId node) {
            const DocumentRange &document = finder_.documentOf(node);
            auto end = std::upper_bound(others.begin(), others.end(), document.last);
            return end != others.begin() && table_.lastBelow(node) < *std::prev(end);
        });
    }

    /** The nodes that begin after one of `others` in their document has ended. */
    NodeIds beginningAfter(NodeSpan nodes, NodeSpan others) {
        std::unordered_map<DocumentIndex, NodeId> firstEnd;
        for (NodeId other : others) {
            NodeId end = table_.lastBelow(other);
            auto [place, isNew] = firstEnd.try_emplace(finder_.indexOf(other), end);
            if (!isNew) place->second = std::min(place->second, end);
        }
        return filtered(nodes, [&](NodeId node) {
            auto place = firstEnd.find(finder_.indexOf(node));
            return place != firstEnd.end() && place->second < node;
        });
    }

    /** The nodes that a step downwards can reach. */
    NodeIds reachableBelow(Step step, NodeSpan nodes) const {
        if (traitsOf(step.axis).toAttributes) return attributesOnly(nodes);
        if (step.attributesAreChildren) return NodeIds(nodes.begin(), nodes.end());
        return withoutAttributes(nodes);
    }

    Selection keepFirst(Step step, Operand a, Operand b);
    NodeIds keepSecond(Step step, Operand a, NodeSpan b);

private:
    NodeIds allBelow(NodeSpan low, Operand high, bool isDirect);
    Selection allAbove(Operand high, NodeSpan low, bool isDirect);
    Selection firstOfRegion(Step step, Operand a, Operand b);
    NodeIds secondOfRegion(Step step, Operand a, NodeSpan b);

    const NodeTable &table_;
    DocumentFinder finder_;
};

/** The nodes of `low` that are below a node or a root of `high`. */
NodeIds Joins::allBelow(NodeSpan low, Operand high, bool isDirect) {
    if (isDirect) return directlyBelow(low, high);
    return merged(below(low, high.nodes), inDocuments(low, high.roots));
}

/** What of `high` is above a node of `low`. */
Selection Joins::allAbove(Operand high, NodeSpan low, bool isDirect) {
    if (!isDirect) return {above(high.nodes, low), common(high.roots, documentsOf(low))};
    const Selection parents = parentsOf(low);
    return {common(high.nodes, parents.nodes), common(high.roots, parents.roots)};
}

/** keepFirst() without the nodes that are on both sides themselves. */
Selection Joins::firstOfRegion(Step step, Operand a, Operand b) {
    const AxisTraits &axis = traitsOf(step.axis);
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return allAbove(a, reachableBelow(step, b.nodes), axis.isDirect);
        case Region::above:
            return {allBelow(a.nodes, b, axis.isDirect), {}};
        case Region::siblingsAfter:
            return {besides(a.nodes, b.nodes, true), {}};
        case Region::siblingsBefore:
            return {besides(a.nodes, b.nodes, false), {}};
        case Region::after:
            return {endingBefore(a.nodes, withoutAttributes(b.nodes)), {}};
        case Region::before:
            return {beginningAfter(a.nodes, withoutAttributes(b.nodes)), {}};
    }
    return {};
}

/** keepSecond() likewise. */
NodeIds Joins::secondOfRegion(Step step, Operand a, NodeSpan b) {
    const AxisTraits &axis = traitsOf(step.axis);
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return allBelow(reachableBelow(step, b), a, axis.isDirect);
        case Region::above:
            return allAbove({b, {}}, a.nodes, axis.isDirect).nodes;
        case Region::siblingsAfter:
            return besides(b, a.nodes, false);
        case Region::siblingsBefore:
            return besides(b, a.nodes, true);
        case Region::after:
            return beginningAfter(withoutAttributes(b), a.nodes);
        case Region::before:
            return endingBefore(withoutAttributes(b), a.nodes);
    }
    return {};
}

Selection Joins::keepFirst(Step step, Operand a, Operand b) {
    Selection found = firstOfRegion(step, a, b);
    if (!traitsOf(step.axis).withSelf) return found;
    return {merged(found.nodes, common(a.nodes, b.nodes)),
            merged(found.roots, common(a.roots, b.roots))};
}

NodeIds Joins::keepSecond(Step step, Operand a, NodeSpan b) {
    NodeIds found = secondOfRegion(step, a, b);
    return traitsOf(step.axis).withSelf ? merged(found, common(a.nodes, b)) : found;
}

}  // namespace

Selection keepFirst(const NodeTable &table, Step step, Operand first, Operand second) {
    return Joins(table).keepFirst(step, first, second);
}

NodeIds keepSecond(const NodeTable &table, Step step, Operand first,
                   std::span<const NodeId> second) {
    return Joins(table).keepSecond(step, first, second);
}

bool allAttributes(const NodeTable &table, std::span<const NodeId> nodes) {
    return !nodes.empty() && std::all_of(nodes.begin(), nodes.end(), [&](NodeId node) {
        return table.kind(node) == NodeKind::attribute;
    });
}

}  // namespace zdbs::embedded
