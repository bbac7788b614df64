/** Fragment specifications that only go down, answered by path. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_PATH_FRAGMENTS_H
#define ZDBS_EMBEDDED_FRAGMENTS_PATH_FRAGMENTS_H

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/paths/node_reader.h"
#include "zdbs/engine/fragments.h"

namespace zdbs::embedded {

/** A node that specifications are answered at. */
struct PathMatch {
    PathMatch(NodeReader &reader, NodeId match);

    NodeId node;
    NodeId last;  ///< below it
    PathId path;
    bool isRegular;  ///< it and all below
};

/**
 * The nodes that one specification selects from nodes stored by path. Where all its steps go
 * down and have no filters, the path of a node decides whether it is selected: the paths
 * that are reached from the path of the match are found once on the summary, and of a match
 * only the nodes of those paths are looked at. One thread at a time.
 */
class PathFragments {
public:
    /** Both must outlive the object. */
    PathFragments(const FragmentSpec &spec, NodeReader &reader)
        : spec_(spec), reader_(reader), goesDown_(goesDown(spec)) {}

    /**
     * Calls `take(node, path)` for each node that is selected, in document order. False, and
     * no calls, where paths do not decide: for other specifications, and where irregular
     * nodes are at or below the match.
     */
    template <typename Take>
    bool select(const PathMatch &match, Take take) {
        if (!goesDown_ || !match.isRegular) return false;
        const std::vector<PathId> &reached = reachedFrom(match.path);
        if (reached.size() == 1) {
            takeRows(reached.front(), match, take);
        } else if (!reached.empty()) {
            takeNodes(reached, match, take);
        }
        return true;
    }

private:
    /** The rows of one path are where the nodes are. */
    template <typename Take>
    void takeRows(PathId path, const PathMatch &match, Take take) {
        PathCursor &rows = reader_.cursor(path);
        for (NodeId node = rows.seek(match.node); node <= match.last; node = rows.seek(node + 1))
            take(node, path);
    }

    /** Of several paths the nodes are in between each other. */
    template <typename Take>
    void takeNodes(const std::vector<PathId> &paths, const PathMatch &match, Take take) {
        for (NodeId node = match.node; node <= match.last; ++node) {
            const PathId path = reader_.pathOf(node);
            if (std::binary_search(paths.begin(), paths.end(), path)) take(node, path);
        }
    }

    static bool goesDown(const FragmentSpec &spec);
    const std::vector<PathId> &reachedFrom(PathId path);
    std::vector<PathId> findReached(PathId path) const;
    void addStep(const FragmentStep &step, PathId from, std::vector<PathId> &reached) const;
    void addBelow(const FragmentStep &step, PathId from, std::vector<PathId> &reached) const;
    bool passes(const FragmentStep &step, PathId path) const;

    const FragmentSpec &spec_;
    NodeReader &reader_;
    bool goesDown_;
    PathId lastFrom_ = noPath;
    const std::vector<PathId> *lastReached_ = nullptr;
    std::unordered_map<PathId, std::vector<PathId>> reached_;  ///< by path of the match
};

}  // namespace zdbs::embedded

#endif
