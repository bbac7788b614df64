#include "zdbs/embedded/embedded_database.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/embedded_tree.h"
#include "zdbs/embedded/evaluate/evaluator.h"
#include "zdbs/embedded/evaluate/node_set.h"
#include "zdbs/embedded/fragments/fragment_teller.h"
#include "zdbs/embedded/fragments/node_facts.h"
#include "zdbs/embedded/occurring_names.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

/** Hands numbers on in batches, so that their wider form takes no memory. */
class NumberCursor : public RecordCursor {
public:
    explicit NumberCursor(NodeIds numbers)
        : numbers_(std::move(numbers)), batch_(std::min(numbers_.size(), batchSize)) {}

    std::span<const RecordId> next() override {
        heedStop();
        const std::size_t count = std::min(batch_.size(), numbers_.size() - next_);
        std::copy_n(numbers_.begin() + static_cast<std::ptrdiff_t>(next_), count, batch_.begin());
        next_ += count;
        return std::span(batch_).first(count);
    }

private:
    static constexpr std::size_t batchSize = 1024;

    NodeIds numbers_;
    std::size_t next_ = 0;
    std::vector<RecordId> batch_;
};

class EmbeddedDatabase : public OpenDatabase {
public:
    EmbeddedDatabase(std::string name, SnapshotSource newest)
        : name_(std::move(name)), newest_(std::move(newest)) {
        refresh({});
    }

    const std::string &name() const override { return name_; }

    std::uint64_t state() const override { return table_->state(); }

    void refresh(std::span<ResultSetPtr> sets) override {
        std::shared_ptr<const NodeTable> newest = newest_();
        if (newest == table_) return;
        auto state =
            intact(*newest, [&] { return std::make_unique<const DatabaseState>(*newest); });
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

    std::unique_ptr<NodeTree> tree() const override { return makeEmbeddedTree(table_, *state_); }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        heedStop();
        auto lookup = [&sets](SetReference reference) { return nodesOf(*sets(reference)); };
        auto plan = std::make_shared<Plan>();
        return intact(*table_, [&] {
            return wrapped(Evaluator(*state_, lookup, plan).evaluate(condition), plan);
        });
    }

    std::string plan(const ResultSet &set) const override { return embedded(set).plan(); }

    RecordId record(const ResultSet &set, std::int64_t ordinal) const override {
        const auto place = static_cast<std::size_t>(ordinal) - 1;
        return intact(*table_, [&] { return RecordId{nodesOf(set)->nodes()->at(place)}; });
    }

    std::unique_ptr<RecordCursor> records(const ResultSet &set) const override {
        return intact(*table_, [&] { return std::make_unique<NumberCursor>(numbersOf(set)); });
    }

    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const override {
        return std::make_unique<NodeFacts>(*table_, wanted);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const override {
        return intact(*table_, [&] {
            return hitWordsOf(*table_, *nodesOf(set), static_cast<NodeId>(record));
        });
    }

    std::vector<OccurringName> names(const NamePlace &place) const override {
        const PathTable *paths = table_->paths();
        if (paths == nullptr || !state_->summary) return {};
        return occurringNames(*paths, *state_->summary, place);
    }

    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor) const override {
        intact(*table_, [&] {
            const std::unique_ptr<HitRanges> hits = hitRanges(marked);
            FragmentTeller(*table_, numbersOf, hits.get(), visitor).tell(numbersOf(matches), specs);
            return true;
        });
    }

private:
    static NodeIds numbersOf(const ResultSet &set) { return nodesOf(set)->nodes()->numbers(); }

    /** Where the value conditions of these sets hit; null where there are none. */
    std::unique_ptr<HitRanges> hitRanges(std::span<const ResultSetPtr> sets) const {
        std::vector<ValueLeafPtr> leaves;
        for (const ResultSetPtr &set : sets) {
            const auto &more = nodesOf(*set)->leaves();
            leaves.insert(leaves.end(), more.begin(), more.end());
        }
        return leaves.empty() ? nullptr : makeHitRanges(table_, std::move(leaves));
    }

    static ResultSetPtr carriedOver(const ResultSet &set,
                                    const std::shared_ptr<const NodeTable> &table) {
        const NodeTable &before = embedded(set).table();
        NodeIds present = intact(before, [&] { return nodesOf(set)->nodes()->numbers(); });
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

}  // namespace zdbs::embedded
