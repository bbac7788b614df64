/** Sets of the embedded engine as the line hands them out. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_SET_H
#define ZDBS_EMBEDDED_EMBEDDED_SET_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/evaluate/set_hits.h"
#include "zdbs/embedded/sets/plan.h"
#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/result_set.h"

namespace zdbs::embedded {

/**
 * What `work` reads from the table, unless that was lost meanwhile: then nothing that it answers
 * or throws means anything.
 */
template <typename Work>
auto intact(const NodeTable &table, Work work) {
    try {
        auto answer = work();
        table.requireIntact();
        return answer;
    } catch (...) {
        table.requireIntact();
        throw;
    }
}

/** Of one part. Holds its table: a set may be read once more when that is no longer the newest. */
class EmbeddedSet : public ResultSet {
public:
    EmbeddedSet(std::shared_ptr<const NodeTable> table, NodeSetPtr set, PlanPtr plan)
        : table_(std::move(table)), set_(std::move(set)), plan_(std::move(plan)) {}

    std::int64_t size() const override {
        return intact(*table_, [&] { return static_cast<std::int64_t>(set_->size()); });
    }

    std::int64_t hits() const override {
        if (!hits_) hits_ = intact(*table_, [&] { return hitCountOf(*table_, *set_); });
        return *hits_;
    }

    const NodeSetPtr &nodes() const { return set_; }
    const NodeTable &table() const { return *table_; }
    const PlanPtr &plan() const { return plan_; }

private:
    std::shared_ptr<const NodeTable> table_;
    NodeSetPtr set_;
    PlanPtr plan_;
    mutable std::optional<std::int64_t> hits_;
};

inline const EmbeddedSet &embedded(const ResultSet &set) {
    return static_cast<const EmbeddedSet &>(set);
}

inline const NodeSetPtr &nodesOf(const ResultSet &set) {
    return embedded(set).nodes();
}

/** A set of each part, by number; at least two of them. */
class PartedSet : public ResultSet {
public:
    explicit PartedSet(std::vector<ResultSetPtr> parts) : parts_(std::move(parts)) {}

    std::int64_t size() const override { return sum(size_, &ResultSet::size); }
    std::int64_t hits() const override { return sum(hits_, &ResultSet::hits); }

    const std::vector<ResultSetPtr> &parts() const { return parts_; }

private:
    using Count = std::int64_t (ResultSet::*)() const;
    std::int64_t sum(std::optional<std::int64_t> &known, Count count) const;

    std::vector<ResultSetPtr> parts_;
    mutable std::optional<std::int64_t> size_;
    mutable std::optional<std::int64_t> hits_;
};

inline const std::vector<ResultSetPtr> &partsOf(const ResultSet &set) {
    return static_cast<const PartedSet &>(set).parts();
}

}  // namespace zdbs::embedded

#endif
