/**
 * Every join there is over small forests: each forest of up to so many nodes, each axis, both
 * directions, each two sets of its nodes, set 0 included on either side. The answers are
 * compared with those by definition.
 */
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "tests/exhaustive/kernel_sets.h"
#include "tests/exhaustive/share.h"

namespace exhaustive {
namespace {

using zdbs::Axis;
using zdbs::ResultSetPtr;
using zdbs::embedded::Direction;
using zdbs::embedded::Step;

/** One side of a join: the kernel's set, null for set 0, and its nodes. */
struct Side {
    ResultSetPtr set;
    Mask nodes;
};

/** Manners of keeping that a forest of four nodes gets. */
constexpr std::size_t keepings = 4;

class EveryJoin : public ::testing::TestWithParam<Share> {
protected:
    /** Compares all joins of one forest; answers how many. Stops at the first that is wrong. */
    std::uint64_t compare(const KeptForest &kept) {
        const MaskForest forest(kept.nodes());
        KernelSets kernel(forest, kept.database());
        std::vector<Side> sides{{nullptr, forest.everyNode()}};
        for (Mask nodes = 0; nodes <= forest.everyNode(); ++nodes)
            sides.push_back({kernel.plain(nodes), nodes});
        std::uint64_t compared = 0;
        for (std::size_t axis = 0; axis < axisCount; ++axis) {
            for (const Side &a : sides) {
                for (const Side &b : sides) {
                    const std::string fault = faultOf(kernel, forest, axisAt(axis), a, b);
                    compared += 2;
                    if (fault.empty()) continue;
                    ADD_FAILURE() << kept.description() << "\n" << fault;
                    return compared;
                }
            }
        }
        return compared;
    }

private:
    static std::string faultOf(KernelSets &kernel, const MaskForest &forest, Axis axis,
                               const Side &a, const Side &b) {
        const Step step = forest.stepTo(axis, b.nodes);
        const Mask first = a.set ? a.nodes : forest.everyContext();
        const Mask kept[] = {forest.keepFirst(step, first, b.nodes) & forest.everyNode(),
                             forest.keepSecond(step, first, b.nodes)};
        for (const Direction direction : {Direction::first, Direction::second}) {
            const Mask expected = kept[direction == Direction::first ? 0 : 1];
            const Mask found = kernel.maskOf(*kernel.join(axis, a.set, b.set, direction));
            if (found == expected) continue;
            return "XPATH(" + std::string(zdbs::nameOf(axis)) + "," + shown(forest, a) + "," +
                   shown(forest, b) + "," + std::to_string(static_cast<int>(direction)) + ") is " +
                   forest.shown(found) + " instead of " + forest.shown(expected);
        }
        return {};
    }

    static std::string shown(const MaskForest &forest, const Side &side) {
        return side.set ? forest.shown(side.nodes) : "0";
    }
};

TEST_P(EveryJoin, IsThatOfItsDefinition) {
    std::uint64_t compared = 0;
    std::uint64_t expected = 0;
    forEachForest(GetParam(), keepings, [&](const KeptForest &kept) {
        if (HasFailure()) return;
        compared += compare(kept);
        const std::uint64_t sides = (1U << GetParam().nodes) + 1U;
        expected += axisCount * 2 * sides * sides;
    });
    EXPECT_EQ(compared, expected);
    EXPECT_GE(compared, 234U);
    std::cout << compared << " joins compared\n";
}

INSTANTIATE_TEST_SUITE_P(ByNode, EveryJoin,
                         ::testing::ValuesIn(sharesOf(Way::byNode, largestForest(5), 2)),
                         [](const auto &share) { return nameOf(share); });

/** Of the forests of six nodes a twelfth, unless VEXA_EXHAUSTIVE_NODES asks for all. */
std::vector<Share> sharesByPath() {
    const int largest = largestForest(6);
    std::vector<Share> shares = sharesOf(Way::byPath, largest, 12);
    if (largest == 6 && std::getenv("VEXA_EXHAUSTIVE_NODES") == nullptr)
        shares.resize(shares.size() - 11);
    return shares;
}

INSTANTIATE_TEST_SUITE_P(ByPath, EveryJoin, ::testing::ValuesIn(sharesByPath()),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(Stored, EveryJoin,
                         ::testing::ValuesIn(sharesOf(Way::stored, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

}  // namespace
}  // namespace exhaustive
