#include "zdbs/embedded/embedded_database.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <variant>

#include "zdbs/base/part_name.h"
#include "zdbs/embedded/embedded_part.h"
#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/occurring_names.h"
#include "zdbs/embedded/part_work.h"
#include "zdbs/embedded/parted_tree.h"

namespace zdbs::embedded {
namespace {

using Parts = std::vector<std::unique_ptr<const EmbeddedPart>>;
using PartsPtr = std::shared_ptr<const Parts>;

/** The records of one part after the other; those of a part are found when it is its turn. */
class PartedCursor : public RecordCursor {
public:
    PartedCursor(PartsPtr parts, const ResultSet &set) : parts_(std::move(parts)), set_(set) {}

    std::span<const RecordId> next() override {
        for (;;) {
            if (cursor_) {
                const auto records = cursor_->next();
                if (!records.empty()) return records;
            }
            if (next_ == parts_->size()) return {};
            cursor_ = (*parts_)[next_]->records(*partsOf(set_)[next_]);
            ++next_;
        }
    }

private:
    PartsPtr parts_;
    const ResultSet &set_;
    std::unique_ptr<RecordCursor> cursor_;
    std::size_t next_ = 0;
};

class PartedDescriber : public RecordDescriber {
public:
    PartedDescriber(PartsPtr parts, FactsWanted wanted)
        : parts_(std::move(parts)), wanted_(wanted), describers_(parts_->size()) {}

    const RecordFacts &of(RecordId record) override {
        auto &describer = describers_.at(partOf(record));
        if (!describer) describer = parts_->at(partOf(record))->describer(wanted_);
        return describer->of(record);
    }

private:
    PartsPtr parts_;
    FactsWanted wanted_;
    std::vector<std::unique_ptr<RecordDescriber>> describers_;  ///< by part; null: not asked yet
};

/** Finds the terms of a condition that have the axis `child`. */
void addChildTerms(const Condition &condition, ChildTerms &terms) {
    for (const Conjunct &conjunct : condition.conjuncts) {
        for (const ConjunctTerm &each : conjunct) {
            if (const auto *inner = std::get_if<std::unique_ptr<Condition>>(&each.term))
                addChildTerms(**inner, terms);
            const auto *axis = std::get_if<AxisTerm>(&each.term);
            if (axis != nullptr && axis->axis == Axis::child) terms.emplace(axis, false);
        }
    }
}

class EmbeddedDatabase : public OpenDatabase {
public:
    EmbeddedDatabase(std::string name, StateSource newest, NameIsTaken isTaken, NewestKnown known)
        : name_(std::move(name)),
          newest_(std::move(newest)),
          isTaken_(std::move(isTaken)),
          known_(std::move(known)) {
        refresh({});
    }

    const std::string &name() const override { return name_; }

    std::uint64_t state() const override { return tables_->front()->state(); }
    StateIdentity newestState() const override { return known_ ? known_() : nullptr; }

    void refresh(std::span<ResultSetPtr> sets) override {
        std::shared_ptr<const PartTables> newest = newest_();
        if (newest == tables_) return;
        PartsPtr parts = partsOver(*newest);
        std::vector<ResultSetPtr> carried;
        carried.reserve(sets.size());
        for (const ResultSetPtr &set : sets)
            carried.push_back(set ? carriedOver(*set, *parts) : nullptr);
        // Nothing fails from here on.
        std::swap_ranges(sets.begin(), sets.end(), carried.begin());
        parts_ = std::move(parts);
        tables_ = std::move(newest);
    }

    ResultSetPtr everything() const override {
        return setOfEach(*parts_,
                         [](const EmbeddedPart &part, std::size_t) { return part.everything(); });
    }

    std::unique_ptr<NodeTree> tree() const override {
        if (isWhole()) return parts_->front()->tree();
        std::vector<std::unique_ptr<NodeTree>> trees;
        for (const auto &part : *parts_)
            trees.push_back(part->tree());
        return makePartedTree(std::move(trees));
    }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        if (isWhole()) return parts_->front()->evaluate(condition, sets);
        std::mutex mutex;  // of `sets`, which is this thread's
        const auto setsOf = [&](std::size_t number) -> SetLookup {
            return [&, number](SetReference reference) {
                const std::lock_guard lock(mutex);
                return partsOf(*sets(reference))[number];
            };
        };
        ChildTerms known;
        addChildTerms(condition, known);
        for (auto &[term, attributesOnly] : known)
            attributesOnly = hasAttributesOnly(*term, setsOf);
        return setOfEach(*parts_, [&](const EmbeddedPart &part, std::size_t number) {
            return part.evaluate(condition, setsOf(number), known);
        });
    }

    std::string plan(const ResultSet &set) const override {
        Plan plan;
        for (std::size_t number = 0; number < parts_->size(); ++number) {
            if (const PlanPtr &more = embedded(ofPart(set, number)).plan()) plan.note(*more);
        }
        return plan.text();
    }

