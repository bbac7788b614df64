/** What is in a state of a database, counted. */
#ifndef ZDBS_EMBEDDED_CENSUS_H
#define ZDBS_EMBEDDED_CENSUS_H

#include "zdbs/engine/administration.h"

namespace zdbs::embedded {

class CommittedState;

/** Looks at paths, not at nodes, but at every column for the sizes. */
DatabaseInfo takeCensus(const CommittedState &state);

/** Without paths that no node is left of. */
std::vector<PathCount> countPaths(const CommittedState &state);

}  // namespace zdbs::embedded

#endif
