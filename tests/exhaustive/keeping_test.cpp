/** A forest is the same forest in whichever manner it is kept. */
#include "tests/exhaustive/keeping.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/zdbs/embedded/joins/naive_axes.h"
#include "zdbs/embedded/paths/path_table.h"

namespace exhaustive {
namespace {

using zdbs::embedded::NodeTable;
using zdbs::testing::MemoryNodeTable;

/** Every node with all that is known of it. */
std::string told(const NodeTable &table) {
    std::string text;
    for (const zdbs::testing::Point point : zdbs::testing::nodesOf(table)) {
        const zdbs::embedded::NodeId node = point.node;
        text += std::to_string(node) + " in " + std::to_string(point.document) + " kind " +
                std::to_string(static_cast<int>(table.kind(node))) + " below " +
                std::to_string(table.parent(node)) + " to " +
                std::to_string(table.lastBelow(node)) + " " + std::string(table.name(node).local) +
                "=" + std::string(table.value(node)) + "\n";
    }
    return text;
}

TEST(Keeping, StoresTheNodesThatAreInMemory) {
    std::size_t place = 0;
    std::set<std::string> different;
    for (int nodes = 1; nodes <= 3; ++nodes) {
        for (const MemoryNodeTable &forest : zdbs::testing::forestsOf(nodes)) {
            for (int i = 0; i < 12; ++i) {
                place = (place + 37) % everyKeeping().size();
                const Keeping &keeping = everyKeeping()[place];
                const KeptForest inMemory(forest, keeping, Way::byPath);
                const KeptForest stored(forest, keeping, Way::stored);
                ASSERT_EQ(told(stored.nodes()), told(inMemory.nodes())) << nameOf(keeping);
                ASSERT_NE(inMemory.nodes().paths(), nullptr);
                ASSERT_NE(stored.nodes().paths(), nullptr);
                different.insert(told(stored.nodes()));
            }
        }
    }
    EXPECT_GE(different.size(), 80U);
}

TEST(Keeping, HasIrregularPathsAndRunsAndRemovedRowsAmongItsManners) {
    const auto forests = zdbs::testing::forestsOf(3);
    std::size_t irregular = 0;
    std::size_t inRuns = 0;
    std::size_t removed = 0;
    for (const Keeping &keeping : everyKeeping()) {
        for (const MemoryNodeTable &forest : forests) {
            const KeptForest kept(forest, keeping, Way::byPath);
            const zdbs::embedded::PathTable &table = *kept.nodes().paths();
            irregular += table.summary().irregular().empty() ? 0 : 1;
            for (zdbs::embedded::PathId path = 0; path < table.summary().size(); ++path) {
                inRuns += table.runs(path).size() > 1 ? 1 : 0;
                removed += table.liveRows(path)->cardinality() < table.rowCount(path) ? 1 : 0;
            }
        }
    }
    EXPECT_GT(irregular, 100U);
    EXPECT_GT(inRuns, 100U);
    EXPECT_GT(removed, 100U);
}

}  // namespace
}  // namespace exhaustive
