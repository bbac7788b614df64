/** Some rows of a state, fetched in blocks for those who look at single nodes. */
#ifndef ZDBS_SQL_EXCERPT_H
#define ZDBS_SQL_EXCERPT_H

#include <functional>
#include <map>
#include <span>
#include <string>

#include "zdbs/sql/connection.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {

struct NodeRow {
    RowId row;
    int last = 0;    ///< number of the last row below it, or its own
    int parent = 0;  ///< number of the parent's row
    int ordinal = 1;
    PathNumber path = rootPath;
    std::string value;  ///< of an element its declarations, see declarations.h

    RowRange range() const { return {row.part, row.id, last}; }
    RowRange below() const { return {row.part, row.id + 1, last}; }
};

/** Throws what the connection throws. One thread at a time. */
class Excerpt {
public:
    using Visitor = std::function<void(const NodeRow &)>;

    Excerpt(Connection &connection, StatePtr state)
        : connection_(connection), state_(std::move(state)) {}

    const State &state() const { return *state_; }
    const Path &pathOf(const NodeRow &row) const { return state_->summary[row.path]; }

    /**
     * Fetches rows with all above them, and what is below those that have little below them; what
     * was fetched before is forgotten.
     */
    void fetch(std::span<const RowId> rows);

    /** A row, and what is above it. References hold until the next fetch(). */
    const NodeRow &at(RowId row);
    const NodeRow &parentOf(const NodeRow &row) { return at({row.row.part, row.parent}); }

    /** Holds the rows of a range. Throws Failure(unsupported) for more than are held at once. */
    void require(const RowRange &range);

    /** Rows of a range that is held. */
    void forEach(const RowRange &range, const Visitor &visitor) const;

    /** Rows in order, whether they are held or not. */
    void tell(const RowRange &range, const Visitor &visitor) const;

    bool holds(const RowRange &range) const;

    /** What fetch() and require() have brought. */
    const RowRanges &held() const { return held_; }

private:
    void add(const Rows &rows, std::vector<RowId> &above);
    void fetchRows(const std::vector<RowId> &rows, std::vector<RowId> &above);
    void fetchRanges(const RowRanges &ranges);

    Connection &connection_;
    StatePtr state_;
    std::map<RowId, NodeRow> rows_;
    RowRanges held_;
};

}  // namespace zdbs::sql

#endif
