/**
 * Two steps with positions, back up again, and the algebra, over small forests: each two axes,
 * each first set (set 0 included). The other sets of a sequence and its positions take turns.
 * A sequence goes through every rule of what a set remembers: chains that are climbed and
 * chains that are not, the pairs that stay, that are cut, that two sets share.
 */
#include <gtest/gtest.h>

#include "tests/exhaustive/both_sets.h"
#include "tests/exhaustive/family.h"
#include "tests/exhaustive/share.h"

namespace exhaustive {
namespace {

using zdbs::Axis;
using zdbs::embedded::Direction;
using zdbs::embedded::PositionTest;

/** Manners of keeping that a forest of four nodes gets. */
constexpr std::size_t keepings = 1;

class EverySequence : public ::testing::TestWithParam<Share> {
protected:
    std::uint64_t compare(const KeptForest &kept) {
        const MaskForest forest(kept.nodes());
        BothSets both(forest, kept.database());
        for (Mask nodes = 0; nodes <= forest.everyNode(); ++nodes)
            both.plain(nodes);
        sides_ = forest.everyNode() + 2;  // 0 is set 0
        // Of the largest forests each two axes get some of the first sets, in turn.
        const std::size_t firsts = forest.nodeCount() <= 4 ? sides_ : 8;
        for (std::size_t axes = 0; axes < axisCount * axisCount; ++axes) {
            for (std::size_t i = 0; i < firsts; ++i) {
                both.setComparing(i % 2 == 0 ? Comparing::atOnce : Comparing::lastFirst);
                const std::size_t first = firsts == sides_ ? i : firstTurn_.next(sides_);
                run(both, axisAt(axes / axisCount), axisAt(axes % axisCount), first);
                both.truncate(sides_);
            }
        }
        EXPECT_EQ(both.fault(), "") << kept.description();
        return both.compared();
    }

private:
    std::size_t someSet() { return setTurn_.next(sides_); }
    PositionTest someTest() { return positionTests()[testTurn_.next(positionTests().size())]; }

    void run(BothSets &both, Axis one, Axis two, std::size_t a) {
        const std::size_t b = someSet();
        const std::size_t c = someSet();
        const std::size_t d = someSet();
        // Down twice, counted each time.
        const std::size_t step = both.join(one, a, b, Direction::second);
        const std::size_t cut = both.select(step, someTest());
        const std::size_t down = both.join(two, cut, c, Direction::second);
        const std::size_t end = both.select(down, someTest());
        // A predicate: from a stranger the first step is asked for, from a set of the chain the
        // end.
        both.select(both.join(two, d, end, Direction::first), someTest());
        both.select(both.join(one, cut, end, Direction::first), someTest());
        both.join(one, a, both.subtract(down, end), Direction::first);
        // What two sets share, and what they do not.
        both.select(both.intersect(down, step), someTest());
        both.select(both.intersect(d, end), someTest());
        const std::size_t other = both.select(down, someTest());
        const std::size_t both2 = both.unite(end, other);
        both.select(both2, someTest());
        both.join(two, d, both2, Direction::first);
        both.unite(step, down);
        // The same step once more is the same chain.
        const std::size_t again = both.join(one, a, c, Direction::second);
        const std::size_t merged = both.unite(step, again);
        both.select(merged, someTest());
        both.join(two, both.intersect(merged, again), merged, Direction::first);
    }

    std::size_t sides_ = 0;
    Turn setTurn_{5};
    Turn testTurn_{17};
    Turn firstTurn_{11};
};

TEST_P(EverySequence, IsThatOfItsDefinition) {
    std::uint64_t compared = 0;
    forEachForest(GetParam(), keepings, [&](const KeptForest &kept) {
        if (!HasFailure()) compared += compare(kept);
    });
    EXPECT_GE(compared, 8000U);
    std::cout << compared << " sets compared\n";
}

INSTANTIATE_TEST_SUITE_P(ByNode, EverySequence,
                         ::testing::ValuesIn(sharesOf(Way::byNode, largestForest(5), 2)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(ByPath, EverySequence,
                         ::testing::ValuesIn(sharesOf(Way::byPath, largestForest(5), 2)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(Stored, EverySequence,
                         ::testing::ValuesIn(sharesOf(Way::stored, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

}  // namespace
}  // namespace exhaustive
