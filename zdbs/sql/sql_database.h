/** A database as a session sees it. */
#ifndef ZDBS_SQL_SQL_DATABASE_H
#define ZDBS_SQL_SQL_DATABASE_H

#include <memory>
#include <optional>
#include <string>

#include "zdbs/engine/engine.h"
#include "zdbs/sql/location.h"

namespace zdbs::sql {

/**
 * With a connection of its own, on which it holds the collection, so that nobody sweeps it.
 * @param user whose permissions are looked at with each state; none for the owner
 * Throws Failure(unknownDatabase).
 */
std::unique_ptr<OpenDatabase> openDatabase(const Location &location,
                                           std::optional<std::string> user, std::string name);

}  // namespace zdbs::sql

#endif
