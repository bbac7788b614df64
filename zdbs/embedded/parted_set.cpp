#include <numeric>

#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/part_work.h"

namespace zdbs::embedded {

std::int64_t PartedSet::sum(std::optional<std::int64_t> &known, Count count) const {
    if (known) return *known;
    std::vector<std::int64_t> counts(parts_.size());
    forEachPart(parts_.size(), [&](std::size_t part) { counts[part] = (*parts_[part].*count)(); });
    known = std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
    return *known;
}

}  // namespace zdbs::embedded
