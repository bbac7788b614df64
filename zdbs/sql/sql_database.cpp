#include "zdbs/sql/sql_database.h"

#include <algorithm>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/counter.h"
#include "zdbs/sql/describer.h"
#include "zdbs/sql/evaluation.h"
#include "zdbs/sql/field_filter.h"
#include "zdbs/sql/fragment_teller.h"
#include "zdbs/sql/named_parts.h"
#include "zdbs/sql/row_reader.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/sql_tree.h"

namespace zdbs::sql {
namespace {

class Cursor : public RecordCursor {
public:
    /** @param told what was told last, for describers */
    Cursor(Connection &connection, const SqlSet &set, std::vector<RecordId> &told)
        : reader_(connection, set), told_(told) {}

    std::span<const RecordId> next() override {
        heedStop();
        if (!reader_.next(block_)) return {};
        told_ = block_.records;
        return block_.records;
    }

private:
    BlockReader reader_;
    Block block_;
    std::vector<RecordId> &told_;
};

/** What is limited to the rows that were there in a state. */
PathSet asOf(const State &state, const PathSet &set) {
    RowTest there;
    for (const RowRange &each : state.live) {
        if (!there.ranges.empty() && there.ranges.back().part == each.part)
            there.ranges.back().last = each.last;
        else
            there.ranges.push_back({each.part, 0, each.last});
    }
    const PredicatePtr test = predicate(std::move(there));
    PathSet all;
    for (const auto &[path, predicate] : set)
        all.emplace(path, test);
    return intersection(set, all);
}

class Database : public OpenDatabase {
public:
    Database(const Location &location, std::optional<std::string> user, std::string name)
        : name_(std::move(name)),
          user_(std::move(user)),
          connection_(location, [this](Connection &connection) { greet(connection); }),
          counter_(connection_) {
        auto named = partsNamed(connection_, name_);
        if (!named) throw Failure(Status::unknownDatabase, {name_});
        named_ = *std::move(named);
        takeUp(newest());
        sweepOthers();
    }

    const std::string &name() const override { return name_; }

    std::uint64_t state() const override { return static_cast<std::uint64_t>(state_->number); }

    void refresh(std::span<ResultSetPtr> sets) override {
        isLeaving_ = true;
        try {
            takeUpNewest(sets);
        } catch (...) {
            isLeaving_ = false;
            if (std::exchange(lacksRows_, false)) connection_.close();  // to be greeted anew
            throw;
        }
        isLeaving_ = lacksRows_ = false;
    }

    ResultSetPtr everything() const override {
        auto set = std::make_shared<SqlSet>(state_, everyNode(state_->summary));
        counter_.count(*set);
        return set;
    }

    std::unique_ptr<NodeTree> tree() const override {
        return makeSqlTree(connection_, counter_, state_);
    }

    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        heedStop();
        const SqlSetPtr found = evaluated(condition, setZero_, sets);
        if (found->isCounted) return found;
        const auto counted = std::make_shared<SqlSet>(*found);
        counter_.count(*counted);
        return counted;
    }

    std::string plan(const ResultSet &set) const override { return sqlSet(set).plan; }

    RecordId record(const ResultSet &set, std::int64_t ordinal) const override {
        const SqlSet &asked = sqlSet(set);
        const auto place = static_cast<std::uint64_t>(ordinal) - 1;
        Block &block = asked.block;
        if (place < block.before) block = {};
        BlockReader reader(connection_, asked);
        while (place >= block.before + block.records.size()) {
            if (!reader.next(block)) throw Failure(Status::noSuchRecord, {std::to_string(ordinal)});
        }
        return block.records[place - block.before];
    }

    RecordPlace placeOf(RecordId record) const override {
        const Document &document = state_->documents[state_->documentAt(record)];
        if (document.base == 0) return {name_, record};
        std::string part = nameOfPart(name_, static_cast<std::uint32_t>(document.part));
        if (isDatabase(connection_, part)) return {name_, record};
        return {std::move(part), record - static_cast<RecordId>(document.base)};
    }

