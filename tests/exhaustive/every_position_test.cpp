/**
 * Every position over small forests: each relation with whole, fractional and negative places,
 * in sets of nodes and after a step on each axis from each set of nodes, set 0 included. The
 * second sides of the steps take turns: all of them for the smallest forests, four and then one
 * for each first side of larger ones. So do the positions in forests of more than four nodes.
 */
#include <gtest/gtest.h>

#include "tests/exhaustive/both_sets.h"
#include "tests/exhaustive/family.h"
#include "tests/exhaustive/share.h"

namespace exhaustive {
namespace {

using zdbs::embedded::Direction;
using zdbs::embedded::PositionTest;

/** Manners of keeping that a forest of four nodes gets. */
constexpr std::size_t keepings = 1;

class EveryPosition : public ::testing::TestWithParam<Share> {
protected:
    /** So many second sides a first side. */
    static std::size_t secondSides(int nodes, std::size_t sides) {
        return nodes <= 2 ? sides : nodes == 3 ? 4 : 1;
    }

    std::uint64_t compare(const KeptForest &kept) {
        const MaskForest forest(kept.nodes());
        BothSets both(forest, kept.database());
        for (Mask nodes = 0; nodes <= forest.everyNode(); ++nodes)
            both.plain(nodes);
        const std::size_t sides = forest.everyNode() + 2;  // 0 is set 0
        for (std::size_t set = 0; set < sides; ++set)
            tryAll(both, set);
        const std::size_t seconds = secondSides(static_cast<int>(forest.nodeCount()), sides);
        for (std::size_t axis = 0; axis < axisCount; ++axis) {
            for (std::size_t a = 0; a < sides; ++a) {
                for (std::size_t i = 0; i < seconds; ++i) {
                    const std::size_t b = turn_.next(sides);
                    tryAll(both, both.join(axisAt(axis), a, b, Direction::second));
                    both.truncate(sides);
                }
            }
        }
        EXPECT_EQ(both.fault(), "") << kept.description();
        return both.compared();
    }

private:
    /** All positions, or of the largest forests one in five, in turn. */
    void tryAll(BothSets &both, std::size_t set) {
        const std::vector<PositionTest> &tests = positionTests();
        const bool isLarge = both.nodeCount() > 4;
        for (std::size_t i = 0; i < tests.size(); i += isLarge ? 5 : 1)
            both.select(set, isLarge ? tests[testTurn_.next(tests.size())] : tests[i]);
    }

    Turn turn_{7};
    Turn testTurn_{5};
};

TEST_P(EveryPosition, IsThatOfItsDefinition) {
    std::uint64_t compared = 0;
    forEachForest(GetParam(), keepings, [&](const KeptForest &kept) {
        if (!HasFailure()) compared += compare(kept);
    });
    EXPECT_GE(compared, 4000U);
    std::cout << compared << " sets compared\n";
}

INSTANTIATE_TEST_SUITE_P(ByNode, EveryPosition,
                         ::testing::ValuesIn(sharesOf(Way::byNode, largestForest(5), 2)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(ByPath, EveryPosition,
                         ::testing::ValuesIn(sharesOf(Way::byPath, largestForest(5), 2)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(Stored, EveryPosition,
                         ::testing::ValuesIn(sharesOf(Way::stored, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

}  // namespace
}  // namespace exhaustive
