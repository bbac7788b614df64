#include "zdbs/sql/compaction.h"

#include <algorithm>
#include <string>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/sql/census.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/kept_rows.h"
#include "zdbs/sql/locks.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/shards.h"

namespace zdbs::sql {
namespace {

/**
 * The oldest state that a session holds. Whoever takes one up afterwards finds that it is not the
 * newest any more, if it is not, and takes that.
 */
std::int64_t oldestHeld(Connection &connection, std::int64_t collection) {
    const std::int64_t newest = connection.run("select number from state").number(0, 0);
    const auto isOf = [](const std::string &lock, LockSpace space) {
        return lock + ".locktype = 'advisory' and " + lock + ".objsubid = 2 and " + lock +
               ".classid = " + std::to_string(static_cast<int>(space));
    };
    const Rows held = connection.run(
        "select s.objid from pg_catalog.pg_locks s inner join pg_catalog.pg_locks c on s.pid = "
        "c.pid and s.database = c.database where s.database = (select oid from "
        "pg_catalog.pg_database where datname = current_database()) and " +
        isOf("s", LockSpace::state) + " and " + isOf("c", LockSpace::collection) +
        " and c.objid = " + std::to_string(lockNumber(collection)));
    std::int64_t oldest = newest;
    for (int row = 0; row < held.size(); ++row)
        oldest = std::min(oldest, newest - lockNumber(newest - held.number(row, 0)));
    return oldest;
}

/**
 * From its commit on, a session that comes back to an older state is told that rows are gone. Who
 * came back before that holds its state, and is seen when the holders are looked at once more.
 */
void announce(Connection &connection, std::int64_t oldest) {
    const Rows last = connection.run(
        Statement::of("select max(removed) from document where removed <= $1", oldest));
    if (!last.isNull(0, 0))
        connection.run(
            Statement::of("update state set swept = $1 where swept < $1", last.number(0, 0)));
}

/** REQUIRES the right to change the collection. */
void deleteRemoved(Connection &connection, std::int64_t oldest, const ProgressReport &progress) {
    const Rows removed = connection.run(
        Statement::of("select number, part, root, last from document where removed <= $1", oldest));
    std::uint64_t total = 0;
    for (int row = 0; row < removed.size(); ++row)
        total += removed.count(row, 3) - removed.count(row, 2) + 1;
    std::uint64_t done = 0;
    for (int row = 0; row < removed.size(); ++row) {
        connection.change(Statement::of("delete from node where part = $1 and id between $2 and $3",
                                        removed.number(row, 1), removed.number(row, 2),
                                        removed.number(row, 3)));
        connection.run(
            Statement::of("delete from document where number = $1", removed.number(row, 0)));
        done += removed.count(row, 3) - removed.count(row, 2) + 1;
        if (progress) progress(done, total);
    }
}

void vacuum(Connection &connection, std::int64_t collection,
            const std::vector<std::string> &tables) {
    for (const std::string &table : tables)
        connection.run("vacuum (analyze) " + schemaOf(collection) + "." + table);
}

/** Lets servers use the room of what was deleted. */
void vacuumAll(Connection &connection, std::int64_t collection) {
    const std::vector<std::string> ofNodes = {"node", "setnode"};
    vacuum(connection, collection, {"document", "kept"});
    if (!connection.spread()) return vacuum(connection, collection, ofNodes);
    for (const Shard &each : connection.spread()->shards) {
        Connection own(locationOf(connection.location(), each, connection.location().timeout));
        vacuum(own, collection, ofNodes);
    }
}

}  // namespace

Compaction compactCollection(Connection &connection, std::string_view database,
                             const WaitingReport &waiting, const ProgressReport &progress) {
    const std::int64_t collection = beginChange(connection, database, waiting);
    enterCollection(connection, collection);
    const std::int64_t oldest = oldestHeld(connection, collection);
    announce(connection, oldest);
    connection.run("commit");
    const std::int64_t same = beginChange(connection, database, waiting);
    if (same != collection) throw Failure(Status::unknownDatabase, {database});
    connection.spreadOver(readSpread(connection, collection));
    Compaction bytes;
    bytes.before = bytesOf(connection, collection);
    deleteRemoved(connection, std::min(oldest, oldestHeld(connection, collection)), progress);
    connection.run("commit");
    sweepKeptRows(connection);
    vacuumAll(connection, collection);
    bytes.after = bytesOf(connection, collection);
    return bytes;
}

}  // namespace zdbs::sql
