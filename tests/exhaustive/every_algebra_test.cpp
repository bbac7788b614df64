/** Each two sets of nodes of small forests, set 0 included: what both have, either, only one. */
#include <gtest/gtest.h>

#include "tests/exhaustive/both_sets.h"
#include "tests/exhaustive/share.h"

namespace exhaustive {
namespace {

std::uint64_t compare(const KeptForest &kept) {
    const MaskForest forest(kept.nodes());
    BothSets both(forest, kept.database());
    for (Mask nodes = 0; nodes <= forest.everyNode(); ++nodes)
        both.plain(nodes);
    const std::size_t sides = forest.everyNode() + 2;  // 0 is set 0
    for (std::size_t a = 0; a < sides; ++a) {
        for (std::size_t b = 0; b < sides; ++b) {
            both.intersect(a, b);
            both.subtract(a, b);
            both.unite(a, b);
            both.truncate(sides);
        }
    }
    EXPECT_EQ(both.fault(), "") << kept.description();
    return both.compared();
}

/** Manners of keeping that a forest of four nodes gets. */
constexpr std::size_t keepings = 1;

class EveryAlgebra : public ::testing::TestWithParam<Share> {};

TEST_P(EveryAlgebra, IsThatOfItsDefinition) {
    std::uint64_t compared = 0;
    forEachForest(GetParam(), keepings, [&](const KeptForest &kept) {
        if (!HasFailure()) compared += compare(kept);
    });
    EXPECT_GE(compared, 27U);
    std::cout << compared << " sets compared\n";
}

INSTANTIATE_TEST_SUITE_P(ByNode, EveryAlgebra,
                         ::testing::ValuesIn(sharesOf(Way::byNode, largestForest(5), 1)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(ByPath, EveryAlgebra,
                         ::testing::ValuesIn(sharesOf(Way::byPath, largestForest(5), 1)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(Stored, EveryAlgebra,
                         ::testing::ValuesIn(sharesOf(Way::stored, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

}  // namespace
}  // namespace exhaustive
