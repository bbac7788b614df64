/** Places in node values where a searched text stands; what highlighting marks. */
#ifndef ZDBS_EMBEDDED_TREE_HIT_RANGES_H
#define ZDBS_EMBEDDED_TREE_HIT_RANGES_H

#include <vector>

#include "zdbs/base/hits.h"
#include "zdbs/embedded/tree/node_id.h"

namespace zdbs::embedded {

/** Answers where the value conditions of one request hit. */
class HitRanges {
public:
    virtual ~HitRanges() = default;

    /** The hits in the value of `node`: ascending, not overlapping, not empty. */
    virtual std::vector<HitRange> find(NodeId node) const = 0;

    /**
     * The first node from `from` on that may have hits, noMoreNodes when there is none. Where
     * that is not known: `from`.
     */
    virtual NodeId next(NodeId from) const { return from; }
};

}  // namespace zdbs::embedded

#endif
