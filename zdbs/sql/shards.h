/** The servers that the parts of a location's databases are spread over. */
#ifndef ZDBS_SQL_SHARDS_H
#define ZDBS_SQL_SHARDS_H

#include <cstdint>
#include <vector>

#include "zdbs/sql/connection.h"
#include "zdbs/sql/spread.h"

namespace zdbs::sql {

/**
 * What ZDBS_SHARDS says: addresses of databases as those of locations, white space between them.
 * None where it says nothing. Throws Failure(badSetting).
 */
std::vector<Location> shardsFromSetting();

/**
 * Makes databases, if there are any, shards of a location that is being made in a transaction on
 * the connection, which it commits. Throws Failure: homeExists, unsupported.
 */
void makeShards(Connection &connection, const std::vector<Location> &shards,
                Transaction &transaction);

/** Those of a location; none where it is one server. */
std::vector<Shard> shardsOf(Connection &connection);

/** A connection to one of them by itself. @param timeout as a location's */
Location locationOf(const Location &location, const Shard &shard, int timeout);

/**
 * The tables of nodes of a collection, and a part of it on each shard; false where there are none.
 */
bool createOnShards(Connection &connection, std::int64_t collection);
void dropOnShards(Connection &connection, std::int64_t collection);

/** Null where a collection is on one server; REQUIRES that its tables are the connection's. */
SpreadPtr readSpread(Connection &connection, std::int64_t collection);

/** Throws Failure(homeDamaged) unless each of the shards answers once. */
void requireShards(Connection &connection);

/** Names those that do not answer in two seconds, or else have not done with a request. */
std::string silentShards(const Location &location, const Spread &spread,
                         const std::string &request);

}  // namespace zdbs::sql

#endif
