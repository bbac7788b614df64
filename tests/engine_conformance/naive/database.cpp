#include "tests/engine_conformance/naive/database.h"

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

#include "tests/engine_conformance/naive/fragments.h"
#include "tests/engine_conformance/naive/sets.h"
#include "tests/engine_conformance/naive/tree.h"
#include "zdbs/base/stop.h"

namespace zdbs::naive {
namespace {

const Set &naive(const ResultSet &set) {
    return static_cast<const Set &>(set);
}

/** One evaluation of a condition. */
class Evaluation {
public:
    Evaluation(const SetPtr &setZero, const SetLookup &sets) : setZero_(setZero), sets_(sets) {}

    SetPtr of(const Condition &condition) const {
        SetPtr result;
        for (const Conjunct &terms : condition.conjuncts)
            add(result, of(terms), unionOf);
        return result;
    }

private:
    using Operation = SetPtr (*)(const Set &, const Set &);

    static void add(SetPtr &result, SetPtr more, Operation operation) {
        result = result ? operation(*result, *more) : std::move(more);
    }

    /** Field terms are tested together, on what the sets leave; on every node without any. */
    SetPtr of(const Conjunct &terms) const {
        std::vector<const ConjunctTerm *> fields;
        SetPtr kept;
        SetPtr removed;
        for (const ConjunctTerm &each : terms) {
            if (std::holds_alternative<FieldTerm>(each.term))
                fields.push_back(&each);
            else if (each.negated)
                add(removed, of(each.term), unionOf);
            else
                add(kept, of(each.term), intersection);
        }
        SetPtr result = kept ? kept : filtered(*setZero_, fields);
        if (removed) result = difference(*result, *removed);
        if (kept && !fields.empty()) result = filtered(*result, fields);
        const bool beginsWithField = std::holds_alternative<FieldTerm>(terms.front().term);
        return beginsWithField ? withoutChain(*result) : result;
    }

    /** REQUIRES: no field term. */
    SetPtr of(const Term &term) const {
        if (const auto *set = std::get_if<SetReference>(&term))
            return set->number == 0 ? everyNode() : lookUp(*set);
        if (const auto *position = std::get_if<PositionTerm>(&term))
            return atPosition(*operand(position->set), position->relation, position->place);
        if (const auto *axis = std::get_if<AxisTerm>(&term)) {
            const auto join = axis->direction == 1 ? joinFirst : joinSecond;
            return join(operand(axis->first), axis->axis, operand(axis->second));
        }
        return of(*std::get<std::unique_ptr<Condition>>(term));
    }

    /** A chain is that of the first operand as written. */
    static SetPtr withoutChain(const Set &set) {
        auto result = std::make_shared<Set>(set);
        result->chain = nullptr;
        return result;
    }

    /** Numbered, it is no set 0 any more. */
    SetPtr everyNode() const { return std::make_shared<Set>(setZero_->forest, setZero_->nodes); }

    SetPtr operand(SetReference set) const { return set.number == 0 ? setZero_ : lookUp(set); }

    SetPtr lookUp(SetReference set) const {
        return std::static_pointer_cast<const Set>(sets_(set));
    }

    const SetPtr &setZero_;
    const SetLookup &sets_;
};

/** Tells a few at a time, so that nobody takes the first ones for all. */
class Cursor : public RecordCursor {
public:
    explicit Cursor(const Set &set) : set_(set) {}

    std::span<const RecordId> next() override {
        heedStop();
        std::size_t count = 0;
        for (; count < batch_.size() && told_ < set_.nodes.size(); ++told_)
            batch_[count++] = set_.forest->record(set_.nodes[told_]);
        return std::span(batch_).first(count);
    }

private:
    const Set &set_;
    std::size_t told_ = 0;
    std::array<RecordId, 3> batch_{};
};

class Describer : public RecordDescriber {
public:
    Describer(const Forest &forest, FactsWanted wanted) : forest_(forest), wanted_(wanted) {}

