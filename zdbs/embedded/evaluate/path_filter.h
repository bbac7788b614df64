/** The field terms of a conjunction over nodes by path. */
#ifndef ZDBS_EMBEDDED_EVALUATE_PATH_FILTER_H
#define ZDBS_EMBEDDED_EVALUATE_PATH_FILTER_H

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "zdbs/embedded/evaluate/node_filter.h"
#include "zdbs/embedded/evaluate/summary_index.h"
#include "zdbs/embedded/sets/node_list.h"

namespace zdbs::embedded {

/**
 * Answers the same nodes as NodeFilter::select(). Kinds, names and levels are decided on
 * the summary; numbers of nodes and parents are ranges of rows, for both ascend with the
 * rows of a regular path; the nodes of irregular paths are looked at one by one. Values
 * are left pending, in paths that can have one which is asked for.
 */
class PathFilter {
public:
    PathFilter(const PathTable &table, const SummaryIndex &index, const NodeFilter &filter);

    /** Those of `list` that satisfy the filter. */
    NodeListPtr select(const NodeListPtr &list, const PlanPtr &plan) const;

    /** Those of all nodes. */
    NodeListPtr selectOfAll(const PlanPtr &plan) const;

private:
    using Tests = std::vector<const FieldTest *>;

    /** What is known of the nodes of a path without looking at rows. */
    struct Decision {
        bool isPossible = true;
        Tests byRow;
    };

    static std::optional<NodeKind> kindOf(const FieldTest &type);
    NodeListPtr nodesOfKindAndName() const;
    const FieldTest *equality(Field field) const;
    std::span<const PathId> candidates() const;
    Decision decide(PathId path) const;
    std::vector<PathId> possible(std::span<const PathId> paths, Plan *plan) const;
    std::vector<PathId> thatMayHaveValue(std::span<const PathId> paths, Plan *plan) const;
    NodeListPtr finish(PathNodes parts, const PlanPtr &plan) const;
    RowSetPtr rowsOf(const PathPart &part, const Tests &tests, Plan *plan) const;

    const PathTable &table_;
    const SummaryIndex &index_;
    const NodeFilter &filter_;
    std::shared_ptr<const ValueConditions> values_;  ///< null: none
    std::optional<ValueKey> key_;                    ///< of a value that is asked for
    bool looksAtNumbers_;                            ///< whether rows of regular paths may decide
};

}  // namespace zdbs::embedded

#endif
