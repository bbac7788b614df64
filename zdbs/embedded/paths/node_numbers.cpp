/** Numbers of the nodes of a set: all of them, or the one at a place. */
#include <algorithm>
#include <bit>
#include <cassert>
#include <limits>
#include <numeric>

#include "foundation/bit_count.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/paths/row_reader.h"

namespace zdbs::embedded {
namespace {

using NodeIds = std::vector<NodeId>;

/** A bit for each number between two, both included. */
class NumberBits {
public:
    NumberBits(NodeId first, NodeId last) : first_(first), words_((last - first) / 64U + 1) {}

    void add(std::span<const NodeId> nodes) {
        for (NodeId node : nodes) {
            const NodeId bit = node - first_;
            if (bit / 64U >= words_.size()) continue;  // in damaged files only
            words_[bit / 64U] |= std::uint64_t{1} << (bit % 64U);
        }
    }

    NodeIds numbers() const {
        std::size_t count = 0;
        for (std::uint64_t word : words_)
            count += bitCount(word);
        NodeIds result(count);
        auto out = result.begin();
        NodeId base = first_;
        for (std::uint64_t word : words_) {
            if (word == ~std::uint64_t{0}) {
                std::iota(out, out + 64, base);
                out += 64;
                word = 0;
            }
            for (; word != 0; word &= word - 1)
                *out++ = base + static_cast<NodeId>(std::countr_zero(word));
            base += 64;
        }
        return result;
    }

private:
    NodeId first_;
    std::vector<std::uint64_t> words_;
};

constexpr RowRange allRows = {0, std::numeric_limits<RowId>::max()};

/** Rows of a part that lie within a range, and how many they are. */
struct Slice {
    const PathPart *part;
    RowRange within;
    std::uint64_t size;
};

/** Calls `take` with the numbers of nodes, ascending, some at a time. */
template <typename Take>
void forNodes(const PathTable &table, const Slice &slice, Take take) {
    RowReader reader(table, slice.part->path, *slice.part->rows, slice.within);
    std::array<NodeId, RowReader::batchSize> numbers;
    for (RowBatch batch; reader.next(batch);) {
        const auto out = std::span(numbers).first(batch.rows.size());
        readNodes(batch, out);
        take(std::span<const NodeId>(out));
    }
}

struct Numbers {
    NodeId first = lastNodeId;
    NodeId last = noNode;
};

Numbers numbersOf(const PathTable &table, const PathNodes &nodes) {
    Numbers result;
    for (const PathPart &part : nodes) {
        result.first = std::min(result.first, table.nodeAt({part.path, part.rows->minimum()}));
        result.last = std::max(result.last, table.nodeAt({part.path, part.rows->maximum()}));
    }
    return result;
}

/** Looking through so many empty numbers costs as much as sorting one node in. */
constexpr std::uint64_t sparse = 1024;

/** The numbers of nodes that lie between two numbers, ascending. */
NodeIds ordered(const PathTable &table, std::span<const Slice> slices, Numbers range) {
    std::uint64_t count = 0;
    for (const Slice &slice : slices)
        count += slice.size;
    if (slices.size() > 1 && (range.last - range.first) / sparse <= count) {
        NumberBits bits(range.first, range.last);
        for (const Slice &slice : slices)
            forNodes(table, slice, [&](std::span<const NodeId> numbers) { bits.add(numbers); });
        return bits.numbers();
    }
    NodeIds result;
    result.reserve(count);
    const auto append = [&](std::span<const NodeId> numbers) {
        result.insert(result.end(), numbers.begin(), numbers.end());
    };
    for (const Slice &slice : slices)
        forNodes(table, slice, append);
    if (slices.size() > 1) std::sort(result.begin(), result.end());
    return result;
}

/** So many numbers a stretch begins with, and what it grows by, and ends with. */
constexpr std::uint64_t firstStretch = 1024;
constexpr std::uint64_t stretchGrowth = 8;
constexpr std::uint64_t longestStretch = 4 << 20;

/** A part of a set that shrinks while a place is searched: rows of some ranks. */
struct Candidate {
    const PathPart *part;
    std::uint64_t firstRank;
    std::uint64_t endRank;

    std::uint64_t size() const { return endRank - firstRank; }

    RowId rowAt(std::uint64_t rank) const {
        RowId row = 0;
        part->rows->select(static_cast<std::uint32_t>(rank), &row);
        return row;
    }
};

/** So few are put in order instead of being halved further. */
constexpr std::uint64_t fewCandidates = 512;

/** Finds the node at a place by halving the numbers between which it lies. */
class PlaceSearch {
public:
    PlaceSearch(const PathTable &table, const PathNodes &nodes) : table_(table) {
        for (const PathPart &part : nodes) {
            const std::uint64_t size = part.rows->cardinality();
            candidates_.push_back({&part, 0, size});
            count_ += size;
        }
        numbers_ = numbersOf(table, nodes);
    }

