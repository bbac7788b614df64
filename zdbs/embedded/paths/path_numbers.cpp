#include "zdbs/embedded/paths/path_numbers.h"

#include <utility>

namespace zdbs::embedded {

std::vector<std::unique_ptr<PathNumbers::Table>> &PathNumbers::unused() {
    thread_local std::vector<std::unique_ptr<Table>> tables;
    return tables;
}

PathNumbers::PathNumbers(std::size_t paths) {
    auto &tables = unused();
    if (tables.empty()) {
        table_ = std::make_unique<Table>();
        tables.reserve(tables.capacity() + 1);  // so that giving it back cannot fail
    } else {
        table_ = std::move(tables.back());
        tables.pop_back();
    }
    if (table_->numbers.size() < paths) table_->numbers.resize(paths);
}

PathNumbers::~PathNumbers() {
    for (PathId path : table_->used)
        table_->numbers[path] = 0;
    table_->used.clear();
    unused().push_back(std::move(table_));
}

}  // namespace zdbs::embedded
