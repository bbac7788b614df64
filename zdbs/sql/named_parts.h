/** Names of databases, and of parts of them. */
#ifndef ZDBS_SQL_NAMED_PARTS_H
#define ZDBS_SQL_NAMED_PARTS_H

#include <optional>
#include <string>
#include <string_view>

#include "zdbs/sql/connection.h"

namespace zdbs::sql {

/** What a name stands for. */
struct NamedParts {
    std::string database;
    std::optional<int> part;  ///< that one alone; none: all
};

/** The name of a part; the first one, 0, has none of its own. */
std::string nameOfPart(std::string_view database, int part);

bool isDatabase(Connection &connection, std::string_view name);

/**
 * A database, or the part "plays.17" of the database "plays": where no database has that name, and
 * where there is such a part. Nothing where it is neither.
 */
std::optional<NamedParts> partsNamed(Connection &connection, std::string_view name);

}  // namespace zdbs::sql

#endif
