/** The paths of a summary by kind and name, so that a condition need not look at all. */
#ifndef ZDBS_ENGINE_SUMMARY_INDEX_H
#define ZDBS_ENGINE_SUMMARY_INDEX_H

#include <array>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zdbs/paths/path_table.h"

namespace zdbs {

/**
 * Paths that have nodes, all lists ascending. Belongs to one state of a database; the
 * table must outlive it. Any thread may read.
 */
class SummaryIndex {
public:
    explicit SummaryIndex(const PathTable &table);

    std::span<const PathId> all() const { return all_; }

    /** Regular and irregular ones. */
    std::span<const PathId> ofKind(NodeKind kind) const { return byKind_[place(kind)].all; }

    /** Those of a local name, and those whose nodes have names of their own. */
    std::span<const PathId> named(NodeKind kind, std::string_view name) const;

private:
    struct Kind {
        std::vector<PathId> all;
        std::vector<PathId> irregular;
        std::unordered_map<std::string_view, std::vector<PathId>> byName;
    };

    static std::size_t place(NodeKind kind) { return static_cast<std::size_t>(kind); }
    void add(const PathTable &table, PathId path);

    std::vector<PathId> all_;
    std::array<Kind, 5> byKind_;
};

}  // namespace zdbs

#endif
