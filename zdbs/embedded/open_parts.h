/** Opening a database of a home, or one part of it, by name. */
#ifndef ZDBS_EMBEDDED_OPEN_PARTS_H
#define ZDBS_EMBEDDED_OPEN_PARTS_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/base/part_name.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/tree/node_id.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/**
 * A database, or the part "plays.17" of the database "plays", which by itself is a database of
 * the documents of that part: where no database has that name, and where there is such a part.
 * The first part, 0, has no name of its own. Nothing where it is neither.
 */
std::optional<NamedParts> partsNamed(const Home &home, std::string_view name);

/** Throws Failure(unknownDatabase) where it may not be read. */
using ReadRequirement = std::function<void(std::string_view database)>;

/**
 * @param requireReadable asked before each state that is taken up; may be empty
 * Throws Failure: unknownDatabase.
 */
std::unique_ptr<OpenDatabase> openParts(std::shared_ptr<const Home> home, const std::string &name,
                                        ReadRequirement requireReadable);

}  // namespace zdbs::embedded

#endif
