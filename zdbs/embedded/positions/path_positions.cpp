#include "zdbs/embedded/positions/path_positions.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "zdbs/embedded/joins/column_cursor.h"
#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/joins/sibling_keys.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs {
namespace {

/** Keys of which at least one in so many has a node are counted in an array. */
constexpr std::uint64_t dense = 16;

/** Slices of more rows than this are added as ranges. */
constexpr std::uint64_t shortSlice = 16;

/** Collects slices of an ascending list of rows, which may be a range. */
class SliceCollector {
public:
    explicit SliceCollector(const RowSet &rows) : first_(rows.minimum()) {
        if (rows.cardinality() == rows.maximum() - first_ + 1) return;
        forRows(rows, [this](std::span<const RowId> batch) {
            list_.insert(list_.end(), batch.begin(), batch.end());
        });
    }

    /** Adds the rows at places first … end - 1. */
    void add(std::uint64_t first, std::uint64_t end) {
        if (end - first > shortSlice) return addLong(first, end);
        if (count_ + shortSlice > buffer_.size()) flush();
        for (std::uint64_t place = first; place < end; ++place)
            buffer_[count_++] = rowAt(place);
    }

    RowSetPtr finish(const PathTable &table, const PathPart &part) {
        flush();
        return kept_.finishPart(table, part.path, part.rows);
    }

private:
    RowId rowAt(std::uint64_t place) const {
        return list_.empty() ? first_ + static_cast<RowId>(place) : list_[place];
    }

    void addLong(std::uint64_t first, std::uint64_t end) {
        flush();
        if (list_.empty()) {
            kept_.addRange(rowAt(first), rowAt(end));
        } else {
            kept_.add(std::span(list_).subspan(first, end - first));
        }
    }

    void flush() {
        kept_.add(std::span(buffer_).first(count_));
        count_ = 0;
    }

    RowId first_;
    std::vector<RowId> list_;  ///< empty for a range
    std::array<RowId, 1024> buffer_;
    std::size_t count_ = 0;
    RowCollector kept_;
};

/** Calls `take` with the keys of a part's rows, some at a time. */
template <typename Take>
void forKeys(const NodeTable &nodes, const PathTable &table, const PathPart &part, Take take) {
    RowReader reader(table, part.path, *part.rows);
    SiblingKeys keys(nodes, table, part.path);
    std::array<SiblingKey, RowReader::batchSize> keyOf;
    for (RowBatch batch; reader.next(batch);) {
        const auto all = std::span(keyOf).first(batch.rows.size());
        keys.read(batch, all);
        take(std::span<const SiblingKey>(all));
    }
}

/** From so many rows a parent on, a search for the next parent costs less than the way there. */
constexpr std::uint64_t longGroup = 64;

/** Whether groups are found by search: all rows there are, and many of each parent. */
bool hasLongGroups(const PathTable &table, const PathPart &part) {
    const PathId parent = table.summary()[part.path].parent;
    const std::uint64_t rows = table.rowCount(part.path);
    return parent != noPath && part.rows->cardinality() == rows &&
           rows > longGroup * table.rowCount(parent);
}

/** Calls `take` with where the children of each parent begin and end. */
template <typename Take>
void forLongGroups(const PathTable &table, PathId path, Take take) {
    ParentCursor cursor(table, path);
    const RowId end = table.rowCount(path);
    for (RowId row = 0; row < end;) {
        const RowId parent = table.runOf({path, row}).parentAt(row);
        const RowId next = cursor.find(parent + 1);
        if (next <= row) return;  // in damaged files only
        take(row, next);
        row = next;
    }
}

/** Calls `take` with the places where each group of equal keys begins and ends. */
template <typename Take>
void forGroups(const NodeTable &nodes, const PathTable &table, const PathPart &part, Take take) {
    std::array<std::uint32_t, RowReader::batchSize> starts;
    std::uint64_t base = 0;
    std::uint64_t begin = 0;
    SiblingKey last = 0;
    forKeys(nodes, table, part, [&](std::span<const SiblingKey> keys) {
        std::size_t count = 0;
        for (std::uint32_t i = 0; i < keys.size(); ++i) {
            starts[count] = i;
            count += keys[i] != last ? 1 : 0;
            last = keys[i];
        }
        for (std::uint32_t start : std::span(starts).first(count)) {
            if (base + start != 0) take(begin, base + start);
            begin = base + start;
        }
        base += keys.size();
    });
    take(begin, base);
}

/** One path below one: its groups follow each other in its rows. */
RowSetPtr selectInPath(const NodeTable &nodes, const PathTable &table, const PathPart &part,
                       const SatisfyingPositions &satisfying) {
    SliceCollector kept(*part.rows);
    const auto addOf = [&](std::uint64_t begin, std::uint64_t end) {
        for (const Positions &positions : satisfying.of(end - begin)) {
            if (positions.first <= positions.last) {
                kept.add(begin + positions.first - 1, begin + positions.last);
            }
        }
    };
    if (hasLongGroups(table, part)) {
        forLongGroups(table, part.path, addOf);
    } else {
        forGroups(nodes, table, part, addOf);
    }
    return kept.finish(table, part);
}

/** "Is this node in that list?" The list must outlive it and is not empty. */
class NodeMarks {
public:
    explicit NodeMarks(std::span<const NodeId> ascending)
        : list_(ascending), first_(ascending.front()) {
        const NodeId width = ascending.back() - first_ + 1;
        if (width / thin > ascending.size()) return;
        bits_.emplace(width);
        for (NodeId node : ascending)
            bits_->add(node - first_);
    }

