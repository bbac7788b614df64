/**
 * The structural joins over nodes by path. Which paths can stand on an axis to each
 * other is decided on the summary; only the rows of those are looked at, and of whole
 * paths often none. The answers are those of joins/join.h, which serves where a path is
 * irregular.
 *
 * Contexts may be whole documents' roots. Any thread may call.
 */
#ifndef ZDBS_EMBEDDED_JOINS_PATH_JOIN_H
#define ZDBS_EMBEDDED_JOINS_PATH_JOIN_H

#include <optional>
#include <span>
#include <vector>

#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/paths/path_nodes.h"

namespace zdbs::embedded {

/** One side of a join: nodes, and the documents whose root belongs to it too. */
struct PathOperand {
    const PathNodes &nodes;
    std::span<const DocumentIndex> roots;
};

struct PathSelection {
    PathNodes nodes;
    DocumentIndexes roots;
};

/**
 * The paths of `second` that can hold a node on the axis of a node of `first` (or of a root,
 * when `roots`). Never misses one; ascending. For pruning a side before its rows are found.
 */
std::vector<PathId> pathsReached(const PathSummary &summary, Step step,
                                 std::span<const PathId> first, bool roots,
                                 std::span<const PathId> second);

/**
 * The paths of `first` that can have a node of `second` on their axis; as above. Says nothing
 * of roots that belong to the second side: those can keep any path.
 */
std::vector<PathId> pathsReaching(const PathSummary &summary, Step step,
                                  std::span<const PathId> first, std::span<const PathId> second);

/**
 * As keepFirst() and keepSecond() of joins/join.h. Nothing when the join is not one for
 * this way: then the caller takes the other. So it is for siblings of irregular nodes, and
 * for more than 100 000 irregular nodes below others.
 * @param nodes the table that `table` belongs to, for its documents
 */
std::optional<PathSelection> keepFirst(const NodeTable &nodes, const PathTable &table, Step step,
                                       const PathOperand &first, const PathOperand &second);
std::optional<PathNodes> keepSecond(const NodeTable &nodes, const PathTable &table, Step step,
                                    const PathOperand &first, const PathNodes &second);

}  // namespace zdbs::embedded

#endif
