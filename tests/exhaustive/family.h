/**
 * Families of operands that are gone through in turn. Where there are too many combinations
 * of operands to try all, some of them take turns: over the many forests, axes and sets of a
 * test each comes up with each axis many times, and always in the same order.
 */
#ifndef TESTS_EXHAUSTIVE_FAMILY_H
#define TESTS_EXHAUSTIVE_FAMILY_H

#include <cstddef>
#include <vector>

#include "zdbs/embedded/evaluate/set_algebra.h"

namespace exhaustive {

/** Every relation with whole, fractional and negative places, and such as no position has. */
const std::vector<zdbs::embedded::PositionTest> &positionTests();

/** Counts 0, step, 2 step … modulo a limit; a step that is no divisor of it visits all. */
class Turn {
public:
    explicit Turn(std::size_t step) : step_(step) {}

    std::size_t next(std::size_t limit) {
        place_ += step_;
        return place_ % limit;
    }

private:
    std::size_t step_;
    std::size_t place_ = 0;
};

}  // namespace exhaustive

#endif
