/** Where the value conditions behind sets hit. */
#ifndef ZDBS_EMBEDDED_EVALUATE_SET_HITS_H
#define ZDBS_EMBEDDED_EVALUATE_SET_HITS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/tree/hit_ranges.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/**
 * The stretches of a node's value that the conditions hit which it satisfied:
 * ascending, overlapping ones made one.
 */
std::vector<HitRange> hitsIn(const NodeTable &table, const std::vector<ValueLeafPtr> &leaves,
                             NodeId node);

/** The hit words of a record of a set; one without text when no value was searched. */
std::vector<HitWord> hitWordsOf(const NodeTable &table, const NodeSet &set, NodeId node);

/** Number of the hit words of all records. */
std::int64_t hitCountOf(const NodeTable &table, const NodeSet &set);

/** Hits of value conditions, for highlighting. */
std::unique_ptr<HitRanges> makeHitRanges(std::shared_ptr<const NodeTable> table,
                                         std::vector<ValueLeafPtr> leaves);

}  // namespace zdbs::embedded

#endif
