/** How large the parts of databases grow. */
#ifndef ZDBS_BASE_PART_SIZE_H
#define ZDBS_BASE_PART_SIZE_H

#include <cstdint>

namespace zdbs {

/**
 * When a part is full, in nodes: what ZDBS_PART_NODES says, else `otherwise`. Smaller parts let
 * more cores or servers answer a request. Throws Failure(badSetting) for what is not between 1 and
 * 2^31-1.
 */
std::uint32_t nodesOfPart(std::uint32_t otherwise);

}  // namespace zdbs

#endif
