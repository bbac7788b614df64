/** Rows that the server keeps for sets that have become too large for a statement. */
#ifndef ZDBS_SQL_KEPT_ROWS_H
#define ZDBS_SQL_KEPT_ROWS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zdbs::sql {

class Connection;

/** What is kept for one session. */
struct KeptForSession {
    std::string server;                     ///< for messages
    std::int64_t session = 0;               ///< its number; 0: nothing is kept yet
    std::vector<std::int64_t> unused = {};  ///< numbers of rows to be deleted
};

/** Rows under a number; whoever lets go of them says that in the list. */
class KeptRows {
public:
    KeptRows(std::int64_t number, std::shared_ptr<KeptForSession> owner)
        : number_(number), session_(owner->session), owner_(std::move(owner)) {}
    ~KeptRows() { owner_->unused.push_back(number_); }
    KeptRows(const KeptRows &) = delete;
    KeptRows &operator=(const KeptRows &) = delete;

    /** Throws Failure(databaseLost) when they were swept after the connection was lost. */
    std::int64_t number() const;

private:
    std::int64_t number_;
    std::int64_t session_;
    std::shared_ptr<KeptForSession> owner_;
};
using KeptRowsPtr = std::shared_ptr<const KeptRows>;

/** Keeps rows for one session, whose lock tells others that it is there. */
class Keeper {
public:
    explicit Keeper(Connection &connection);
    /** Deletes the rows. */
    ~Keeper();
    Keeper(const Keeper &) = delete;
    Keeper &operator=(const Keeper &) = delete;

    /** A number for more rows; those that nobody has any more are deleted. */
    KeptRowsPtr next();

    /** On a new connection. Throws Failure(databaseLost) when others have swept the rows. */
    void goOn();

private:
    void deleteUnused();

    Connection &connection_;
    std::shared_ptr<KeptForSession> owner_;
    std::vector<std::weak_ptr<const KeptRows>> kept_;
};

/** Deletes the rows of sessions that are gone. REQUIRES a session that has kept nothing yet. */
void sweepKeptRows(Connection &connection);

}  // namespace zdbs::sql

#endif
