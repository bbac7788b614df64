#include "zdbs/embedded/positions/position_test.h"

#include <algorithm>
#include <cmath>

namespace zdbs::embedded {
namespace {

/** Far enough out that a length added does not bring it back among the positions. */
constexpr double farthest = 1e12;

std::int64_t bounded(double place) {
    return static_cast<std::int64_t>(std::clamp(place, -farthest, farthest));
}

}  // namespace

SatisfyingPositions::SatisfyingPositions(PositionTest test) : fromEnd_(test.place < 0) {
    if (std::isnan(test.place)) return;
    const std::int64_t up = bounded(std::ceil(test.place));
    const std::int64_t down = bounded(std::floor(test.place));
    switch (test.relation) {
        case Relation::equal:
            first_ = {up, down};
            break;
        case Relation::notEqual:
            first_ = {-far, up - 1};
            second_ = {down + 1, far};
            break;
        case Relation::less:
            first_ = {-far, up - 1};
            break;
        case Relation::lessEqual:
            first_ = {-far, down};
            break;
        case Relation::greater:
            first_ = {down + 1, far};
            break;
        case Relation::greaterEqual:
            first_ = {up, far};
            break;
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;  // positions know comparisons only
    }
}

}  // namespace zdbs::embedded
