/** The forests are all there are, and the quick definitions are the written-out ones. */
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/exhaustive/family.h"
#include "tests/exhaustive/mask_sets.h"
#include "tests/zdbs/embedded/evaluate/naive_sets.h"

namespace exhaustive {
namespace {

using zdbs::Axis;
using zdbs::embedded::Direction;
using zdbs::embedded::NodeIds;
using zdbs::embedded::PositionTest;
using zdbs::testing::MemoryNodeTable;
using zdbs::testing::NaiveSets;

/** How many there are of a size, from how many there are of smaller ones. */
class ForestCount {
public:
    /** Documents, one after another, each with something in it. */
    static std::size_t forests(int nodes) {
        if (nodes == 0) return 1;
        std::size_t count = 0;
        for (int first = 1; first <= nodes; ++first)
            count += children(first) * forests(nodes - first);
        return count;
    }

private:
    /** Elements side by side, with what is below them. */
    static std::size_t children(int nodes) {
        if (nodes == 0) return 1;
        std::size_t count = 0;
        for (int first = 1; first <= nodes; ++first)
            count += elements(first) * children(nodes - first);
        return count;
    }

    /** An element with any number of attributes and with children. */
    static std::size_t elements(int nodes) {
        std::size_t count = 0;
        for (int attributes = 0; attributes < nodes; ++attributes)
            count += children(nodes - 1 - attributes);
        return count;
    }
};

TEST(Forests, AreAllThereAre) {
    for (int nodes = 1; nodes <= 6; ++nodes) {
        std::set<std::string> shapes;
        for (const MemoryNodeTable &forest : zdbs::testing::forestsOf(nodes)) {
            EXPECT_EQ(zdbs::testing::nodesOf(forest).size(), static_cast<std::size_t>(nodes));
            shapes.insert(zdbs::testing::shapeOf(forest));
        }
        EXPECT_EQ(shapes.size(), ForestCount::forests(nodes)) << nodes;
    }
    EXPECT_EQ(ForestCount::forests(6), 1558U);
}

/** The same random operations on written-out sets and on masks. */
class TwoDefinitions {
public:
    TwoDefinitions(const MemoryNodeTable &table, unsigned seed)
        : table_(table), forest_(table), naive_(table), masks_(forest_), random_(seed) {}

    void run(int operations) {
        for (Axis &axis : axes_)
            axis = axisAt(below(axisCount));
        for (int i = 0; i < 4; ++i)
            addPlain(static_cast<Mask>(random_()) & forest_.everyNode());
        addPlain(forest_.attributes());
        for (int i = 0; i < operations; ++i) {
            operate();
            const std::size_t last = masks_.size() - 1;
            ASSERT_EQ(nodesOf(masks_.nodes(last)), naive_.nodes(last))
                << zdbs::testing::shapeOf(table_) << ", operation " << i;
        }
    }

private:
    std::size_t below(std::size_t end) { return random_() % end; }

    /** Later sets more often, so that operations build on each other. */
    std::size_t someSet() {
        const std::size_t size = masks_.size();
        return below(2) == 0 ? size - 1 - below(std::min<std::size_t>(size, 4)) : below(size);
    }

    NodeIds nodesOf(Mask mask) const {
        NodeIds nodes;
        for (std::size_t place = 0; place < forest_.nodeCount(); ++place) {
            if ((mask >> place & 1U) != 0) nodes.push_back(forest_.nodeAt(place));
        }
        return nodes;
    }

    void addPlain(Mask mask) {
        masks_.plain(mask);
        naive_.plain(nodesOf(mask));
    }

    void operate() {
        const std::size_t a = someSet();
        const std::size_t b = someSet();
        const Axis axis = axes_[below(3)];
        const PositionTest test = positionTests()[below(positionTests().size())];
        const Direction direction = below(2) == 0 ? Direction::first : Direction::second;
        switch (below(8)) {
            case 0:
                EXPECT_EQ(masks_.intersect(a, b), naive_.intersect(a, b));
                break;
            case 1:
                EXPECT_EQ(masks_.subtract(a, b), naive_.subtract(a, b));
                break;
            case 2:
                EXPECT_EQ(masks_.unite(a, b), naive_.unite(a, b));
                break;
            case 3:
            case 4:
                EXPECT_EQ(masks_.select(a, test), naive_.select(a, test));
                break;
            default:
                EXPECT_EQ(masks_.join(axis, a, b, direction), naive_.join(axis, a, b, direction));
        }
    }

    const MemoryNodeTable &table_;
    MaskForest forest_;
    NaiveSets naive_;
    MaskSets masks_;
    std::mt19937 random_;
    std::array<Axis, 3> axes_{};  ///< few, so that steps repeat
};

TEST(QuickDefinitions, AreTheWrittenOutOnesOnEverySmallForest) {
    unsigned seed = 0;
    for (int nodes = 1; nodes <= 5; ++nodes) {
        for (const MemoryNodeTable &forest : zdbs::testing::forestsOf(nodes)) {
            for (int round = 0; round < 4; ++round) {
                TwoDefinitions(forest, ++seed).run(30);
                if (HasFatalFailure()) FAIL() << "seed " << seed;
            }
        }
    }
}

TEST(QuickDefinitions, AreTheWrittenOutOnesOnNodesOfAllKinds) {
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        const MemoryNodeTable table = zdbs::testing::randomTable(seed, 14);
        TwoDefinitions(table, seed).run(30);
        if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
}

}  // namespace
}  // namespace exhaustive
