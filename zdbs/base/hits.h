/** Places in node values where a searched text stands; what highlighting marks. */
#ifndef ZDBS_BASE_HITS_H
#define ZDBS_BASE_HITS_H

#include <cstddef>
#include <vector>

#include "zdbs/base/node.h"

namespace zdbs {

/** A stretch of a node's value, in bytes of UTF-8. */
struct HitRange {
    std::size_t offset;
    std::size_t length;
};

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

}  // namespace zdbs

#endif
