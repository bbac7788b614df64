/** One state of a database, and whose turn it is to use it. */
#ifndef PYTHON_DATABASE_STATE_H
#define PYTHON_DATABASE_STATE_H

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "zdbs/answers/request_desk.h"
#include "zdbs/xpath/collection.h"
#include "zdbs/xpath/grammar.h"
#include "zdbs/xpath/values.h"

namespace zdbs::python {

/** Where a database is, and who asks. */
struct Place {
    std::string database;
    std::string home;                      ///< empty: what is configured
    std::optional<std::string> user = {};  ///< none: the owner of the home
    std::string password = {};

    /** The newest state. Throws Failure: homeMissing, loginFailed, unknownDatabase. */
    std::unique_ptr<OpenDatabase> open() const;
};

/** Waits for a turn, and heeds the stop of its thread meanwhile. */
class Turn {
public:
    explicit Turn(std::timed_mutex &mutex);

private:
    std::unique_lock<std::timed_mutex> lock_;
};

/**
 * One state of a database. Any thread may use it, one at a time: whoever holds turn(), which all
 * operations but that one require. Sets that it answers are of this state. Throws Failures.
 */
class DatabaseState {
public:
    explicit DatabaseState(std::unique_ptr<OpenDatabase> database)
        : session_(Session::ofOwner(std::move(database))), desk_(*session_) {}

    Turn turn() { return Turn(mutex_); }

    const OpenDatabase &database() const { return desk_.database(); }

    /** For whoever computes with its nodes; made when it is asked for. */
    const xpath::Collection &collection();

    /** The answer of a request or a FIND command. */
    ResultSetPtr find(const std::string &request);

    /** The value of an expression of XPath 1.0, one for the whole database. */
    xpath::Value evaluate(const std::string &expression, const xpath::Surroundings &surroundings);

private:
    std::timed_mutex mutex_;
    std::unique_ptr<Session> session_;
    RequestDesk desk_;
    std::optional<xpath::Collection> collection_;
};

using DatabaseStatePtr = std::shared_ptr<DatabaseState>;

}  // namespace zdbs::python

#endif
