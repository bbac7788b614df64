/** The names at a place of the summary of paths. */
#ifndef ZDBS_EMBEDDED_OCCURRING_NAMES_H
#define ZDBS_EMBEDDED_OCCURRING_NAMES_H

#include "zdbs/embedded/evaluate/summary_index.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** See OpenDatabase::names(). Looks at paths, not at nodes. */
std::vector<OccurringName> occurringNames(const PathTable &table, const SummaryIndex &index,
                                          const NamePlace &place);

}  // namespace zdbs::embedded

#endif
