/** Which segments of a database are to be written anew as one, and their rows. */
#ifndef ZDBS_EMBEDDED_STORE_SEGMENT_MERGE_H
#define ZDBS_EMBEDDED_STORE_SEGMENT_MERGE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment_rows.h"

namespace zdbs::embedded {

/** Neighbours: the places `begin` … `end` - 1 of a list of segments. */
struct SegmentGroup {
    std::size_t begin;
    std::size_t end;
};

/**
 * After a commit: when the end of the list has eight segments of one class, they become one,
 * with the smaller ones among them. The class of a segment is the logarithm of its number of
 * nodes to the base of eight; so a node is written again about once a class, and there are
 * about seven segments of each (a log-structured merge: O'Neil and others, "The
 * log-structured merge-tree", 1996). What is half full stays as it is, and
 * so do the segments of all parts but the last.
 */
std::vector<SegmentGroup> tiersToMerge(std::span<const StoredSegment> segments,
                                       const SegmentLimits &limits);

/**
 * For a compaction: neighbours of one part that fit into one, and single segments with rows of
 * removed documents. `present[i]` is how many nodes of segments[i] are in a document.
 */
std::vector<SegmentGroup> groupsToCompact(std::span<const StoredSegment> segments,
                                          std::span<const std::uint32_t> present,
                                          const SegmentLimits &limits);

}  // namespace zdbs::embedded

#endif
