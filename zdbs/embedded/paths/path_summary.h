/**
 * The path summary of a database: one entry for each distinct path of names and kinds
 * from the top of a document to a node (a strong DataGuide: Goldman, Widom:
 * "DataGuides", VLDB 1997). Nodes are stored by path, and conditions on names, kinds
 * and structure are decided on the summary wherever they can be.
 */
#ifndef ZDBS_EMBEDDED_PATHS_PATH_SUMMARY_H
#define ZDBS_EMBEDDED_PATHS_PATH_SUMMARY_H

#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/** Number of a path, from 0 without gaps, the parent's before its children's; never reused. */
using PathId = std::uint32_t;

constexpr PathId noPath = 0xffffffff;
constexpr std::uint32_t noName = 0xffffffff;

/**
 * A path. Regular ones have one parent path, one name and one level, and their nodes
 * are exactly the nodes there. Nodes that are too deep, or come when there are too many
 * paths already, are in one irregular path for each kind: it has no parent, name or
 * level of its own, its nodes carry them. All nodes below an irregular node are in
 * irregular paths.
 */
struct Path {
    PathId parent = noPath;  ///< noPath at the top of a document, and of irregular paths
    NodeKind kind = NodeKind::element;
    std::uint32_t name =
        noName;               ///< number of the name; noName of texts, comments, irregular paths
    std::uint32_t level = 1;  ///< 1 at the top of a document; 0 of irregular paths
    bool isRegular = true;
};

class PathSummary {
public:
    /** Adds the next path. REQUIRES that the parent is there. */
    void add(const Path &path);

    std::size_t size() const { return paths_.size(); }
    const Path &operator[](PathId path) const { return paths_[path]; }

    /** Paths whose parent it is, ascending. */
    std::span<const PathId> children(PathId path) const { return children_[path]; }

    /** Regular paths at the top of documents, ascending. */
    std::span<const PathId> top() const { return top_; }

    /** Irregular paths, ascending; at most one for each kind. */
    std::span<const PathId> irregular() const { return irregular_; }

    /** Whether `below` is below `above`; false for the same. Both regular. */
    bool isBelow(PathId below, PathId above) const;

private:
    std::vector<Path> paths_;
    std::vector<std::vector<PathId>> children_;
    std::vector<PathId> top_;
    std::vector<PathId> irregular_;
};

}  // namespace zdbs::embedded

#endif
