/** A table of nodes that a load writes to. */
#ifndef ZDBS_SQL_NODE_WRITER_H
#define ZDBS_SQL_NODE_WRITER_H

#include <span>
#include <string_view>
#include <vector>

#include "zdbs/sql/connection.h"
#include "zdbs/sql/row_buffer.h"
#include "zdbs/sql/schema.h"

namespace zdbs::sql {

/**
 * The rows of some parts on their way into a table; REQUIRES a transaction on the connection, with
 * the names of tables those of the collection. Nothing is in the table for good before its commit.
 */
class NodeWriter {
public:
    /** @param isEmpty rows come faster without indexes then, which are smaller, too */
    NodeWriter(Connection &connection, bool isEmpty);

    void add(const LoadedRow &row, std::string_view value, std::span<const int> above);

    /** Forgets the rows of a part from one on. */
    void drop(int part, int first);

    /** What was added is in the table. */
    void send();

    void addLevels(int from, int to);

    /** All is there, and has its indexes. */
    void finish();

    /** After the commit. Answers come without it, too, but slowly: nothing fails. */
    void tidy();

private:
    Connection &connection_;
    RowBuffer buffer_;
    bool isSent_ = false;          ///< some rows are in the table
    std::vector<NodeIndex> left_;  ///< made at the end
};

}  // namespace zdbs::sql

#endif