    RecordId record(const ResultSet &set, std::int64_t ordinal) const override {
        std::size_t number = 0;
        for (; number + 1 < parts_->size(); ++number) {
            const std::int64_t size = ofPart(set, number).size();
            if (ordinal <= size) break;
            ordinal -= size;
        }
        return (*parts_)[number]->record(ofPart(set, number), ordinal);
    }

    RecordPlace placeOf(RecordId record) const override {
        if (isWhole() || partOf(record) == 0) return {name_, record};
        std::string part = nameOfPart(name_, partOf(record));
        if (isTaken_ && isTaken_(part)) return {name_, record};
        return {std::move(part), nodeOf(record)};
    }

    std::unique_ptr<RecordCursor> records(const ResultSet &set) const override {
        if (isWhole()) return parts_->front()->records(set);
        return std::make_unique<PartedCursor>(parts_, set);
    }

    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const override {
        if (isWhole()) return parts_->front()->describer(wanted);
        return std::make_unique<PartedDescriber>(parts_, wanted);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const override {
        const std::size_t number = isWhole() ? 0 : partOf(record);
        return parts_->at(number)->hitWords(ofPart(set, number), record);
    }

    std::vector<OccurringName> names(const NamePlace &place) const override {
        std::vector<SummaryOfPart> summaries;
        for (const auto &part : *parts_) {
            if (part->summary() == nullptr) return {};
            summaries.push_back({*part->table().paths(), *part->summary()});
        }
        return occurringNames(summaries, place);
    }

    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor) const override {
        for (std::size_t number = 0; number < parts_->size(); ++number) {
            std::vector<ResultSetPtr> own(marked.begin(), marked.end());
            if (!isWhole()) {
                for (ResultSetPtr &set : own)
                    set = partsOf(*set)[number];
            }
            const auto nodes = [this, number](const ResultSet &set) {
                return nodesOf(ofPart(set, number))->nodes()->numbers();
            };
            (*parts_)[number]->fragments(ofPart(matches, number), specs, own, nodes, visitor);
        }
    }

private:
    static PartsPtr partsOver(const PartTables &tables) {
        std::vector<PartPlace> places(tables.size());
        for (PartNumber number = 1; number < tables.size(); ++number)
            places[number] = {recordOf(number, 0), places[number - 1].documents +
                                                       tables[number - 1]->documents().size()};
        Parts parts(tables.size());
        forEachPart(parts.size(), [&](std::size_t number) {
            parts[number] = std::make_unique<const EmbeddedPart>(tables[number], places[number]);
        });
        return std::make_shared<const Parts>(std::move(parts));
    }

    /** Whether the database has one part, whose sets are those of the database. */
    bool isWhole() const { return parts_->size() == 1; }

    const ResultSet &ofPart(const ResultSet &set, std::size_t number) const {
        return isWhole() ? set : *partsOf(set)[number];
    }

    template <typename Make>
    static ResultSetPtr setOfEach(const Parts &parts, const Make &make) {
        if (parts.size() == 1) return make(*parts.front(), 0);
        std::vector<ResultSetPtr> sets(parts.size());
        forEachPart(parts.size(),
                    [&](std::size_t number) { sets[number] = make(*parts[number], number); });
        return std::make_shared<PartedSet>(std::move(sets));
    }

    /** Of the second side of a term: in all parts together, for that changes what it means. */
    template <typename SetsOf>
    bool hasAttributesOnly(const AxisTerm &term, const SetsOf &setsOf) const {
        std::vector<SecondSide> sides(parts_->size());
        forEachPart(sides.size(), [&](std::size_t number) {
            sides[number] = (*parts_)[number]->secondSide(term, setsOf(number));
        });
        return std::ranges::find(sides, SecondSide::others) == sides.end();
    }

    /** A part has the same number in every state. */
    ResultSetPtr carriedOver(const ResultSet &set, const Parts &parts) const {
        ResultSetPtr carried = setOfEach(parts, [&](const EmbeddedPart &part, std::size_t number) {
            return part.carriedOver(number < parts_->size() ? &ofPart(set, number) : nullptr);
        });
        carried->hits();
        return carried;
    }

    std::string name_;
    StateSource newest_;
    NameIsTaken isTaken_;
    NewestKnown known_;
    std::shared_ptr<const PartTables> tables_;
    PartsPtr parts_;
};

}  // namespace

std::unique_ptr<OpenDatabase> makeEmbeddedDatabase(std::string name, StateSource newest,
                                                   NameIsTaken isTaken, NewestKnown known) {
    return std::make_unique<EmbeddedDatabase>(std::move(name), std::move(newest),
                                              std::move(isTaken), std::move(known));
}

}  // namespace zdbs::embedded
