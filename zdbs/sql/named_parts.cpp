#include "zdbs/sql/named_parts.h"

#include "zdbs/base/names.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/schema.h"

namespace zdbs::sql {
bool isDatabase(Connection &connection, std::string_view name) {
    return isValidName(name) &&
           connection
                   .run(Statement::of("select count(*) from zdbs.collection where name = $1", name))
                   .number(0, 0) > 0;
}

std::optional<NamedParts> partsNamed(Connection &connection, std::string_view name) {
    if (isDatabase(connection, name)) return NamedParts{std::string(name), std::nullopt};
    auto split = splitPartName(name);
    if (!split || !isDatabase(connection, split->database)) return std::nullopt;
    const std::int64_t collection = collectionOf(connection, split->database, std::nullopt);
    const Rows found = connection.run(
        Statement::of("select count(*) from " + schemaOf(collection) + ".part where part = $1",
                      std::int64_t{*split->part}));
    if (found.number(0, 0) == 0) return std::nullopt;
    return split;
}

}  // namespace zdbs::sql