    const RecordFacts &of(RecordId record) override {
        heedStop();
        const Place node = forest_.find(record);
        path_ = pathOf(forest_, node);
        value_ = stringValueOf(forest_, node);
        if (wanted_.document) facts_.document = forest_.documents()[forest_.documentOf(node)]->name;
        if (wanted_.path) facts_.path = path_;
        if (wanted_.value) facts_.value = value_;
        return facts_;
    }

private:
    const Forest &forest_;
    FactsWanted wanted_;
    std::string path_;
    std::string value_;
    RecordFacts facts_;
};

class Database : public OpenDatabase {
public:
    Database(std::string name, NewestState newest)
        : name_(std::move(name)), newest_(std::move(newest)) {
        takeUp(newest_());
    }

    const std::string &name() const override { return name_; }
    std::uint64_t state() const override { return setZero_->forest->state(); }

    void refresh(std::span<ResultSetPtr> sets) override {
        const ForestPtr newest = newest_();
        if (newest == setZero_->forest) return;
        std::vector<ResultSetPtr> carried;
        for (const ResultSetPtr &set : sets)
            carried.push_back(set ? carriedOver(naive(*set), newest) : nullptr);
        std::copy(carried.begin(), carried.end(), sets.begin());
        takeUp(newest);
    }

    ResultSetPtr everything() const override {
        return std::make_shared<Set>(setZero_->forest, setZero_->nodes);
    }

    std::unique_ptr<NodeTree> tree() const override { return treeOf(setZero_->forest); }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        heedStop();
        return Evaluation(setZero_, sets).of(condition);
    }

    std::string plan(const ResultSet &) const override { return "every node looked at"; }

    RecordId record(const ResultSet &set, std::int64_t ordinal) const override {
        return forest().record(naive(set).nodes[static_cast<std::size_t>(ordinal) - 1]);
    }

    std::unique_ptr<RecordCursor> records(const ResultSet &set) const override {
        return std::make_unique<Cursor>(naive(set));
    }

    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const override {
        return std::make_unique<Describer>(forest(), wanted);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const override {
        return hitWordsOf(forest(), naive(set).leaves, forest().find(record));
    }

    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor) const override {
        Leaves leaves;
        NameNumbers numbers;
        for (const ResultSetPtr &set : marked)
            leaves.insert(leaves.end(), naive(*set).leaves.begin(), naive(*set).leaves.end());
        for (const Place from : naive(matches).nodes) {
            for (const FragmentSpec &spec : specs) {
                for (const Place node : selected(forest(), spec, from))
                    tell(node, leaves, numbers, visitor);
            }
        }
    }

private:
    const Forest &forest() const { return *setZero_->forest; }

    void takeUp(const ForestPtr &newest) {
        auto set = std::make_shared<Set>(newest, newest->records());
        set->isSetZero = true;
        setZero_ = std::move(set);
    }

    static ResultSetPtr carriedOver(const Set &set, const ForestPtr &newest) {
        Places places;
        for (const Place old : set.nodes)
            places.push_back(newest->find(set.forest->record(old)));
        std::erase(places, nowhere);
        return std::make_shared<Set>(newest, std::move(places));
    }

    void tell(Place node, const Leaves &marked, NameNumbers &numbers,
              FragmentVisitor &visitor) const {
        heedStop();
        const std::string &document = forest().documents()[forest().documentOf(node)]->name;
        const std::string path = pathOf(forest(), node);
        NodeEvents &events = visitor.beginFragment(forest().record(node), document, path);
        tellFragment(forest(), marked, numbers, node, events);
        visitor.endFragment();
    }

    std::string name_;
    NewestState newest_;
    SetPtr setZero_;
};

}  // namespace

std::unique_ptr<OpenDatabase> openDatabase(std::string name, NewestState newest) {
    return std::make_unique<Database>(std::move(name), std::move(newest));
}

}  // namespace zdbs::naive
