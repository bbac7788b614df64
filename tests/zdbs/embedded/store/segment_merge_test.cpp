#include "zdbs/embedded/store/segment_merge.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zdbs::embedded {
namespace {

constexpr SegmentLimits limits{1000, 1000000};

/** Segments with so many nodes each, ten bytes a node. */
std::vector<StoredSegment> segmentsOf(const std::vector<std::uint32_t> &nodes) {
    std::vector<StoredSegment> segments;
    NodeId next = 1;
    for (const std::uint32_t count : nodes) {
        const auto file = static_cast<std::uint32_t>(segments.size());
        segments.push_back({next, {file, next + count - 1, count, 0, count * 10}});
        next += count;
    }
    return segments;
}

std::string text(const std::vector<SegmentGroup> &groups) {
    std::string all;
    for (const SegmentGroup &group : groups)
        all += std::to_string(group.begin) + "-" + std::to_string(group.end) + " ";
    return all;
}

TEST(SegmentMerge, LeavesPartsApart) {
    auto segments = segmentsOf({1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
    for (std::size_t i = 9; i < segments.size(); ++i)
        segments[i].first = recordOf(1, nodeOf(segments[i].first));
    const std::vector<std::uint32_t> present(segments.size(), 1);
    EXPECT_EQ(text(tiersToMerge(segments, limits)), "9-17 ");
    EXPECT_EQ(text(groupsToCompact(segments, present, limits)), "0-9 9-17 ");
}

struct TierCase {
    std::vector<std::uint32_t> nodes;
    const char *groups;
};

TEST(SegmentMerge, OfTiersTakesEightOfAClass) {
    const TierCase cases[] = {
        {{}, ""},
        {{1}, ""},
        {{1, 1, 1, 1, 1, 1, 1}, ""},
        {{1, 1, 1, 1, 1, 1, 1, 1}, "0-8 "},
        {{7, 1, 7, 1, 7, 1, 7, 1, 7}, "0-9 "},
        {{8, 1, 8, 1, 8, 1, 8, 1, 8, 1, 8, 1, 8, 1, 8}, "0-15 "},
        {{8, 1, 1, 1, 1, 1, 1, 1}, ""},
        {{8, 1, 1, 1, 1, 1, 1, 1, 1}, "1-9 "},
        {{8, 8, 8, 8, 8, 8, 8, 1}, ""},
        {{8, 8, 8, 8, 8, 8, 8, 1, 8}, "0-9 "},
        // What is merged counts as one of the next class.
        {{8, 8, 8, 8, 8, 8, 8, 1, 1, 1, 1, 1, 1, 1, 1}, "0-15 "},
        {{8, 8, 8, 8, 8, 8, 1, 1, 1, 1, 1, 1, 1, 1}, "6-14 "},
        // Large ones end it.
        {{1, 1, 1, 1, 600, 1, 1, 1, 1}, ""},
        {{600, 1, 1, 1, 1, 1, 1, 1, 1}, "1-9 "},
        // No segment becomes too large.
        {{400, 400, 400, 400, 400, 400, 400, 400}, "0-2 2-4 4-6 6-8 "},
    };
    for (const TierCase &row : cases)
        EXPECT_EQ(text(tiersToMerge(segmentsOf(row.nodes), limits)), row.groups)
            << ::testing::PrintToString(row.nodes);
}

TEST(SegmentMerge, OfTiersWritesEachNodeAFewTimesOnly) {
    std::vector<std::uint32_t> nodes;
    std::uint64_t written = 0;
    std::size_t most = 0;
    constexpr std::uint32_t commits = 5000;
    for (std::uint32_t commit = 0; commit < commits; ++commit) {
        nodes.push_back(2);
        const auto groups = tiersToMerge(segmentsOf(nodes), {1 << 22, std::size_t{40} << 20});
        for (auto group = groups.rbegin(); group != groups.rend(); ++group) {
            std::uint32_t sum = 0;
            for (std::size_t i = group->begin; i < group->end; ++i)
                sum += nodes[i];
            nodes.resize(group->begin);
            nodes.push_back(sum);
            written += sum;
        }
        most = std::max(most, nodes.size());
    }
    EXPECT_LT(written, std::uint64_t{commits} * 2 * 6);
    EXPECT_LE(most, 7U * 6);
}

struct CompactCase {
    std::vector<std::uint32_t> nodes;
    std::vector<std::uint32_t> present;
    const char *groups;
};

TEST(SegmentMerge, ForACompactionTakesWhatFitsTogetherOrHasRemovedRows) {
    const CompactCase cases[] = {
        {{}, {}, ""},
        {{900}, {900}, ""},
        {{900}, {899}, "0-1 "},
        {{900}, {0}, "0-1 "},
        {{900, 900}, {900, 900}, ""},
        {{900, 900}, {900, 1}, "0-2 "},
        {{900, 900, 100}, {900, 900, 100}, "1-3 "},
        {{1, 1, 1, 900, 900}, {1, 1, 1, 900, 900}, "0-4 "},
        {{1000, 1000, 1000}, {1000, 500, 501}, "1-2 2-3 "},
    };
    for (const CompactCase &row : cases)
        EXPECT_EQ(text(groupsToCompact(segmentsOf(row.nodes), row.present, limits)), row.groups)
            << ::testing::PrintToString(row.nodes);
}

}  // namespace
}  // namespace zdbs::embedded
