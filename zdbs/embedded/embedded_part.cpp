#include "zdbs/embedded/embedded_part.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/embedded_tree.h"
#include "zdbs/embedded/fragments/fragment_teller.h"
#include "zdbs/embedded/fragments/node_facts.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

/** Hands numbers on in batches, so that their wider form takes no memory. */
class NumberCursor : public RecordCursor {
public:
    NumberCursor(const NodeTable &table, const NodeList &list, RecordId before)
        : table_(table), before_(before) {
        if (list.table() == nullptr)
            numbers_ = list.numbers();
        else
            stretches_.emplace(*list.table(), list.byPath(*list.table()));
    }

    std::span<const RecordId> next() override {
        heedStop();
        if (next_ == numbers_.size() && stretches_) {
            numbers_ = intact(table_, [this] { return stretches_->next(); });
            next_ = 0;
        }
        const auto left = std::span(numbers_).subspan(next_);
        const std::size_t count = std::min(batchSize, left.size());
        batch_.resize(count);
        std::ranges::transform(left.first(count), batch_.begin(),
                               [this](NodeId node) { return before_ + node; });
        next_ += count;
        return batch_;
    }

private:
    static constexpr std::size_t batchSize = 1024;

    const NodeTable &table_;
    std::optional<NumberStretches> stretches_;
    NodeIds numbers_;
    RecordId before_;
    std::size_t next_ = 0;
    std::vector<RecordId> batch_;
};

/** Tells the records of a part as those of the database. */
class VisitorOfPart : public FragmentVisitor {
public:
    VisitorOfPart(FragmentVisitor &visitor, RecordId before) : visitor_(visitor), before_(before) {}

    NodeEvents &beginFragment(RecordId record, std::string_view document,
                              std::string_view path) override {
        return visitor_.beginFragment(before_ + record, document, path);
    }
    void endFragment() override { visitor_.endFragment(); }

private:
    FragmentVisitor &visitor_;
    RecordId before_;
};

class DescriberOfPart final : public RecordDescriber {
public:
    DescriberOfPart(const NodeTable &table, FactsWanted wanted, RecordId before)
        : facts_(table, wanted), before_(before) {}

    const RecordFacts &of(RecordId record) override { return facts_.of(record - before_); }

private:
    NodeFacts facts_;
    RecordId before_;
};

NodeSetLookup nodeSets(const SetLookup &sets) {
    return [&sets](SetReference reference) { return nodesOf(*sets(reference)); };
}

NodeIds numbersOf(const ResultSet &set) {
    return nodesOf(set)->nodes()->numbers();
}

}  // namespace

EmbeddedPart::EmbeddedPart(std::shared_ptr<const NodeTable> table, PartPlace place)
    : table_(std::move(table)), place_(place), state_(*table_, place_.before) {
    table_->requireIntact();
}

std::unique_ptr<NodeTree> EmbeddedPart::tree() const {
    return makeEmbeddedTree(table_, state_);
}

ResultSetPtr EmbeddedPart::everything() const {
    return wrapped(makeSet({state_.universe.set()->nodes(), nullptr, nullptr, {}}), nullptr);
}

ResultSetPtr EmbeddedPart::evaluate(const Condition &condition, const SetLookup &sets,
                                    const ChildTerms &known) const {
    heedStop();
    auto plan = std::make_shared<Plan>();
    return intact(*table_, [&] {
        const Evaluator evaluator(state_, nodeSets(sets), plan, known);
        return wrapped(evaluator.evaluate(condition), plan);
    });
}

SecondSide EmbeddedPart::secondSide(const AxisTerm &term, const SetLookup &sets) const {
    heedStop();
    return intact(*table_,
                  [&] { return Evaluator(state_, nodeSets(sets), nullptr).secondSide(term); });
}

RecordId EmbeddedPart::record(const ResultSet &set, std::int64_t ordinal) const {
    const auto place = static_cast<std::size_t>(ordinal) - 1;
    return intact(*table_, [&] { return place_.before + nodesOf(set)->nodes()->at(place); });
}

std::unique_ptr<RecordCursor> EmbeddedPart::records(const ResultSet &set) const {
    return intact(*table_, [&] {
        return std::make_unique<NumberCursor>(*table_, *nodesOf(set)->nodes(), place_.before);
    });
}

std::unique_ptr<RecordDescriber> EmbeddedPart::describer(FactsWanted wanted) const {
    if (place_.before == 0) return std::make_unique<NodeFacts>(*table_, wanted);
    return std::make_unique<DescriberOfPart>(*table_, wanted, place_.before);
}

std::vector<HitWord> EmbeddedPart::hitWords(const ResultSet &set, RecordId record) const {
    auto words =
        intact(*table_, [&] { return hitWordsOf(*table_, *nodesOf(set), nodeOf(record)); });
    for (HitWord &word : words)
        word.part += static_cast<std::int32_t>(place_.documents);
    return words;
}

void EmbeddedPart::fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                             std::span<const ResultSetPtr> marked, const SetNodes &sets,
                             FragmentVisitor &visitor) const {
    std::optional<VisitorOfPart> ofPart;
    if (place_.before != 0) ofPart.emplace(visitor, place_.before);
    FragmentVisitor &told = ofPart ? *ofPart : visitor;
    intact(*table_, [&] {
        const std::unique_ptr<HitRanges> hits = hitRanges(marked);
        FragmentTeller(*table_, sets, hits.get(), told).tell(numbersOf(matches), specs);
        return true;
    });
}

/** Where the value conditions of these sets hit; null where there are none. */
std::unique_ptr<HitRanges> EmbeddedPart::hitRanges(std::span<const ResultSetPtr> sets) const {
    std::vector<ValueLeafPtr> leaves;
    for (const ResultSetPtr &set : sets) {
        const auto &more = nodesOf(*set)->leaves();
        leaves.insert(leaves.end(), more.begin(), more.end());
    }
    return leaves.empty() ? nullptr : makeHitRanges(table_, std::move(leaves));
}

ResultSetPtr EmbeddedPart::carriedOver(const ResultSet *set) const {
    NodeIds present;
    if (set != nullptr) present = intact(embedded(*set).table(), [&] { return numbersOf(*set); });
    std::erase_if(present, [this](NodeId node) { return !isPresent(*table_, node); });
    ResultSetPtr carried = wrapped(plainSet(std::move(present)), nullptr);
    carried->hits();  // known from the start, as its size is
    return carried;
}

ResultSetPtr EmbeddedPart::wrapped(NodeSetPtr set, PlanPtr plan) const {
    return std::make_shared<EmbeddedSet>(table_, std::move(set), std::move(plan));
}

}  // namespace zdbs::embedded
