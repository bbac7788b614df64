#include "zdbs/embedded/evaluate/set_hits.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>

#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/tree/ascending_numbers.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

/** Only "contains" hits more than once; every other condition hits the whole value. */
bool canHitTwice(const ValueLeafPtr &leaf) {
    return std::all_of(leaf->tests.begin(), leaf->tests.end(), [](const ValueTest &test) {
        return test.relation() == Relation::contains && !test.literal().empty();
    });
}

std::vector<ValueLeafPtr> leavesThatHitTwice(const NodeSet &set) {
    std::vector<ValueLeafPtr> leaves;
    std::copy_if(set.leaves().begin(), set.leaves().end(), std::back_inserter(leaves), canHitTwice);
    return leaves;
}

std::int64_t beyondFirst(std::size_t hits) {
    return hits > 1 ? static_cast<std::int64_t>(hits) - 1 : 0;
}

/** Hits beyond the first of each node. */
std::int64_t furtherHits(const NodeTable &table, const std::vector<ValueLeafPtr> &leaves,
                         std::span<const NodeId> nodes) {
    std::int64_t count = 0;
    for (NodeId node : nodes)
        count += beyondFirst(hitsIn(table, leaves, node).size());
    return count;
}

/** The same by path: only those rows are looked at that a condition can hit twice. */
class FurtherHits {
public:
    FurtherHits(const PathTable &table, const NodeSet &set) : table_(table), set_(set) {}

    std::int64_t count() {
        std::int64_t count = 0;
        for (const PathPart &part : candidates())
            count += countIn(part);
        return count;
    }

private:
    PathNodes candidates() const {
        const std::vector<PathId> paths = set_.nodes()->pathsIn(table_);
        PathNodes result;
        for (const ValueLeafPtr &leaf : leavesThatHitTwice(set_)) {
            const PathNodes hit = leaf->nodes->nodesIn(table_, paths);
            const PathNodes own = set_.nodes()->nodesIn(table_, leaf->nodes->pathsIn(table_));
            result = united(table_, result, intersected(hit, own));
        }
        return result;
    }

    std::int64_t countIn(const PathPart &part) {
        openLeaves(part.path);
        std::int64_t count = 0;
        RowReader reader(table_, part.path, *part.rows);
        RowBatch batch;
        while (reader.next(batch)) {
            for (RowId row : batch.rows) {
                const std::string_view value = batch.run->values.at(row - batch.run->firstRow);
                count += beyondFirst(hitsAt(row, value));
            }
        }
        return count;
    }

    /** Of every leaf the rows in a path: the rest of a value may be hit by any of them. */
    void openLeaves(PathId path) {
        open_.clear();
        for (const ValueLeafPtr &leaf : set_.leaves()) {
            PathNodes nodes = leaf->nodes->nodesIn(table_, std::span(&path, 1));
            if (!nodes.empty()) open_.push_back({leaf.get(), nodes.front().rows});
        }
    }

    /** The hits of one test do not overlap; those of several are merged. */
    std::size_t hitsAt(RowId row, std::string_view value) {
        ranges_.clear();
        std::size_t tests = 0;
        for (const OpenLeaf &leaf : open_) {
            if (!leaf.rows->contains(row)) continue;
            for (const ValueTest &test : leaf.leaf->tests)
                test.addHits(value, ranges_);
            tests += leaf.leaf->tests.size();
        }
        if (tests > 1) joinOverlaps(ranges_);
        return ranges_.size();
    }

    struct OpenLeaf {
        const ValueLeaf *leaf;
        RowSetPtr rows;
    };

    const PathTable &table_;
    const NodeSet &set_;
    std::vector<OpenLeaf> open_;
    std::vector<HitRange> ranges_;
};

/** Where all nodes are those of one condition, its hits were counted when they were found. */
std::optional<std::uint64_t> hitsOfOneLeaf(const NodeSet &set) {
    const bool isWhole = set.leaves().size() == 1 && set.leaves().front()->nodes == set.nodes();
    return isWhole ? set.nodes()->hits() : std::nullopt;
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

    NodeId next(NodeId from) const override {
        if (!numbers_) findNumbers();
        const auto found = std::lower_bound(numbers_->begin(), numbers_->end(), from);
        return found == numbers_->end() ? noMoreNodes : *found;
    }

private:
    void findNumbers() const {
        numbers_.emplace();
        for (const ValueLeafPtr &leaf : leaves_)
            numbers_ = merged(*numbers_, leaf->nodes->numbers());
    }

    std::shared_ptr<const NodeTable> table_;
    std::vector<ValueLeafPtr> leaves_;
    mutable std::optional<NodeIds> numbers_;  ///< of the nodes of all leaves, once asked for
};

}  // namespace

std::vector<HitRange> hitsIn(const NodeTable &table, const std::vector<ValueLeafPtr> &leaves,
                             NodeId node) {
    std::vector<HitRange> ranges;
    for (const ValueLeafPtr &leaf : leaves) {
        if (!leaf->nodes->contains(node)) continue;
        for (const ValueTest &test : leaf->tests)
            test.addHits(table.value(node), ranges);
    }
    joinOverlaps(ranges);
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
    const auto records = static_cast<std::int64_t>(set.size());
    if (std::none_of(set.leaves().begin(), set.leaves().end(), canHitTwice)) return records;
    if (const auto hits = hitsOfOneLeaf(set)) return static_cast<std::int64_t>(*hits);
    const PathTable *paths = table.paths();
    return records + (paths != nullptr ? FurtherHits(*paths, set).count()
                                       : furtherHits(table, set.leaves(), set.ids()));
}

std::unique_ptr<HitRanges> makeHitRanges(std::shared_ptr<const NodeTable> table,
                                         std::vector<ValueLeafPtr> leaves) {
    return std::make_unique<LeafHits>(std::move(table), std::move(leaves));
}

}  // namespace zdbs::embedded
