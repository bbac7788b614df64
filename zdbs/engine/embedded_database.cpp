#include "zdbs/engine/embedded_database.h"

#include <utility>

#include "zdbs/engine/evaluator.h"
#include "zdbs/engine/set_hits.h"
#include "zdbs/joins/documents.h"
#include "zdbs/sets/node_set.h"
#include "zdbs/sets/universe.h"

namespace zdbs {
namespace {

class EmbeddedSet : public ResultSet {
public:
    explicit EmbeddedSet(NodeSetPtr set) : set_(std::move(set)) {}

    std::int64_t size() const override { return static_cast<std::int64_t>(set_->size()); }
    const NodeSetPtr &nodes() const { return set_; }

private:
    NodeSetPtr set_;
};

const NodeSetPtr &nodesOf(const ResultSet &set) {
    return static_cast<const EmbeddedSet &>(set).nodes();
}

ResultSetPtr wrapped(NodeSetPtr set) {
    return std::make_shared<EmbeddedSet>(std::move(set));
}

class EmbeddedDatabase : public OpenDatabase {
public:
    EmbeddedDatabase(std::string name, SnapshotSource newest)
        : name_(std::move(name)), newest_(std::move(newest)) {
        refresh();
    }

    const std::string &name() const override { return name_; }

    bool refresh() override {
        std::shared_ptr<const NodeTable> newest = newest_();
        if (newest == table_) return false;
        universe_ = std::make_unique<Universe>(*newest);
        table_ = std::move(newest);
        return true;
    }

    ResultSetPtr carryOver(const ResultSetPtr &set) const override {
        NodeIds present;
        for (NodeId node : nodesOf(*set)->ids()) {
            if (isPresent(*table_, node)) present.push_back(node);
        }
        return wrapped(plainSet(std::move(present)));
    }

    ResultSetPtr everything() const override {
        return wrapped(makeSet({universe_->set()->nodes(), nullptr, nullptr, {}}));
    }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        auto lookup = [&sets](SetReference reference) { return nodesOf(*sets(reference)); };
        return wrapped(Evaluator(*table_, *universe_, lookup).evaluate(condition));
    }

    std::string plan(const Condition &condition) const override { return planOf(condition); }

    std::int64_t hits(const ResultSet &set) const override {
        return hitCountOf(*table_, *nodesOf(set));
    }

    NodeId record(const ResultSet &set, std::int64_t ordinal) const override {
        return nodesOf(set)->nodes()->at(static_cast<std::size_t>(ordinal) - 1);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, NodeId record) const override {
        return hitWordsOf(*table_, *nodesOf(set), record);
    }

    std::vector<NodeId> records(const ResultSet &set) const override {
        auto ids = nodesOf(set)->ids();
        return {ids.begin(), ids.end()};
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
    std::string name_;
    SnapshotSource newest_;
    std::shared_ptr<const NodeTable> table_;
    std::unique_ptr<Universe> universe_;
};

}  // namespace

std::unique_ptr<OpenDatabase> makeEmbeddedDatabase(std::string name, SnapshotSource newest) {
    return std::make_unique<EmbeddedDatabase>(std::move(name), std::move(newest));
}

}  // namespace zdbs
