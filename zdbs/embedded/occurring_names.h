/** The names at a place of the summary of paths. */
#ifndef ZDBS_EMBEDDED_OCCURRING_NAMES_H
#define ZDBS_EMBEDDED_OCCURRING_NAMES_H

#include <span>
#include <vector>

#include "zdbs/embedded/evaluate/summary_index.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** The summary of a part; all parts have one of the same paths. */
struct SummaryOfPart {
    const PathTable &table;
    const SummaryIndex &index;
};

/** See OpenDatabase::names(). Looks at paths, not at nodes. */
std::vector<OccurringName> occurringNames(std::span<const SummaryOfPart> parts,
                                          const NamePlace &place);

}  // namespace zdbs::embedded

#endif
