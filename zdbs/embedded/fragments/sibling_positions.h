/** Positions of nodes among the like-named children of one parent. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_SIBLING_POSITIONS_H
#define ZDBS_EMBEDDED_FRAGMENTS_SIBLING_POSITIONS_H

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/fragments/axis_walk.h"

namespace zdbs::embedded {

/** A node as a path names it: "p:local", "text()", "comment()" or "processing-instruction()". */
struct PathName {
    std::string_view prefix;
    std::string_view local;

    bool operator==(const PathName &) const = default;
};

PathName pathName(const NodeTable &nodes, NodeId node);

/**
 * Counts the children of one parent as far as they are asked for. Asked in
 * document order, it remembers the children asked for; once asked backwards for
 * another one, all that it has passed. Either way every child is counted once, or
 * twice, however often and in which order the positions are asked.
 */
class SiblingPositions {
public:
    /** `firstChild` is the first of the children. */
    explicit SiblingPositions(NodeId firstChild) : first_(firstChild), next_(firstChild) {}

    /** Position of `child`, from 1, among its siblings of the same PathName. */
    std::uint32_t of(const NodeTable &nodes, AxisWalk &walk, NodeId child);

private:
    struct Hash {
        std::size_t operator()(const PathName &name) const;
    };
    struct Known {
        NodeId child;
        std::uint32_t position;
    };

    const Known *known(NodeId child) const;
    void countTo(const NodeTable &nodes, AxisWalk &walk, NodeId child);

    NodeId first_;
    NodeId next_;  ///< the first child not counted yet
    bool rememberAll_ = false;
    std::vector<Known> known_;  ///< ascending by child
    std::unordered_map<PathName, std::uint32_t, Hash> counts_;
};

}  // namespace zdbs::embedded

#endif
