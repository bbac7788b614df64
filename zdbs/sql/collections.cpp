#include "zdbs/sql/collections.h"

#include <vector>

#include "zdbs/base/names.h"
#include "zdbs/base/status.h"
#include "zdbs/sql/locks.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/shards.h"

namespace zdbs::sql {
namespace {

std::optional<std::int64_t> numberIn(const Rows &rows) {
    if (rows.size() == 0) return std::nullopt;
    return rows.number(0, 0);
}

Statement forChange(std::string_view database, const char *otherwise) {
    return Statement::of(
        "select number from zdbs.collection where name = $1 for update" + std::string(otherwise),
        database);
}

/** What was dropped while somebody held it goes when nobody does. */
void sweepDropped(Connection &connection) {
    const Rows dropped = connection.run("select number from zdbs.dropped");
    for (int row = 0; row < dropped.size(); ++row) {
        const std::int64_t number = dropped.number(row, 0);
        Transaction transaction(connection);
        if (!tryLock(connection, LockSpace::collection, number)) continue;
        connection.run("drop schema if exists " + schemaOf(number) + " cascade");
        try {
            dropOnShards(connection, number);
        } catch (const Failure &) {
            continue;  // next time
        }
        connection.run(Statement::of("delete from zdbs.dropped where number = $1", number));
        transaction.commit();
    }
}

}  // namespace

std::int64_t collectionOf(Connection &connection, std::string_view database,
                          const std::optional<std::string> &user) {
    const std::string text = "select c.number from zdbs.collection c where c.name = $1";
    const Statement statement =
        user ? Statement::of(text +
                                 " and exists (select 1 from zdbs.permission p where p.usr = $2 "
                                 "and p.database in ('*', c.name))",
                             database, std::string_view(*user))
             : Statement::of(text, database);
    const auto number = numberIn(connection.run(statement));
    if (!number) throw Failure(Status::unknownDatabase, {database});
    return *number;
}

void hold(Connection &connection, std::int64_t collection) {
    lockShared(connection, LockSpace::collection, collection);
    enterCollection(connection, collection);
}

void release(Connection &connection, std::int64_t collection) {
    unlockShared(connection, LockSpace::collection, collection);
}

StatePtr takeNewest(Connection &connection, std::int64_t collection, const StatePtr &present,
                    std::optional<std::uint32_t> part) {
    for (;;) {
        const std::int64_t number = connection.run("select number from state").number(0, 0);
        if (present && present->number == number) return present;
        lockShared(connection, LockSpace::state, number);
        Transaction transaction(connection, "isolation level repeatable read read only");
        StatePtr state = readState(connection, collection, part);
        transaction.commit();
        if (state->number == number) return state;
        letGo(connection, number);
    }
}

void holdAgain(Connection &connection, const State &state) {
    hold(connection, state.collection);
    lockShared(connection, LockSpace::state, state.number);
}

void requireRows(Connection &connection, const State &state) {
    const Rows swept = connection.run("select swept from state");
    if (swept.number(0, 0) > state.number)
        throw Failure(Status::databaseLost, {connection.location().name,
                                             "documents are gone that were there when it was "
                                             "opened"});
}

void letGo(Connection &connection, std::int64_t state) {
    unlockShared(connection, LockSpace::state, state);
}

std::int64_t beginChange(Connection &connection, std::string_view database,
                         const WaitingReport &waiting) {
    connection.run("begin");
    try {
        std::optional<std::int64_t> number;
        try {
            number = numberIn(connection.run(forChange(database, " nowait")));
        } catch (const Failure &) {
            if (!connection.failedWith("55P03")) throw;
            connection.run("rollback");
            if (waiting) waiting();
            connection.run("begin");
            number = numberIn(connection.run(forChange(database, "")));
        }
        if (!number) throw Failure(Status::unknownDatabase, {database});
        return *number;
    } catch (...) {
        connection.close();  // which ends the transaction
        throw;
    }
}

void lockChanges(Connection &shard, std::int64_t collection) {
    lock(shard, LockSpace::collection, collection);
}

void createCollection(Connection &connection, std::string_view database) {
    requireValidName(database);
    sweepDropped(connection);
    Transaction transaction(connection);
    const std::int64_t number = connection.run("select nextval('zdbs.numbers')").number(0, 0);
    try {
        connection.run(Statement::of("insert into zdbs.collection (name, number) values ($1, $2)",
                                     database, number));
    } catch (const Failure &) {
        if (!connection.failedWith("23505")) throw;
        throw Failure(Status::databaseExists, {database});
    }
    for (const std::string &each : collectionTables(number))
        connection.run(each);
    if (!createOnShards(connection, number)) {
        for (const std::string &each : nodeTables(number, hasTrigrams(connection)))
            connection.run(each);
    }
    transaction.commit();
}

void dropCollection(Connection &connection, std::string_view database,
                    const WaitingReport &waiting) {
    const std::int64_t number = beginChange(connection, database, waiting);
    connection.run(Statement::of("delete from zdbs.permission where database = $1", database));
    connection.run(Statement::of("delete from zdbs.note where number = $1", number));
    connection.run(Statement::of("insert into zdbs.dropped (number) values ($1)", number));
    connection.run(Statement::of("delete from zdbs.collection where number = $1", number));
    connection.run("commit");
    sweepDropped(connection);
}

}  // namespace zdbs::sql
