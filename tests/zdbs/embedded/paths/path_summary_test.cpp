#include "zdbs/embedded/paths/path_summary.h"

#include <gtest/gtest.h>

namespace zdbs::embedded {
namespace {

using Paths = std::vector<PathId>;

Paths listOf(std::span<const PathId> paths) {
    return {paths.begin(), paths.end()};
}

/** /a, /a/b, irregular elements, /a/b/c, /d, /a/e */
PathSummary someSummary() {
    PathSummary summary;
    const NodeKind element = NodeKind::element;
    summary.add({noPath, element, 0, 1, true});
    summary.add({0, element, 1, 2, true});
    summary.add({noPath, element, noName, 0, false});
    summary.add({1, element, 2, 3, true});
    summary.add({noPath, element, 3, 1, true});
    summary.add({0, element, 4, 2, true});
    return summary;
}

TEST(PathSummaries, KnowWhatIsAtTheTopBelowAPathAndIrregular) {
    const PathSummary summary = someSummary();
    EXPECT_EQ(summary.size(), 6U);
    EXPECT_EQ(listOf(summary.top()), (Paths{0, 4}));
    EXPECT_EQ(listOf(summary.children(0)), (Paths{1, 5}));
    EXPECT_EQ(listOf(summary.children(1)), (Paths{3}));
    EXPECT_EQ(listOf(summary.children(4)), (Paths{}));
    EXPECT_EQ(listOf(summary.irregular()), (Paths{2}));
}

TEST(PathSummaries, KnowWhichPathIsBelowWhich) {
    const PathSummary summary = someSummary();
    const std::vector<std::pair<PathId, PathId>> below{{1, 0}, {3, 0}, {3, 1}, {5, 0}};
    for (PathId low : {0U, 1U, 3U, 4U, 5U}) {
        for (PathId high : {0U, 1U, 3U, 4U, 5U}) {
            const bool expected =
                std::find(below.begin(), below.end(), std::pair(low, high)) != below.end();
            EXPECT_EQ(summary.isBelow(low, high), expected) << low << " below " << high;
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
