/** Users and databases of a location on a server, for whoever owns it. */
#ifndef ZDBS_SQL_SQL_ADMINISTRATION_H
#define ZDBS_SQL_SQL_ADMINISTRATION_H

#include <memory>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/location.h"

namespace zdbs::sql {

/** Throws Failure: homeMissing, homeVersion, serverUnreachable. */
std::unique_ptr<Administration> makeSqlAdministration(Location location);

}  // namespace zdbs::sql

#endif
