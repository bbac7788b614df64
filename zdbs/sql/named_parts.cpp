#include "zdbs/sql/named_parts.h"

#include <charconv>

#include "zdbs/base/names.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/schema.h"

namespace zdbs::sql {
namespace {

std::optional<NamedParts> splitName(std::string_view name) {
    const std::size_t point = name.rfind('.');
    if (point == std::string_view::npos || point + 1 == name.size()) return std::nullopt;
    const std::string_view digits = name.substr(point + 1);
    int part = 0;
    const auto read = std::from_chars(digits.begin(), digits.end(), part);
    const bool isNumber = read.ec == std::errc() && read.ptr == digits.end();
    if (!isNumber || digits.front() < '1' || digits.front() > '9') return std::nullopt;
    return NamedParts{std::string(name.substr(0, point)), part};
}

}  // namespace

std::string nameOfPart(std::string_view database, int part) {
    return std::string(database) + "." + std::to_string(part);
}

bool isDatabase(Connection &connection, std::string_view name) {
    return isValidName(name) &&
           connection
                   .run(Statement::of("select count(*) from zdbs.collection where name = $1", name))
                   .number(0, 0) > 0;
}

std::optional<NamedParts> partsNamed(Connection &connection, std::string_view name) {
    if (isDatabase(connection, name)) return NamedParts{std::string(name), std::nullopt};
    auto split = splitName(name);
    if (!split || !isDatabase(connection, split->database)) return std::nullopt;
    const std::int64_t collection = collectionOf(connection, split->database, std::nullopt);
    const Rows found = connection.run(
        Statement::of("select count(*) from " + schemaOf(collection) + ".part where part = $1",
                      std::int64_t{*split->part}));
    if (found.number(0, 0) == 0) return std::nullopt;
    return split;
}

}  // namespace zdbs::sql
