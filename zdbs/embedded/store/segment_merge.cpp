#include "zdbs/embedded/store/segment_merge.h"

#include <algorithm>
#include <bit>

namespace zdbs::embedded {

namespace {

constexpr std::size_t fanIn = 8;  // segments of a class that are merged
constexpr unsigned bitsOfClass = 3;
constexpr unsigned classCount = 32 / bitsOfClass + 1;

unsigned classOf(std::uint32_t nodes) {
    return static_cast<unsigned>(std::bit_width(nodes) - 1) / bitsOfClass;
}

/** Numbers of nodes and bytes that a group comes to. */
struct Weight {
    std::uint64_t nodes = 0;
    std::uint64_t bytes = 0;

    void add(const Weight &more) {
        nodes += more.nodes;
        bytes += more.bytes;
    }
    bool fits(const SegmentLimits &limits) const {
        return nodes <= limits.nodes && bytes <= limits.valueBytes;
    }
};

Weight loadOf(const StoredSegment &segment) {
    return {segment.record.nodes, segment.record.bytes};
}

bool isHalfFull(const StoredSegment &segment, const SegmentLimits &limits) {
    Weight load = loadOf(segment);
    load.add(load);
    return !load.fits(limits);
}

/** Cuts the segments from `begin` on into groups of one part that fit into a segment. */
template <typename LoadAt>
std::vector<SegmentGroup> groupsThatFit(std::span<const StoredSegment> segments, std::size_t begin,
                                        const SegmentLimits &limits, const LoadAt &loadAt) {
    std::vector<SegmentGroup> groups;
    Weight load;
    for (std::size_t i = begin; i < segments.size(); ++i) {
        load.add(loadAt(i));
        const bool isOfPart =
            !groups.empty() && segments[groups.back().begin].part() == segments[i].part();
        if (!isOfPart || !load.fits(limits)) {
            groups.push_back({i, i});
            load = loadAt(i);
        }
        groups.back().end = i + 1;
    }
    return groups;
}

}  // namespace

// A class is merged when eight of it are at the end; smaller ones between and behind them come
// along. Where these are more than their classes would leave by themselves, that does it too.
std::vector<SegmentGroup> tiersToMerge(std::span<const StoredSegment> segments,
                                       const SegmentLimits &limits) {
    std::size_t begin = segments.size();  // from here on all become one already,
    std::uint32_t mergedNodes = 0;        // of so many nodes
    for (unsigned most = 0; most < classCount; ++most) {
        std::size_t ofClass = mergedNodes > 0 && classOf(mergedNodes) == most ? 1 : 0;
        std::uint32_t nodes = mergedNodes;
        std::size_t first = begin;
        for (; first > 0 && segments[first - 1].part() == segments.back().part() &&
               classOf(segments[first - 1].record.nodes) <= most &&
               !isHalfFull(segments[first - 1], limits);
             --first) {
            nodes += segments[first - 1].record.nodes;
            if (classOf(segments[first - 1].record.nodes) == most) ++ofClass;
        }
        if (ofClass < fanIn && begin - first <= (fanIn - 1) * (most + 1)) continue;
        begin = first;
        mergedNodes = nodes;
    }
    auto groups =
        groupsThatFit(segments, begin, limits, [&](std::size_t i) { return loadOf(segments[i]); });
    std::erase_if(groups, [](const SegmentGroup &group) { return group.end - group.begin < 2; });
    return groups;
}

std::vector<SegmentGroup> groupsToCompact(std::span<const StoredSegment> segments,
                                          std::span<const std::uint32_t> present,
                                          const SegmentLimits &limits) {
    auto groups = groupsThatFit(segments, 0, limits, [&](std::size_t i) {
        const SegmentRecord &record = segments[i].record;
        return Weight{present[i], record.bytes * present[i] / record.nodes};
    });
    std::erase_if(groups, [&](const SegmentGroup &group) {
        const bool isSingle = group.end - group.begin == 1;
        return isSingle && present[group.begin] == segments[group.begin].record.nodes;
    });
    return groups;
}

}  // namespace zdbs::embedded
