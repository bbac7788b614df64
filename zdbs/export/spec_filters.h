/** Specifications made ready for an engine: paths in predicates become sets. */
#ifndef ZDBS_EXPORT_SPEC_FILTERS_H
#define ZDBS_EXPORT_SPEC_FILTERS_H

#include <span>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/export/spec_plan.h"

namespace zdbs {

/**
 * What the engine is asked for the records of `matches`. Which nodes a path in a predicate leads
 * somewhere from is asked by conditions, of all nodes at once that a step can find; only where
 * a path counts positions on an axis that several nodes can lie on from several contexts, node by
 * node. Throws what evaluate() throws.
 */
std::vector<FragmentSpec> fragmentSpecs(const OpenDatabase &database, const ResultSetPtr &matches,
                                        std::span<const SpecPlan> plans);

}  // namespace zdbs

#endif
