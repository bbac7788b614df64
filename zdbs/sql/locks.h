/** How sessions tell each other what they need: shared locks, which end with the connection. */
#ifndef ZDBS_SQL_LOCKS_H
#define ZDBS_SQL_LOCKS_H

#include <cstdint>

#include "zdbs/sql/connection.h"

namespace zdbs::sql {

/** What is locked; the numbers tell our locks from those of others. */
enum class LockSpace : std::int32_t {
    collection = 2053399411,  ///< its tables stay
    state = 2053399412,       ///< rows stay that it needs
    session = 2053399413,     ///< rows stay that are kept for it
};

/** Of a number the server knows so many bits. */
constexpr std::int64_t lockNumber(std::int64_t number) {
    return number & 0x7FFFFFFF;
}

/** Each lock is counted, and lasts until it was unlocked as often or the connection ends. */
void lockShared(Connection &connection, LockSpace space, std::int64_t number);
void unlockShared(Connection &connection, LockSpace space, std::int64_t number);

/** For nobody else until the end of the transaction: waits for that, or tells whether it is so. */
void lock(Connection &connection, LockSpace space, std::int64_t number);
bool tryLock(Connection &connection, LockSpace space, std::int64_t number);

}  // namespace zdbs::sql

#endif
