/** Stretches of a value that a searched text takes. */
#ifndef ZDBS_BASE_HITS_H
#define ZDBS_BASE_HITS_H

#include <cstddef>

namespace zdbs {

/** A stretch of a node's value, in bytes of UTF-8. */
struct HitRange {
    std::size_t offset;
    std::size_t length;
};

}  // namespace zdbs

#endif