    /** Numbers before the first wrap around, and are beyond the bits. */
    bool contains(NodeId node) const {
        return bits_ ? bits_->has(node - first_)
                     : std::binary_search(list_.begin(), list_.end(), node);
    }

private:
    static constexpr NodeId thin = 1024;  ///< numbers a node that are not worth their bits

    std::span<const NodeId> list_;
    NodeId first_;
    std::optional<RowBits> bits_;
};

/** The paths of a set below one path, or at the top. */
class Family {
public:
    Family(const NodeTable &nodes, const PathTable &table, PathId parent)
        : nodes_(nodes), table_(table), parent_(parent) {}

    void add(const PathPart &part) { parts_.push_back(part); }

    void select(const SatisfyingPositions &satisfying, PathNodes &result) const {
        if (parts_.size() == 1) {
            add(parts_.front().path, selectInPath(nodes_, table_, parts_.front(), satisfying),
                result);
            return;
        }
        const NodeIds chosen = selectMerged(satisfying);
        if (chosen.empty()) return;
        const NodeMarks isChosen(chosen);
        for (const PathPart &part : parts_)
            add(part.path, rowsOf(part, isChosen), result);
    }

private:
    static void add(PathId path, RowSetPtr rows, PathNodes &result) {
        if (rows) result.push_back({path, std::move(rows)});
    }

    /** Siblings lie together among the nodes of all paths: only the lengths are needed. */
    NodeIds selectMerged(const SatisfyingPositions &satisfying) const {
        const NodeIds merged = nodeIdsOf(table_, parts_);
        NodeIds chosen;
        auto group = merged.begin();
        for (std::uint32_t length : groupLengths()) {
            for (const Positions &positions : satisfying.of(length)) {
                if (positions.first > positions.last) continue;
                chosen.insert(chosen.end(),
                              group + static_cast<std::ptrdiff_t>(positions.first - 1),
                              group + static_cast<std::ptrdiff_t>(positions.last));
            }
            group += length;
        }
        return chosen;
    }

    /** How many siblings there are for each key, ascending; keys without any may be 0. */
    std::vector<std::uint32_t> groupLengths() const {
        const std::uint32_t keys = SiblingKeys::count(nodes_, table_, parent_);
        return sizeOf(parts_) * dense >= keys ? countKeys(keys) : sortKeys();
    }

    std::vector<std::uint32_t> countKeys(std::uint32_t count) const {
        std::vector<std::uint32_t> lengths(count);
        for (const PathPart &part : parts_) {
            forKeys(nodes_, table_, part, [&](std::span<const SiblingKey> keys) {
                for (SiblingKey key : keys)
                    ++lengths[std::min(key, count - 1)];
            });
        }
        return lengths;
    }

    std::vector<std::uint32_t> sortKeys() const {
        std::vector<SiblingKey> all;
        for (const PathPart &part : parts_) {
            forKeys(nodes_, table_, part, [&](std::span<const SiblingKey> keys) {
                all.insert(all.end(), keys.begin(), keys.end());
            });
        }
        std::sort(all.begin(), all.end());
        std::vector<std::uint32_t> lengths;
        for (auto key = all.begin(); key != all.end();) {
            const auto end = std::upper_bound(key, all.end(), *key);
            lengths.push_back(static_cast<std::uint32_t>(end - key));
            key = end;
        }
        return lengths;
    }

    RowSetPtr rowsOf(const PathPart &part, const NodeMarks &isChosen) const {
        RowCollector kept;
        RowReader reader(table_, part.path, *part.rows);
        std::array<NodeId, RowReader::batchSize> numbers;
        std::array<RowId, RowReader::batchSize> rows;
        for (RowBatch batch; reader.next(batch);) {
            readNodes(batch, numbers);
            std::size_t count = 0;
            for (std::size_t i = 0; i < batch.rows.size(); ++i) {
                rows[count] = batch.rows[i];
                count += isChosen.contains(numbers[i]) ? 1 : 0;
            }
            kept.add(std::span(rows).first(count));
        }
        return kept.finishPart(table_, part.path, part.rows);
    }

    const NodeTable &nodes_;
    const PathTable &table_;
    PathId parent_;
    PathNodes parts_;
};

}  // namespace

std::optional<PathNodes> selectSiblingPositions(const NodeTable &nodes, const PathTable &table,
                                                const PathNodes &set, PositionTest test) {
    const PathSummary &summary = table.summary();
    std::map<PathId, Family> families;
    for (const PathPart &part : set) {
        const Path &path = summary[part.path];
        if (!path.isRegular) return std::nullopt;
        families.try_emplace(path.parent, nodes, table, path.parent).first->second.add(part);
    }
    const SatisfyingPositions satisfying(test);
    PathNodes result;
    for (const auto &[parent, family] : families)
        family.select(satisfying, result);
    std::sort(result.begin(), result.end(),
              [](const PathPart &a, const PathPart &b) { return a.path < b.path; });
    return result;
}

}  // namespace zdbs
