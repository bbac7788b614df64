/** Names of databases, and of parts of them. */
#ifndef ZDBS_SQL_NAMED_PARTS_H
#define ZDBS_SQL_NAMED_PARTS_H

#include <optional>
#include <string>
#include <string_view>

#include "zdbs/base/part_name.h"
#include "zdbs/sql/connection.h"

namespace zdbs::sql {

bool isDatabase(Connection &connection, std::string_view name);

/**
 * A database, or the part "plays.17" of the database "plays": where no database has that name, and
 * where there is such a part. Nothing where it is neither.
 */
std::optional<NamedParts> partsNamed(Connection &connection, std::string_view name);

}  // namespace zdbs::sql

#endif
