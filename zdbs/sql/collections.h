/** The collections of a location: which there are, who holds them, how they come and go. */
#ifndef ZDBS_SQL_COLLECTIONS_H
#define ZDBS_SQL_COLLECTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/connection.h"

namespace zdbs::sql {

/** Throws Failure(unknownDatabase), also where the user may not read it. */
std::int64_t collectionOf(Connection &connection, std::string_view database,
                          const std::optional<std::string> &user);

/** While a connection holds a collection, its tables stay, whoever drops it. */
void hold(Connection &connection, std::int64_t collection);
void release(Connection &connection, std::int64_t collection);

/**
 * The right to change a collection, until the end of the transaction. `waiting` is called once
 * where somebody else has it. REQUIRES no transaction, and begins one. Throws
 * Failure(unknownDatabase).
 */
std::int64_t beginChange(Connection &connection, std::string_view database,
                         const WaitingReport &waiting);

/** The same on a shard, where whoever had it may not have ended yet. REQUIRES a transaction. */
void lockChanges(Connection &shard, std::int64_t collection);

/** Throws Failure: badName, databaseExists. */
void createCollection(Connection &connection, std::string_view database);

void dropCollection(Connection &connection, std::string_view database,
                    const WaitingReport &waiting);

}  // namespace zdbs::sql

#endif
