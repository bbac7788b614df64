#include "zdbs/embedded/paths/row_reader.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "zdbs/base/stop.h"

namespace zdbs::embedded {
namespace {

/** Rows that lie so far apart on average are looked up one by one. */
constexpr std::size_t gathered = 4;

}  // namespace

RowReader::RowReader(const PathTable &table, PathId path, const RowSet &rows)
    : runs_(table.runs(path)), source_(Source::set) {
    roaring_init_iterator(&rows.roaring, &place_);
    if (rows.isEmpty()) return;
    nextRow_ = rows.minimum();
    endRow_ = rows.maximum() + 1;
    if (rows.cardinality() == endRow_ - nextRow_) source_ = Source::range;
}

RowReader::RowReader(const PathTable &table, PathId path, const RowSet &rows, RowRange within)
    : RowReader(table, path, rows) {
    nextRow_ = std::max(nextRow_, within.first);
    endRow_ = std::max(nextRow_, std::min(endRow_, within.end));
    if (source_ == Source::set) roaring_move_uint32_iterator_equalorlarger(&place_, within.first);
}

RowReader::RowReader(const PathTable &table, PathId path, const RowBits &rows)
    : runs_(table.runs(path)), source_(Source::bits), words_(rows.words()) {}

RowReader::RowReader(const PathTable &table, PathId path, RowRange rows)
    : runs_(table.runs(path)), source_(Source::range), nextRow_(rows.first), endRow_(rows.end) {}

RowReader::RowReader(const PathTable &table, PathId path, std::span<const RowId> rows)
    : runs_(table.runs(path)), source_(Source::list), left_(rows) {}

bool RowReader::next(RowBatch &batch) {
    if (left_.empty() && !fill()) return false;
    heedStop();
    const RowId first = left_.front();
    if (runs_.front().endRow() <= first) {
        const auto run =
            std::upper_bound(runs_.begin(), runs_.end(), first,
                             [](RowId row, const PathRun &other) { return row < other.endRow(); });
        runs_ = {run, runs_.end()};
    }
    batch.run = &runs_.front();
    auto end = left_.begin() + static_cast<std::ptrdiff_t>(std::min(left_.size(), batchSize));
    if (*(end - 1) >= runs_.front().endRow()) {
        end = std::lower_bound(left_.begin(), end, runs_.front().endRow());
    }
    batch.rows = {left_.begin(), end};
    left_ = {end, left_.end()};
    return true;
}

bool RowReader::fill() {
    switch (source_) {
        case Source::set:
            fillFromSet();
            break;
        case Source::range:
            fillFromRange();
            break;
        case Source::bits:
            fillFromBits();
            break;
        case Source::list:
            break;  // all there is was there from the beginning
    }
    return !left_.empty();
}

void RowReader::fillFromSet() {
    std::size_t count = roaring_read_uint32_iterator(&place_, buffer_.data(),
                                                     static_cast<std::uint32_t>(batchSize));
    while (count > 0 && buffer_[count - 1] >= endRow_)
        --count;
    left_ = std::span(buffer_).first(count);
}

void RowReader::fillFromRange() {
    const std::size_t count = std::min<std::size_t>(batchSize, endRow_ - nextRow_);
    std::iota(buffer_.begin(), buffer_.begin() + count, nextRow_);
    nextRow_ += static_cast<RowId>(count);
    left_ = std::span(buffer_).first(count);
}

void RowReader::fillFromBits() {
    std::size_t count = 0;
    while (count < batchSize) {
        if (word_ == 0) {
            if (words_.empty()) break;
            word_ = words_.front();
            words_ = words_.subspan(1);
            nextRow_ += 64;
            continue;
        }
        for (; word_ != 0 && count < batchSize; word_ &= word_ - 1)
            buffer_[count++] = nextRow_ - 64 + static_cast<RowId>(std::countr_zero(word_));
    }
    left_ = std::span(buffer_).first(count);
}

void gather(const PackedColumn &column, RowId base, std::span<const RowId> rows,
            std::span<std::uint32_t> out) {
    const RowId first = rows.front();
    const std::size_t width = rows.back() - first + 1;
    if (width == rows.size()) {
        column.read(first - base, out.first(width));
    } else if (width <= gathered * rows.size()) {
        std::array<std::uint32_t, gathered * RowReader::batchSize> all;
        column.read(first - base, std::span(all).first(width));
        std::transform(rows.begin(), rows.end(), out.begin(),
                       [&](RowId row) { return all[row - first]; });
    } else {
        std::transform(rows.begin(), rows.end(), out.begin(),
                       [&](RowId row) { return column.at(row - base); });
    }
}

void readNodes(const RowBatch &batch, std::span<NodeId> out) {
    const PathRun &run = *batch.run;
    gather(run.nodes, run.firstRow, batch.rows, out);
    for (std::size_t i = 0; i < batch.rows.size(); ++i)
        out[i] += run.firstNode;
}

void readParents(const RowBatch &batch, std::span<RowId> out) {
    const PathRun &run = *batch.run;
    gather(run.parents, run.firstRow, batch.rows, out);
    // 0 is the last row before the base, so that the sum never wraps around.
    for (std::size_t i = 0; i < batch.rows.size(); ++i)
        out[i] = out[i] + run.parentBase - 1;
}

}  // namespace zdbs::embedded
