/** Hits of one word in the values of a table: what a "contains" condition would mark. */
#ifndef TESTS_ZDBS_SUPPORT_WORD_HITS_H
#define TESTS_ZDBS_SUPPORT_WORD_HITS_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/tree/hit_ranges.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::testing {

using namespace embedded;

class WordHits final : public HitRanges {
public:
    /** `nodes` must outlive the object; `word` is not empty. */
    WordHits(const NodeTable &nodes, std::string_view word) : nodes_(nodes), word_(word) {}

    std::vector<HitRange> find(NodeId node) const override {
        std::vector<HitRange> hits;
        const std::string_view value = nodes_.value(node);
        for (auto at = value.find(word_); at != std::string_view::npos;
             at = value.find(word_, at + word_.size()))
            hits.push_back({at, word_.size()});
        return hits;
    }

private:
    const NodeTable &nodes_;
    std::string word_;
};

}  // namespace zdbs::testing

#endif
