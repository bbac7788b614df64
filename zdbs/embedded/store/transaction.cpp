// The transactions of an environment.
#include <cerrno>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/lmdb_values.h"

namespace zdbs::embedded {

namespace {

/** LMDB reported that the map is full; ends a run of WriteTransaction::run(). */
struct MapFull {};

class Cursor {
public:
    Cursor(MDB_txn *transaction, MDB_dbi table)
        : error_(::mdb_cursor_open(transaction, table, &cursor_)) {}
    ~Cursor() {
        if (cursor_) ::mdb_cursor_close(cursor_);
    }
    Cursor(const Cursor &) = delete;
    Cursor &operator=(const Cursor &) = delete;

    /** Moves; `key` is where to for MDB_SET_RANGE. Answers LMDB's error number. */
    int move(MDB_cursor_op where, std::string_view key = {}) {
        if (error_ != MDB_SUCCESS) return error_;
        key_ = toVal(key);
        return ::mdb_cursor_get(cursor_, &key_, &record_, where);
    }
    std::string_view key() const { return toView(key_); }
    std::string_view record() const { return toView(record_); }

private:
    MDB_cursor *cursor_ = nullptr;
    int error_;
    MDB_val key_{};
    MDB_val record_{};
};

}  // namespace

ReadTransaction::ReadTransaction(std::shared_ptr<Environment> environment)
    : environment_(std::move(environment)), transaction_(environment_->beginRead()) {}

ReadTransaction::~ReadTransaction() {
    environment_->endRead(transaction_);
}

std::optional<std::string_view> ReadTransaction::get(Table table, std::string_view key) const {
    MDB_val keyVal = toVal(key);
    MDB_val record{};
    const MDB_dbi handle = environment_->tables_[static_cast<std::size_t>(table)];
    const int error = ::mdb_get(transaction_, handle, &keyVal, &record);
    if (error == MDB_NOTFOUND) return std::nullopt;
    if (error != MDB_SUCCESS) environment_->fail(error);
    return environment_->recordOf(table, key, toView(record));
}

void ReadTransaction::forEach(Table table, const Visitor &visit) const {
    forEachStored(table, [&](std::string_view key, std::string_view bytes) {
        return visit(key, environment_->recordOf(table, key, bytes));
    });
}

void ReadTransaction::forEachStored(Table table, const Visitor &visit) const {
    Cursor cursor(transaction_, environment_->tables_[static_cast<std::size_t>(table)]);
    int error = cursor.move(MDB_FIRST);
    while (error == MDB_SUCCESS && visit(cursor.key(), cursor.record()))
        error = cursor.move(MDB_NEXT);
    if (error != MDB_SUCCESS && error != MDB_NOTFOUND) environment_->fail(error);
}

void ReadTransaction::forEachFrom(Table table, std::string_view first, const Visitor &visit) const {
    Cursor cursor(transaction_, environment_->tables_[static_cast<std::size_t>(table)]);
    int error = cursor.move(MDB_SET_RANGE, first);
    if (error == MDB_NOTFOUND)
        error = cursor.move(MDB_LAST);
    else if (error == MDB_SUCCESS && cursor.key() != first && cursor.move(MDB_PREV) != MDB_SUCCESS)
        error = cursor.move(MDB_FIRST);
    while (error == MDB_SUCCESS &&
           visit(cursor.key(), environment_->recordOf(table, cursor.key(), cursor.record())))
        error = cursor.move(MDB_NEXT);
    if (error != MDB_SUCCESS && error != MDB_NOTFOUND) environment_->fail(error);
}

std::uint64_t ReadTransaction::commit() const {
    return ::mdb_txn_id(transaction_);
}

TableSize ReadTransaction::size(Table table) const {
    MDB_stat stat{};
    const MDB_dbi handle = environment_->tables_[static_cast<std::size_t>(table)];
    const int error = ::mdb_stat(transaction_, handle, &stat);
    if (error != MDB_SUCCESS) environment_->fail(error);
    const std::uint64_t pages = stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages;
    return {pages * stat.ms_psize, stat.ms_entries};
}

void WriteTransaction::run(Environment &environment,
                           const std::function<void(WriteTransaction &)> &work) {
    if (environment.readOnly_)
        throwWriteError(EROFS, environment.directory_ / Environment::dataFileName);
    for (;;) {
        try {
            WriteTransaction transaction(environment);
            work(transaction);
            transaction.commit();
            return;
        } catch (const MapFull &) {
            environment.grow();
        }
    }
}

WriteTransaction::WriteTransaction(Environment &environment) : environment_(environment) {
    if (environment_.broken_)
        throw Failure(Status::storeFailed, {environment_.directory_.native() +
                                            ": a write failed before, and this process ends"});
    check(::mdb_txn_begin(environment_.env_, nullptr, 0, &transaction_));
}

WriteTransaction::~WriteTransaction() {
    if (transaction_) ::mdb_txn_abort(transaction_);
}

void WriteTransaction::commit() {
    check(::mdb_txn_commit(std::exchange(transaction_, nullptr)));
}

void WriteTransaction::check(int error) const {
    if (error == MDB_SUCCESS) return;
    if (error == MDB_MAP_FULL || error == MDB_MAP_RESIZED) throw MapFull{};
    environment_.broken_ = true;
    environment_.fail(error);
}

std::optional<std::string> WriteTransaction::get(Table table, std::string_view key) const {
    MDB_val keyVal = toVal(key);
    MDB_val record{};
    const MDB_dbi handle = environment_.tables_[static_cast<std::size_t>(table)];
    const int error = ::mdb_get(transaction_, handle, &keyVal, &record);
    if (error == MDB_NOTFOUND) return std::nullopt;
    check(error);
    return std::string(environment_.recordOf(table, key, toView(record)));
}

void WriteTransaction::put(Table table, std::string_view key, std::string_view record) {
    MDB_val keyVal = toVal(key);
    const std::string bytes = sealed(table, key, record);
    MDB_val recordVal = toVal(bytes);
    const MDB_dbi handle = environment_.tables_[static_cast<std::size_t>(table)];
    check(::mdb_put(transaction_, handle, &keyVal, &recordVal, 0));
}

void WriteTransaction::remove(Table table, std::string_view key) {
    MDB_val keyVal = toVal(key);
    const MDB_dbi handle = environment_.tables_[static_cast<std::size_t>(table)];
    const int error = ::mdb_del(transaction_, handle, &keyVal, nullptr);
    if (error != MDB_NOTFOUND) check(error);
}

void WriteTransaction::clear(Table table) {
    check(::mdb_drop(transaction_, environment_.tables_[static_cast<std::size_t>(table)], 0));
}

}  // namespace zdbs::embedded
