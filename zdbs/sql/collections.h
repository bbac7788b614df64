/** The collections of a location: which there are, who holds them, how they come and go. */
#ifndef ZDBS_SQL_COLLECTIONS_H
#define ZDBS_SQL_COLLECTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {

/** Throws Failure(unknownDatabase), also where the user may not read it. */
std::int64_t collectionOf(Connection &connection, std::string_view database,
                          const std::optional<std::string> &user);

/** While a connection holds a collection, its tables stay, whoever drops it, and are those that
 * are meant by their names. */
void hold(Connection &connection, std::int64_t collection);
void release(Connection &connection, std::int64_t collection);

/**
 * Takes up the newest state of a collection that is held, unless the present one is it. As long as
 * the connection holds a state, its rows stay. @param part as of readState()
 */
StatePtr takeNewest(Connection &connection, std::int64_t collection, const StatePtr &present,
                    std::optional<std::uint32_t> part = std::nullopt);
void letGo(Connection &connection, std::int64_t state);

/** A new connection holds what the last one held. */
void holdAgain(Connection &connection, const State &state);
/** Throws Failure(databaseLost) when rows of it have gone before it was held again. */
void requireRows(Connection &connection, const State &state);

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
