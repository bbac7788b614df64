/** What is in a state of a database, counted. */
#ifndef ZDBS_EMBEDDED_CENSUS_H
#define ZDBS_EMBEDDED_CENSUS_H

#include "zdbs/engine/administration.h"

namespace zdbs::embedded {

class Snapshot;

/** Looks at paths, not at nodes, but at every column for the sizes. */
DatabaseInfo takeCensus(const Snapshot &snapshot);

/** Without paths that no node is left of. */
std::vector<PathCount> countPaths(const Snapshot &snapshot);

}  // namespace zdbs::embedded

#endif
