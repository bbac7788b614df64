/** Counts sets and their hits, by one statement where the summary does not know. */
#ifndef ZDBS_SQL_COUNTER_H
#define ZDBS_SQL_COUNTER_H

#include "zdbs/sql/connection.h"
#include "zdbs/sql/kept_rows.h"
#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

/** Throws what the connection throws: a set that cannot be counted is not made. */
class Counter {
public:
    explicit Counter(Connection &connection) : connection_(connection), keeper_(connection) {}

    /**
     * Puts numbers to a set. Kinds of paths without a node are left out of it, and what has become
     * too large for a statement is kept on the server.
     */
    void count(SqlSet &set);

    /** Rows by their numbers, kept on the server. */
    PathSet keptRows(const std::vector<RowId> &rows);

    /** As of Keeper. */
    void goOn() { keeper_.goOn(); }

private:
    void keep(SqlSet &set);
    void keepPairs(SqlSet &set);
    PathSet pathsOfKept(const KeptRowsPtr &rows);

    Connection &connection_;
    Keeper keeper_;
};

}  // namespace zdbs::sql

#endif
