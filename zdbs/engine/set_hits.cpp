#include "zdbs/engine/set_hits.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "zdbs/joins/documents.h"

namespace zdbs {
namespace {

/** Sorts, and makes one of those that overlap. */
void mergeRanges(std::vector<HitRange> &ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const HitRange &a, const HitRange &b) { return a.offset < b.offset; });
    std::vector<HitRange> merged;
    for (const HitRange &range : ranges) {
        std::size_t end = merged.empty() ? 0 : merged.back().offset + merged.back().length;
        if (merged.empty() || range.offset >= end) {
            merged.push_back(range);
        } else {
            end = std::max(end, range.offset + range.length);
            merged.back().length = end - merged.back().offset;
        }
    }
    ranges = std::move(merged);
}

std::int32_t clamped(std::size_t number) {
    constexpr auto most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min<std::size_t>(number, most));
}

class LeafHits : public HitRanges {
public:
    LeafHits(std::shared_ptr<const NodeTable> table, std::vector<ValueLeafPtr> leaves)
        : table_(std::move(table)), leaves_(std::move(leaves)) {}

    std::vector<HitRange> find(NodeId node) const override {
        return hitsIn(*table_, leaves_, node);
    }

private:
    std::shared_ptr<const NodeTable> table_;
    std::vector<ValueLeafPtr> leaves_;
};

}  // namespace

std::vector<HitRange> hitsIn(const NodeTable &table, const std::vector<ValueLeafPtr> &leaves,
                             NodeId node) {
    std::vector<HitRange> ranges;
    for (const ValueLeafPtr &leaf : leaves) {
        if (!leaf->nodes->contains(node)) continue;
        for (const ValueTest &test : leaf->tests) {
            std::vector<HitRange> found = test.hits(table.value(node));
            ranges.insert(ranges.end(), found.begin(), found.end());
        }
    }
    mergeRanges(ranges);
    return ranges;
}

std::vector<HitWord> hitWordsOf(const NodeTable &table, const NodeSet &set, NodeId node) {
    HitWord word;
    word.part = static_cast<std::int32_t>(DocumentFinder(table).indexOf(node)) + 1;
    word.field = static_cast<std::int32_t>(Field::id);

    std::vector<HitWord> words;
    WordCounter counter(table.value(node));
    for (const HitRange &range : hitsIn(table, set.leaves(), node)) {
        word.field = static_cast<std::int32_t>(Field::value);
        word.word = clamped(counter.at(range.offset));
        word.length = clamped(range.length);
        words.push_back(word);
    }
    if (words.empty()) words.push_back(word);
    return words;
}

std::int64_t hitCountOf(const NodeTable &table, const NodeSet &set) {
    if (set.leaves().empty()) return static_cast<std::int64_t>(set.size());
    std::int64_t count = 0;
    for (NodeId node : set.ids()) {
        std::size_t hits = hitsIn(table, set.leaves(), node).size();
        count += static_cast<std::int64_t>(std::max<std::size_t>(hits, 1));
    }
    return count;
}

std::unique_ptr<HitRanges> makeHitRanges(std::shared_ptr<const NodeTable> table,
                                         std::vector<ValueLeafPtr> leaves) {
    return std::make_unique<LeafHits>(std::move(table), std::move(leaves));
}

}  // namespace zdbs
