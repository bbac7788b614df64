#include "zdbs/embedded/joins/irregular_join.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {

PathNodes IrregularJoin::below(const PathOperand &high, const PathNodes &low, Depth depth) {
    isIn_.clear();
    NodeIds kept = nodeIdsOf(table_, low);
    std::erase_if(kept, [&](NodeId node) { return !isBelow(high, node, depth); });
    return byPath(table_, kept);
}

/** Goes up until the answer is known, and notes it for all nodes on the way. */
bool IrregularJoin::isBelow(const PathOperand &high, NodeId node, Depth depth) {
    way_.clear();
    bool result = false;
    for (NodeId up = node;;) {
        const NodeId below = up;
        up = nodes_.parent(below);
        if (up == noNode) {
            result = isRootOf(high, below);
            break;
        }
        if (depth == Depth::direct) return contains(table_, high.nodes, up);
        const auto known = isIn_.find(up);
        result = known != isIn_.end() ? known->second : contains(table_, high.nodes, up);
        if (known != isIn_.end() || result) break;
        way_.push_back(up);
    }
    for (NodeId each : way_)
        isIn_[each] = result;
    return result;
}

bool IrregularJoin::isRootOf(const PathOperand &high, NodeId node) const {
    if (high.roots.empty()) return false;
    DocumentFinder finder(nodes_);
    return std::binary_search(high.roots.begin(), high.roots.end(), finder.indexOf(node));
}

PathSelection IrregularJoin::above(const PathOperand &high, const PathNodes &low, Depth depth) {
    std::unordered_set<NodeId> found;
    DocumentIndexes roots;
    DocumentFinder finder(nodes_);
    for (NodeId node : nodeIdsOf(table_, low)) {
        for (NodeId up = node;;) {
            const NodeId below = up;
            up = nodes_.parent(below);
            if (up == noNode) roots.push_back(finder.indexOf(below));
            if (up == noNode || !found.insert(up).second || depth == Depth::direct) break;
        }
    }
    NodeIds above(found.begin(), found.end());
    std::sort(above.begin(), above.end());
    sortUnique(roots);
    return {intersected(high.nodes, byPath(table_, above)), common(roots, high.roots)};
}

}  // namespace zdbs::embedded
