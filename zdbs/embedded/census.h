/** What is in a state of a database, counted. */
#ifndef ZDBS_EMBEDDED_CENSUS_H
#define ZDBS_EMBEDDED_CENSUS_H

#include "zdbs/engine/administration.h"

namespace zdbs {

class Snapshot;

/** Looks at paths, not at nodes, but at every column for the sizes. */
DatabaseInfo takeCensus(const Snapshot &snapshot);

}  // namespace zdbs

#endif
