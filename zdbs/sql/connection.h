/** A connection to the server: one statement at a time, each with an end. */
#ifndef ZDBS_SQL_CONNECTION_H
#define ZDBS_SQL_CONNECTION_H

#include <libpq-fe.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/sql/location.h"
#include "zdbs/sql/spread.h"
#include "zdbs/sql/statement.h"

namespace zdbs::sql {

/** The rows of an answer. Texts live as long as it does. */
class Rows {
public:
    explicit Rows(PGresult *result) : result_(result, PQclear) {}

    int size() const { return PQntuples(result_.get()); }
    bool isNull(int row, int column) const { return PQgetisnull(result_.get(), row, column) != 0; }
    std::string_view text(int row, int column) const {
        return {PQgetvalue(result_.get(), row, column),
                static_cast<std::size_t>(PQgetlength(result_.get(), row, column))};
    }
    /** 0 of a null. */
    std::int64_t number(int row, int column) const;
    std::uint64_t count(int row, int column) const {
        return static_cast<std::uint64_t>(number(row, column));
    }
    /** Of a statement that changes: how many rows it did. */
    std::int64_t changed() const;
    const PGresult *result() const { return result_.get(); }

private:
    std::unique_ptr<PGresult, decltype(&PQclear)> result_;
};

/**
 * Connects when it is first used, and again after it was lost; `greet` is run on each new
 * connection. A statement that takes longer than the location lets it is cancelled, and two
 * seconds later the connection is closed, whatever the server does. So it is when the thread's stop
 * is requested. One thread at a time.
 *
 * Throws Failure: serverUnreachable, databaseLost, databaseSlow, stopped, diskFull, homeReadOnly,
 * storeFailed.
 */
class Connection {
public:
    using Greeting = std::function<void(Connection &)>;

    explicit Connection(Location location, Greeting greet = {})
        : location_(std::move(location)), greet_(std::move(greet)) {}

    const Location &location() const { return location_; }

    Rows run(const Statement &statement);
    Rows run(const std::string &text) { return run(Statement{text}); }

    /** Where the rows of nodes are that are asked for from now on; null: here. */
    void spreadOver(SpreadPtr spread) { spread_ = std::move(spread); }
    const SpreadPtr &spread() const { return spread_; }

    /**
     * What selects rows of nodes, wherever these are: each shard answers for its own.
     * @param columns with their types, "c int, n bigint"
     */
    Rows ask(const Statement &statement, std::string_view columns);

    /** What changes rows that are kept beside the nodes, wherever these are. */
    void change(const Statement &statement);

    /** Whether the last failure was of this SQLSTATE. */
    bool failedWith(std::string_view state) const { return lastState_ == state; }

    /** Another limit than the location's, in seconds; 0: none. */
    void limit(int seconds) { location_.timeout = seconds; }

    /** Sends rows to a table between begin and end. */
    void beginCopy(const std::string &text);
    void copy(std::string_view rows);
    void endCopy();

    /** A failure ended it; a transaction that was open is not any more. */
    bool isOpen() const { return connection_ && PQstatus(connection_.get()) == CONNECTION_OK; }
    void close() { connection_.reset(); }

private:
    using Clock = std::chrono::steady_clock;

    void connect();
    Rows runOnAll(const Statement &statement, std::string_view columns);
    void send(const Statement &statement);
    Rows await();
    void awaitInput();
    void waitUntil(Clock::time_point end);
    void cancel();
    [[noreturn]] void failSlow();
    [[noreturn]] void fail(const PGresult *result);
    [[noreturn]] void lose();

    Location location_;
    Greeting greet_;
    SpreadPtr spread_;
    std::string request_;  ///< what the last one is called by on the shards
    std::unique_ptr<PGconn, decltype(&PQfinish)> connection_{nullptr, PQfinish};
    std::string lastState_;
};

/** Rolls back unless it was committed. */
class Transaction {
public:
    /** @param mode such as "isolation level repeatable read read only" */
    explicit Transaction(Connection &connection, const std::string &mode = "");
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    Connection &connection_;
    bool isOpen_ = true;
};

}  // namespace zdbs::sql

#endif
