#include "zdbs/embedded/evaluate/embedded_database.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zdbs/embedded/evaluate/evaluator.h"
#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/evaluate/set_hits.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs {
namespace {

/** Holds the table of its state: a set may be read once more when that is no longer the newest. */
class EmbeddedSet : public ResultSet {
public:
    EmbeddedSet(std::shared_ptr<const NodeTable> table, NodeSetPtr set, PlanPtr plan)
        : table_(std::move(table)), set_(std::move(set)), plan_(std::move(plan)) {}

    std::int64_t size() const override { return static_cast<std::int64_t>(set_->size()); }

    std::int64_t hits() const override {
        if (!hits_) hits_ = hitCountOf(*table_, *set_);
        return *hits_;
    }

    const NodeSetPtr &nodes() const { return set_; }
    std::string plan() const { return plan_ ? plan_->text() : std::string(); }

private:
    std::shared_ptr<const NodeTable> table_;
    NodeSetPtr set_;
    PlanPtr plan_;
    mutable std::optional<std::int64_t> hits_;
};

const EmbeddedSet &embedded(const ResultSet &set) {
    return static_cast<const EmbeddedSet &>(set);
}

const NodeSetPtr &nodesOf(const ResultSet &set) {
    return embedded(set).nodes();
}

class EmbeddedDatabase : public OpenDatabase {
public:
    EmbeddedDatabase(std::string name, SnapshotSource newest)
        : name_(std::move(name)), newest_(std::move(newest)) {
        refresh({});
    }

    const std::string &name() const override { return name_; }

    void refresh(std::span<ResultSetPtr> sets) override {
        std::shared_ptr<const NodeTable> newest = newest_();
        if (newest == table_) return;
        auto state = std::make_unique<const DatabaseState>(*newest);
        std::vector<ResultSetPtr> carried;
        carried.reserve(sets.size());
        for (const ResultSetPtr &set : sets)
            carried.push_back(set ? carriedOver(*set, newest) : nullptr);
        // Nothing fails from here on.
        std::swap_ranges(sets.begin(), sets.end(), carried.begin());
        state_ = std::move(state);
        table_ = std::move(newest);
    }

    ResultSetPtr everything() const override {
        return wrapped(makeSet({state_->universe.set()->nodes(), nullptr, nullptr, {}}), nullptr);
    }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        auto lookup = [&sets](SetReference reference) { return nodesOf(*sets(reference)); };
        auto plan = std::make_shared<Plan>();
        return wrapped(Evaluator(*state_, lookup, plan).evaluate(condition), plan);
    }

    std::string plan(const ResultSet &set) const override { return embedded(set).plan(); }

    NodeId record(const ResultSet &set, std::int64_t ordinal) const override {
        return nodesOf(set)->nodes()->at(static_cast<std::size_t>(ordinal) - 1);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, NodeId record) const override {
        return hitWordsOf(*table_, *nodesOf(set), record);
    }

    std::vector<NodeId> records(const ResultSet &set) const override {
        return nodesOf(set)->nodes()->numbers();
    }

    std::shared_ptr<const NodeTable> nodes() const override { return table_; }

    std::unique_ptr<HitRanges> hitRanges(std::span<const ResultSetPtr> sets) const override {
        std::vector<ValueLeafPtr> leaves;
        for (const ResultSetPtr &set : sets) {
            const auto &more = nodesOf(*set)->leaves();
            leaves.insert(leaves.end(), more.begin(), more.end());
        }
        return makeHitRanges(table_, std::move(leaves));
    }

private:
    static ResultSetPtr carriedOver(const ResultSet &set,
                                    const std::shared_ptr<const NodeTable> &table) {
        NodeIds present = nodesOf(set)->nodes()->numbers();
        std::erase_if(present, [&table](NodeId node) { return !isPresent(*table, node); });
        auto carried = std::make_shared<EmbeddedSet>(table, plainSet(std::move(present)), nullptr);
        carried->hits();  // known from the start, as its size is
        return carried;
    }

    ResultSetPtr wrapped(NodeSetPtr set, PlanPtr plan) const {
        return std::make_shared<EmbeddedSet>(table_, std::move(set), std::move(plan));
    }

    std::string name_;
    SnapshotSource newest_;
    std::shared_ptr<const NodeTable> table_;
    std::unique_ptr<const DatabaseState> state_;
};

}  // namespace

std::unique_ptr<OpenDatabase> makeEmbeddedDatabase(std::string name, SnapshotSource newest) {
    return std::make_unique<EmbeddedDatabase>(std::move(name), std::move(newest));
}

}  // namespace zdbs
