/** The parts of a collection as a load changes them. */
#ifndef ZDBS_SQL_PART_WRITERS_H
#define ZDBS_SQL_PART_WRITERS_H

#include <cstdint>
#include <deque>
#include <map>
#include <memory>

#include "zdbs/sql/node_writer.h"
#include "zdbs/sql/spread.h"

namespace zdbs::sql {

struct ChangedPart {
    int number;
    int before;  ///< number of the first row that is new
    int next;    ///< of the next row
    bool isNew = false;
    bool isChanged = false;
};

/**
 * Where rows of which part go: to the collection's own table, or straight to those of its shards,
 * each in a transaction that ends in front of the collection's. What that one then does not know of
 * counts for nobody, and whoever next writes there takes it away.
 */
class PartWriters {
public:
    /** REQUIRES a transaction on the connection, which outlives it. */
    PartWriters(Connection &connection, SpreadPtr spread);

    /** With room; the first of several, and a new one where all are full. */
    ChangedPart &emptiest();

    NodeWriter &of(int part);
    Connection &connectionOf(int part);

    void addLevels(int from, int to);

    /** All rows are there; what the collection knows of parts is in its tables. */
    void finish(std::int64_t state);

    /** On the shards; what fails ends the load. */
    void commit();

    /** After all commits. */
    void tidy();

private:
    struct Table {
        std::unique_ptr<Connection> own;  ///< of a shard
        std::unique_ptr<NodeWriter> writer;
    };

    int tableOf(int part) const { return spread_ ? spread_->shardOf(part) : 0; }
    Table &table(int number);
    Connection &connectionOf(const Table &table) { return table.own ? *table.own : connection_; }
    void begin(Connection &shard, int number);
    bool isEmpty() const;

    Connection &connection_;
    SpreadPtr spread_;
    std::uint32_t full_;
    std::deque<ChangedPart> parts_;
    std::int64_t known_;           ///< parts that there were
    std::map<int, Table> tables_;  ///< those that something was done to
};

}  // namespace zdbs::sql

#endif
