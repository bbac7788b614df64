#include "zdbs/sql/part_writers.h"

#include <algorithm>

#include "zdbs/base/part_size.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/shards.h"

namespace zdbs::sql {
namespace {

/** Of a part that takes no more documents: half of its numbers, so that any document has room. */
constexpr std::uint32_t rowsOfFull = std::uint32_t{1} << 30U;

}  // namespace

PartWriters::PartWriters(Connection &connection, SpreadPtr spread)
    : connection_(connection), spread_(std::move(spread)), full_(nodesOfPart(rowsOfFull)) {
    const Rows rows = connection_.run("select part, next from part order by part");
    for (int row = 0; row < rows.size(); ++row) {
        const int next = static_cast<int>(rows.number(row, 1));
        parts_.push_back({static_cast<int>(rows.number(row, 0)), next, next});
    }
    known_ = std::ssize(parts_);
}

ChangedPart &PartWriters::emptiest() {
    const auto found = std::min_element(
        parts_.begin(), parts_.end(),
        [](const ChangedPart &a, const ChangedPart &b) { return a.next < b.next; });
    if (static_cast<std::uint32_t>(found->next) < full_) return *found;
    parts_.push_back({static_cast<int>(parts_.size()), 0, 0, true});
    return parts_.back();
}

NodeWriter &PartWriters::of(int part) {
    return *table(tableOf(part)).writer;
}

Connection &PartWriters::connectionOf(int part) {
    return connectionOf(table(tableOf(part)));
}

PartWriters::Table &PartWriters::table(int number) {
    const auto found = tables_.find(number);
    if (found != tables_.end()) return found->second;
    Table made;
    if (spread_) {
        const Shard &shard = spread_->shards[static_cast<std::size_t>(number)];
        made.own = std::make_unique<Connection>(locationOf(connection_.location(), shard, 0));
        begin(*made.own, number);
    }
    made.writer = std::make_unique<NodeWriter>(connectionOf(made), isEmpty());
    return tables_.emplace(number, std::move(made)).first->second;
}

/** Whoever was killed there before may still be about to commit: it is waited for. */
void PartWriters::begin(Connection &shard, int number) {
    enterCollection(shard, spread_->collection);
    shard.run("begin");
    lockChanges(shard, spread_->collection);
    shard.run(spread_->required());
    for (const ChangedPart &each : parts_) {
        if (!each.isNew && tableOf(each.number) == number)
            shard.run(Statement::of("delete from node where part = $1 and id >= $2",
                                    std::int64_t{each.number}, std::int64_t{each.before}));
    }
    shard.run(Statement::of("delete from node where part >= $1", known_));
}

/** All of them: whoever asks one that has rows asks the others, too, and waits while there is none.
 */
bool PartWriters::isEmpty() const {
    return std::all_of(parts_.begin(), parts_.end(),
                       [](const ChangedPart &each) { return each.before == 0; });
}

void PartWriters::addLevels(int from, int to) {
    const int count = spread_ ? static_cast<int>(spread_->shards.size()) : 1;
    for (int number = 0; number < count; ++number)
        table(number).writer->addLevels(from, to);
}

void PartWriters::finish(std::int64_t state) {
    for (auto &[number, each] : tables_) {
        each.writer->finish();
        if (!each.own) continue;
        each.own->run(Statement::of("update fence set state = $1", state));
        connection_.run(Statement::of("update shard set fence = $2 where number = $1",
                                      std::int64_t{number}, state));
    }
    for (const ChangedPart &each : parts_) {
        if (!each.isChanged) continue;
        connection_.run(Statement::of(each.isNew ? "insert into part (part, next) values ($1, $2)"
                                                 : "update part set next = $2 where part = $1",
                                      std::int64_t{each.number}, std::int64_t{each.next}));
    }
}

void PartWriters::commit() {
    for (auto &[number, each] : tables_) {
        if (each.own) each.own->run("commit");
    }
}

void PartWriters::tidy() {
    for (auto &[number, each] : tables_)
        each.writer->tidy();
}

}  // namespace zdbs::sql
