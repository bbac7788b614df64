/** The nodes of a set by the path of their parents, sibling group by sibling group. */
#ifndef ZDBS_EMBEDDED_POSITIONS_SIBLING_FAMILIES_H
#define ZDBS_EMBEDDED_POSITIONS_SIBLING_FAMILIES_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/joins/column_cursor.h"
#include "zdbs/embedded/joins/sibling_keys.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/positions/merged_parts.h"

namespace zdbs::embedded {

/** Nodes of a family with one parent, or at the top of one document. */
struct SiblingGroup {
    SiblingKey key;
    std::uint32_t length;
};

/**
 * The nodes of a set in the paths below one path, or at the top. All have the same level, so
 * that siblings lie together in the order of the numbers, and their parents ascend. A place is
 * that of a node among all of the family, from 0.
 */
class SiblingFamily : public MergedParts {
public:
    /** What is given must outlive it. */
    SiblingFamily(const NodeTable &nodes, const PathTable &table, PathId parent)
        : MergedParts(table), nodes_(nodes), parent_(parent) {}

    /** The groups, in the order of the numbers; some may be without nodes. */
    std::vector<SiblingGroup> groups() const;

    /** Calls `take` with the places first … end - 1 of each group that has nodes, in order. */
    template <typename Take>
    void forGroups(Take take) const {
        if (parts().size() > 1) return forMergedGroups(take);
        if (hasLongGroups()) return forLongGroups(take);
        forShortGroups(take);
    }

    /** Whether groups are found by search: all rows there are, and many of each parent. */
    bool hasLongGroups() const;

    /** One more than the greatest key. */
    std::uint32_t keyCount() const { return SiblingKeys::count(nodes_, table(), parent_); }

    /** Calls `take` with rows of a part and their keys, some at a time. */
    template <typename Take>
    void forKeys(const PathPart &part, Take take) const;

private:
    template <typename Take>
    void forMergedGroups(Take take) const {
        std::uint64_t begin = 0;
        for (const SiblingGroup &group : groups()) {
            if (group.length > 0) take(begin, begin + group.length);
            begin += group.length;
        }
    }

    template <typename Take>
    void forLongGroups(Take take) const;

    template <typename Take>
    void forShortGroups(Take take) const;

    std::vector<SiblingGroup> countKeys(std::uint32_t count) const;
    std::vector<SiblingGroup> sortKeys() const;

    const NodeTable &nodes_;
    PathId parent_;
};

/** By the path of the parents. */
using SiblingFamilies = std::map<PathId, SiblingFamily>;

/** The families of a set; nothing when one of the paths is irregular. */
std::optional<SiblingFamilies> familiesOf(const NodeTable &nodes, const PathTable &table,
                                          const PathNodes &set);

template <typename Take>
void SiblingFamily::forKeys(const PathPart &part, Take take) const {
    RowReader reader(table(), part.path, *part.rows);
    SiblingKeys keys(nodes_, table(), part.path);
    std::array<SiblingKey, RowReader::batchSize> keyOf;
    for (RowBatch batch; reader.next(batch);) {
        heedStop();
        const auto all = std::span(keyOf).first(batch.rows.size());
        keys.read(batch, all);
        take(batch, std::span<const SiblingKey>(all));
    }
}

/** Searches for the end of each group. */
template <typename Take>
void SiblingFamily::forLongGroups(Take take) const {
    const PathId path = parts().front().path;
    ParentCursor cursor(table(), path);
    const RowId end = table().rowCount(path);
    StopCounter stop;
    for (RowId row = 0; row < end;) {
        stop.step();
        const RowId parent = table().runOf({path, row}).parentAt(row);
        const RowId next = cursor.find(parent + 1);
        if (next <= row) return;  // in damaged files only
        take(row, next);
        row = next;
    }
}

/** Compares the key of each node with the one before. */
template <typename Take>
void SiblingFamily::forShortGroups(Take take) const {
    std::array<std::uint32_t, RowReader::batchSize> starts;
    std::uint64_t base = 0;
    std::uint64_t begin = 0;
    SiblingKey last = 0;
    forKeys(parts().front(), [&](const RowBatch &, std::span<const SiblingKey> keys) {
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

}  // namespace zdbs::embedded

#endif
