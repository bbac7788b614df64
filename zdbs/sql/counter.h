/** Counts sets and their hits, by one statement where the summary does not know. */
#ifndef ZDBS_SQL_COUNTER_H
#define ZDBS_SQL_COUNTER_H

#include <memory>

#include "zdbs/sql/connection.h"
#include "zdbs/sql/sql_set.h"

namespace zdbs::sql {

/** Throws what the connection throws: a set that cannot be counted is not made. */
class Counter {
public:
    explicit Counter(Connection &connection)
        : connection_(connection), unused_(std::make_shared<KeptRows::Numbers>()) {}
    /** What it kept on the server is gone with it. */
    ~Counter();
    Counter(const Counter &) = delete;
    Counter &operator=(const Counter &) = delete;

    /**
     * Puts numbers to a set. Kinds of paths without a node are left out of it, and what has become
     * too large for a statement is kept on the server.
     */
    void count(SqlSet &set);

private:
    void sweep();
    void keep(SqlSet &set);
    void keepPairs(SqlSet &set);
    KeptRowsPtr number();

    Connection &connection_;
    std::shared_ptr<KeptRows::Numbers> unused_;  ///< to be deleted
    std::vector<std::weak_ptr<const KeptRows>> kept_;
};

}  // namespace zdbs::sql

#endif
