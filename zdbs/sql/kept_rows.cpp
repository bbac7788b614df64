#include "zdbs/sql/kept_rows.h"

#include <algorithm>
#include <exception>

#include "zdbs/base/status.h"
#include "zdbs/sql/locks.h"

namespace zdbs::sql {
namespace {

constexpr const char *gone = "the sets that it kept are gone, find them anew";

std::int64_t newNumber(Connection &connection) {
    return connection.run("select nextval('zdbs.numbers')").number(0, 0);
}

}  // namespace

std::int64_t KeptRows::number() const {
    if (session_ != owner_->session) throw Failure(Status::databaseLost, {owner_->server, gone});
    return number_;
}

Keeper::Keeper(Connection &connection)
    : connection_(connection),
      owner_(std::make_shared<KeptForSession>(KeptForSession{connection.location().name})) {}

KeptRowsPtr Keeper::next() {
    if (owner_->session == 0) {
        const std::int64_t session = newNumber(connection_);
        lockShared(connection_, LockSpace::session, session);
        owner_->session = session;
    }
    deleteUnused();
    const auto rows = std::make_shared<const KeptRows>(newNumber(connection_), owner_);
    connection_.run(Statement::of("insert into kept (number, session) values ($1, $2)",
                                  rows->number(), owner_->session));
    kept_.push_back(rows);
    return rows;
}

void Keeper::goOn() {
    if (owner_->session == 0) return;
    lockShared(connection_, LockSpace::session, owner_->session);
    std::erase_if(kept_, [](const auto &each) { return each.expired(); });
    if (kept_.empty()) return;
    const Rows left = connection_.run(
        Statement::of("select count(*) from kept where session = $1", owner_->session));
    if (left.number(0, 0) > 0) return;
    owner_->session = 0;
    owner_->unused.clear();
    kept_.clear();
    throw Failure(Status::databaseLost, {owner_->server, gone});
}

void Keeper::deleteUnused() {
    for (std::vector<std::int64_t> &unused = owner_->unused; !unused.empty(); unused.pop_back()) {
        connection_.change(Statement::of("delete from setnode where number = $1", unused.back()));
        connection_.run(Statement::of("delete from kept where number = $1", unused.back()));
    }
}

Keeper::~Keeper() {
    try {
        for (const auto &each : kept_) {
            if (const KeptRowsPtr rows = each.lock()) owner_->unused.push_back(rows->number());
        }
        if (connection_.isOpen()) deleteUnused();
    } catch (const std::exception &) {
        // Others sweep what a lost connection leaves.
    }
}

void sweepKeptRows(Connection &connection) {
    const Rows sessions = connection.run("select session from kept group by session");
    for (int row = 0; row < sessions.size(); ++row) {
        const std::int64_t session = sessions.number(row, 0);
        Transaction transaction(connection);
        if (!tryLock(connection, LockSpace::session, session)) continue;
        const Rows kept =
            connection.run(Statement::of("select number from kept where session = $1", session));
        for (int each = 0; each < kept.size(); ++each)
            connection.change(
                Statement::of("delete from setnode where number = $1", kept.number(each, 0)));
        connection.run(Statement::of("delete from kept where session = $1", session));
        transaction.commit();
    }
}

}  // namespace zdbs::sql
