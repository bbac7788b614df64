/** The names of parts of a database. */
#ifndef ZDBS_BASE_PART_NAME_H
#define ZDBS_BASE_PART_NAME_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zdbs {

/** What a name stands for. */
struct NamedParts {
    std::string database;
    std::optional<std::uint32_t> part;  ///< that one alone; none: all
};

/** The name of a part, "plays.17"; the first one, 0, has none of its own. */
std::string nameOfPart(std::string_view database, std::uint32_t part);

/** What such a name would stand for; nothing for other names. */
std::optional<NamedParts> splitPartName(std::string_view name);

}  // namespace zdbs

#endif
