#include "zdbs/sql/locks.h"

namespace zdbs::sql {
namespace {

Rows call(Connection &connection, const std::string &function, LockSpace space,
          std::int64_t number) {
    return connection.run("select " + function + "(" + std::to_string(static_cast<int>(space)) +
                          ", " + std::to_string(lockNumber(number)) + ")");
}

}  // namespace

void lockShared(Connection &connection, LockSpace space, std::int64_t number) {
    call(connection, "pg_advisory_lock_shared", space, number);
}

void unlockShared(Connection &connection, LockSpace space, std::int64_t number) {
    call(connection, "pg_advisory_unlock_shared", space, number);
}

void lock(Connection &connection, LockSpace space, std::int64_t number) {
    call(connection, "pg_advisory_xact_lock", space, number);
}

bool tryLock(Connection &connection, LockSpace space, std::int64_t number) {
    return call(connection, "pg_try_advisory_xact_lock", space, number).text(0, 0) == "t";
}

}  // namespace zdbs::sql
