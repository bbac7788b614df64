/** Conditions on positions. */
#ifndef ZDBS_EMBEDDED_POSITIONS_POSITION_TEST_H
#define ZDBS_EMBEDDED_POSITIONS_POSITION_TEST_H

#include <array>
#include <cstdint>

#include "zdbs/base/relation.h"

namespace zdbs::embedded {

/** `position op place`; a negative place counts from the end, -1 is the last. */
struct PositionTest {
    Relation relation;
    double place;
};

/** Positions `first` … `last`, from 1; none when first > last. */
struct Positions {
    std::uint64_t first = 1;
    std::uint64_t last = 0;
};

/** The positions that satisfy a test, for one list after another of any length. */
class SatisfyingPositions {
public:
    explicit SatisfyingPositions(PositionTest test);

    /** The positions among `length`, ascending: one range, or two. */
    std::array<Positions, 2> of(std::uint64_t length) const {
        const std::int64_t end = static_cast<std::int64_t>(length) + 1;
        const std::int64_t shift = fromEnd_ ? end : 0;
        const auto bounded = [end](std::int64_t first, std::int64_t last) -> Positions {
            if (first < 1) first = 1;
            if (last >= end) last = end - 1;
            if (first > last) return {};
            return {static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(last)};
        };
        return {bounded(first_.first + shift, first_.last + shift),
                bounded(second_.first + shift, second_.last + shift)};
    }

    /** Whether a position among `length` is one of them. */
    bool hold(std::uint64_t position, std::uint64_t length) const {
        const auto [first, second] = of(length);
        return (first.first <= position && position <= first.last) ||
               (second.first <= position && position <= second.last);
    }

    /** The position that is the only one of any length, counted from the end when negative; or 0.
     */
    std::int64_t only() const {
        const bool isOne = first_.first == first_.last && second_.first > second_.last;
        if (!isOne || (first_.first > 0) == fromEnd_) return 0;
        return first_.first;
    }

private:
    struct Bounds {
        std::int64_t first;
        std::int64_t last;
    };

    static constexpr std::int64_t far = std::int64_t{1} << 40;  ///< beyond all lengths

    bool fromEnd_;
    Bounds first_{far, -far};
    Bounds second_{far, -far};
};

}  // namespace zdbs::embedded

#endif
