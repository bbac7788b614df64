#include "zdbs/embedded/paths/path_numbers.h"

#include <mutex>
#include <utility>

namespace zdbs::embedded {

namespace {

std::mutex mutexOfTables;
std::size_t tablesMade = 0;

}  // namespace

// Never destroyed, and not the thread's own: the C library ends a process that has no memory for a
// thread's destructors.
std::vector<std::unique_ptr<PathNumbers::Table>> &PathNumbers::unused() {
    static auto *const tables = new std::vector<std::unique_ptr<Table>>;
    return *tables;
}

PathNumbers::PathNumbers(std::size_t paths) {
    {
        const std::lock_guard lock(mutexOfTables);
        auto &tables = unused();
        if (tables.empty()) {
            tables.reserve(tablesMade + 1);  // so that giving it back cannot fail
            table_ = std::make_unique<Table>();
            ++tablesMade;
        } else {
            table_ = std::move(tables.back());
            tables.pop_back();
        }
    }
    if (table_->numbers.size() < paths) table_->numbers.resize(paths);
}

PathNumbers::~PathNumbers() {
    for (PathId path : table_->used)
        table_->numbers[path] = 0;
    table_->used.clear();
    const std::lock_guard lock(mutexOfTables);
    unused().push_back(std::move(table_));
}

}  // namespace zdbs::embedded
