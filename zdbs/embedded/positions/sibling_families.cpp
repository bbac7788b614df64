#include "zdbs/embedded/positions/sibling_families.h"

#include <algorithm>

namespace zdbs::embedded {
namespace {

/** Keys of which at least one in so many has a node are counted in an array. */
constexpr std::uint64_t dense = 16;

/** From so many rows a parent on, a search for the next parent costs less than the way there. */
constexpr std::uint64_t longGroup = 64;

}  // namespace

bool SiblingFamily::hasLongGroups() const {
    const PathPart &part = parts().front();
    const std::uint64_t rows = table().rowCount(part.path);
    return parent_ != noPath && part.rows->cardinality() == rows &&
           rows > longGroup * table().rowCount(parent_);
}

std::vector<SiblingGroup> SiblingFamily::groups() const {
    const std::uint32_t keys = keyCount();
    return sizeOf(parts()) * dense >= keys ? countKeys(keys) : sortKeys();
}

std::vector<SiblingGroup> SiblingFamily::countKeys(std::uint32_t count) const {
    std::vector<SiblingGroup> groups(count);
    for (SiblingKey key = 0; key < count; ++key)
        groups[key].key = key;
    for (const PathPart &part : parts()) {
        forKeys(part, [&](const RowBatch &, std::span<const SiblingKey> keys) {
            for (SiblingKey key : keys)
                ++groups[std::min(key, count - 1)].length;
        });
    }
    return groups;
}

std::vector<SiblingGroup> SiblingFamily::sortKeys() const {
    std::vector<SiblingKey> all;
    for (const PathPart &part : parts()) {
        forKeys(part, [&](const RowBatch &, std::span<const SiblingKey> keys) {
            all.insert(all.end(), keys.begin(), keys.end());
        });
    }
    std::sort(all.begin(), all.end());
    std::vector<SiblingGroup> groups;
    for (auto key = all.begin(); key != all.end();) {
        const auto end = std::upper_bound(key, all.end(), *key);
        groups.push_back({*key, static_cast<std::uint32_t>(end - key)});
        key = end;
    }
    return groups;
}

std::optional<SiblingFamilies> familiesOf(const NodeTable &nodes, const PathTable &table,
                                          const PathNodes &set) {
    const PathSummary &summary = table.summary();
    SiblingFamilies families;
    for (const PathPart &part : set) {
        const Path &path = summary[part.path];
        if (!path.isRegular) return std::nullopt;
        families.try_emplace(path.parent, nodes, table, path.parent).first->second.add(part);
    }
    return families;
}

}  // namespace zdbs::embedded
