/** Loads documents into a collection. */
#ifndef ZDBS_SQL_SQL_LOAD_H
#define ZDBS_SQL_SQL_LOAD_H

#include <memory>
#include <string_view>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/location.h"

namespace zdbs::sql {

/** Throws Failure(unknownDatabase). */
std::unique_ptr<Load> beginLoad(const Location &location, std::string_view database,
                                const WaitingReport &waiting);

}  // namespace zdbs::sql

#endif