    std::unique_ptr<RecordCursor> records(const ResultSet &set) const override {
        return std::make_unique<Cursor>(connection_, sqlSet(set), told_);
    }

    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const override {
        return std::make_unique<Describer>(connection_, state_, wanted, told_);
    }

    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const override {
        const auto part = static_cast<std::int32_t>(state_->documentAt(record)) + 1;
        return hitWordsOf(connection_, sqlSet(set), state_->rowOf(record), part);
    }

    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor) const override {
        FragmentTeller(connection_, sqlSet(matches), marked, visitor).tell(specs);
    }

private:
    /** A new connection is where the last one was. */
    void greet(Connection &connection) {
        if (!state_) return;
        holdAgain(connection, *state_);
        counter_.goOn();
        // A later state lacks nothing, and what a set has in both of them is there.
        if (isLeaving_)
            lacksRows_ = true;
        else
            requireRows(connection, *state_);
    }

    /** Whatever becomes of it, the database is open. */
    void sweepOthers() {
        try {
            sweepKeptRows(connection_);
        } catch (const Failure &failure) {
            if (failure.status() == Status::stopped) throw;
        }
    }

    void takeUpNewest(std::span<ResultSetPtr> sets) {
        StatePtr next = newest();
        if (next == state_) return;
        std::vector<ResultSetPtr> carried;
        try {
            for (const ResultSetPtr &set : sets)
                carried.push_back(set ? carriedOver(sqlSet(*set), next) : nullptr);
        } catch (...) {
            connection_.spreadOver(state_->spread);
            letGoOf(*next);
            if (connection_.isOpen()) enterCollection(connection_, state_->collection);
            throw;
        }
        // Nothing that is asked for fails from here on.
        std::swap_ranges(sets.begin(), sets.end(), carried.begin());
        const StatePtr before = state_;
        takeUp(next);
        try {
            letGoOf(*before);
        } catch (const Failure &) {
            connection_.close();  // which lets go of all
        }
    }

    /** The newest state, or the present one where that is it. */
    StatePtr newest() {
        const std::int64_t collection = collectionOf(connection_, named_.database, user_);
        const bool isSame = state_ && state_->collection == collection;
        if (!isSame) hold(connection_, collection);
        try {
            return takeNewest(connection_, collection, isSame ? state_ : nullptr, named_.part);
        } catch (...) {
            if (state_) connection_.spreadOver(state_->spread);
            if (!isSame && state_) leave(collection);
            throw;
        }
    }

    /** Back from a collection that could not be taken up. */
    void leave(std::int64_t collection) {
        if (!connection_.isOpen()) return;
        enterCollection(connection_, state_->collection);
        release(connection_, collection);
    }

    void letGoOf(const State &state) {
        if (!connection_.isOpen()) return;
        letGo(connection_, state.number);
        if (state.collection != state_->collection) release(connection_, state.collection);
    }

    void takeUp(StatePtr next) {
        state_ = std::move(next);
        auto set = std::make_shared<SqlSet>(state_, everyNode(state_->summary));
        set->isSetZero = true;
        setZero_ = std::move(set);
        told_.clear();
    }

    ResultSetPtr carriedOver(const SqlSet &set, const StatePtr &next) const {
        const bool isSame = set.state->collection == next->collection;
        auto carried =
            std::make_shared<SqlSet>(next, isSame ? asOf(*set.state, *set.paths) : PathSet());
        counter_.count(*carried);
        return carried;
    }

    std::string name_;
    NamedParts named_;
    std::optional<std::string> user_;
    mutable Connection connection_;
    mutable Counter counter_;
    StatePtr state_;
    bool isLeaving_ = false;  ///< for another state
    bool lacksRows_ = false;  ///< of the present state, perhaps
    SqlSetPtr setZero_;
    mutable std::vector<RecordId> told_;
};

}  // namespace

std::unique_ptr<OpenDatabase> openDatabase(const Location &location,
                                           std::optional<std::string> user, std::string name) {
    return std::make_unique<Database>(location, std::move(user), std::move(name));
}

}  // namespace zdbs::sql
