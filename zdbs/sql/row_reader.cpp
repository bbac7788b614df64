#include "zdbs/sql/row_reader.h"

#include <algorithm>

#include "zdbs/base/stop.h"
#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

constexpr std::uint64_t blockSize = 100000;  ///< records of a set that are fetched at once, about

}  // namespace

std::vector<RowId> rowsIn(Connection &connection, const SqlSet &set, const RowRanges &ranges) {
    heedStop();
    Statement statement;
    Selection selection(set.state->summary, statement);
    selection.limitTo(ranges);
    statement.text = selection.rowsOf(*set.paths);
    if (statement.text.empty() || ranges.empty()) return {};
    const Rows found = connection.ask(statement, "part int, id int");
    std::vector<RowId> rows;
    rows.reserve(static_cast<std::size_t>(found.size()));
    for (int row = 0; row < found.size(); ++row)
        rows.push_back(
            {static_cast<int>(found.number(row, 0)), static_cast<int>(found.number(row, 1))});
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

std::vector<RecordId> recordsIn(Connection &connection, const SqlSet &set, RecordId first,
                                RecordId end) {
    std::vector<RecordId> records;
    for (const RowId row : rowsIn(connection, set, set.state->rows(first, end)))
        records.push_back(set.state->recordOf(row));
    std::sort(records.begin(), records.end());
    return records;
}

BlockReader::BlockReader(Connection &connection, const SqlSet &set)
    : connection_(connection), set_(set) {
    end_ = set.state->documents.empty() ? 0 : set.state->documents.back().end();
    const std::uint64_t blocks = static_cast<std::uint64_t>(set.records) / blockSize + 1;
    stride_ = set.state->nodes() / blocks + 1;
}

bool BlockReader::next(Block &block) {
    do {
        if (block.end >= end_ || set_.records == 0) return false;
        block.before += block.records.size();
        const RecordId first = block.end;
        block.end = set_.state->behind(first, stride_);
        block.records = recordsIn(connection_, set_, first, block.end);
    } while (block.records.empty());
    return true;
}

}  // namespace zdbs::sql