    NodeId find(std::uint64_t place) {
        assert(place < count_);
        while (count_ > fewCandidates && candidates_.size() > 1) {
            const NodeId middle = numbers_.first + (numbers_.last - numbers_.first) / 2;
            std::vector<std::uint64_t> ends = ranksAfter(middle);
            std::uint64_t before = 0;
            for (std::size_t i = 0; i < ends.size(); ++i)
                before += ends[i] - candidates_[i].firstRank;
            const bool isBelow = place < before;
            isBelow ? keepBelow(ends, middle) : keepAbove(ends, middle);
            count_ = isBelow ? before : count_ - before;
            if (!isBelow) place -= before;
        }
        return placeAmongFew(place);
    }

private:
    /** Of each candidate the rank of the first row beyond a number. */
    std::vector<std::uint64_t> ranksAfter(NodeId number) const {
        std::vector<std::uint64_t> result;
        for (const Candidate &candidate : candidates_) {
            const RowId row = table_.lowerBound(candidate.part->path, number + 1);
            const std::uint64_t rank = row == 0 ? 0 : candidate.part->rows->rank(row - 1);
            result.push_back(std::clamp(rank, candidate.firstRank, candidate.endRank));
        }
        return result;
    }

    void keepBelow(std::span<const std::uint64_t> ends, NodeId middle) {
        numbers_.last = middle;
        for (std::size_t i = 0; i < ends.size(); ++i)
            candidates_[i].endRank = ends[i];
        dropEmpty();
    }

    void keepAbove(std::span<const std::uint64_t> ends, NodeId middle) {
        numbers_.first = middle + 1;
        for (std::size_t i = 0; i < ends.size(); ++i)
            candidates_[i].firstRank = ends[i];
        dropEmpty();
    }

    void dropEmpty() {
        std::erase_if(candidates_, [](const Candidate &each) { return each.size() == 0; });
    }

    NodeId nodeOf(const Candidate &candidate, std::uint64_t rank) const {
        return table_.nodeAt({candidate.part->path, candidate.rowAt(rank)});
    }

    NodeId placeAmongFew(std::uint64_t place) const {
        if (candidates_.size() == 1) {
            return nodeOf(candidates_.front(), candidates_.front().firstRank + place);
        }
        NodeIds nodes;
        for (const Candidate &candidate : candidates_) {
            for (std::uint64_t rank = candidate.firstRank; rank < candidate.endRank; ++rank)
                nodes.push_back(nodeOf(candidate, rank));
        }
        const auto wanted = nodes.begin() + static_cast<std::ptrdiff_t>(place);
        std::nth_element(nodes.begin(), wanted, nodes.end());
        return *wanted;
    }

    const PathTable &table_;
    std::vector<Candidate> candidates_;
    std::uint64_t count_ = 0;
    Numbers numbers_;
};

}  // namespace

NodeIds nodeIdsOf(const PathTable &table, const PathNodes &nodes) {
    if (nodes.empty()) return {};
    std::vector<Slice> slices;
    slices.reserve(nodes.size());
    for (const PathPart &part : nodes)
        slices.push_back({&part, allRows, part.rows->cardinality()});
    return ordered(table, slices, numbersOf(table, nodes));
}

NumberStretches::NumberStretches(const PathTable &table, const PathNodes &nodes) : table_(table) {
    if (nodes.empty()) return;
    left_.reserve(nodes.size());
    for (const PathPart &part : nodes)
        left_.push_back({&part, 0, 0});
    const Numbers range = numbersOf(table, nodes);
    first_ = range.first;
    last_ = range.last;
    // Where nodes are few among the numbers, as many more numbers have to be looked through.
    const std::uint64_t numbersEach = (last_ - first_) / sizeOf(nodes) + 1;
    width_ = std::min(firstStretch * numbersEach, longestStretch);
}

/** The row with which the numbers from `end` on begin. */
RowId NumberStretches::rowBehind(const PathPart &part, std::uint64_t end) const {
    if (end > last_) return allRows.end;
    return table_.lowerBound(part.path, static_cast<NodeId>(end));
}

NodeIds NumberStretches::next() {
    NodeIds result;
    while (result.empty() && !left_.empty()) {
        const std::uint64_t end = std::min(first_ + width_, last_ + 1);
        std::vector<Slice> slices;
        for (Left &left : left_) {
            const RowId endRow = rowBehind(*left.part, end);
            const std::uint64_t told = endRow == 0 ? 0 : left.part->rows->rank(endRow - 1);
            if (told > left.told)
                slices.push_back({left.part, {left.firstRow, endRow}, told - left.told});
            left.firstRow = endRow;
            left.told = told;
        }
        const Numbers range = {static_cast<NodeId>(first_), static_cast<NodeId>(end - 1)};
        result = ordered(table_, slices, range);
        std::erase_if(left_,
                      [](const Left &left) { return left.told == left.part->rows->cardinality(); });
        first_ = end;
        width_ = std::min(width_ * stretchGrowth, longestStretch);
    }
    return result;
}

NodeId nodeAtPlace(const PathTable &table, const PathNodes &nodes, std::uint64_t place) {
    return PlaceSearch(table, nodes).find(place);
}

}  // namespace zdbs::embedded
