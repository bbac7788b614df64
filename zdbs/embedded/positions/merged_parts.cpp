#include "zdbs/embedded/positions/merged_parts.h"

#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
namespace {

RowSetPtr rowsOf(const PathTable &table, const PathPart &part, const NumberIndex &isChosen) {
    RowCollector kept;
    RowReader reader(table, part.path, *part.rows);
    std::array<NodeId, RowReader::batchSize> numbers;
    std::array<RowId, RowReader::batchSize> rows;
    for (RowBatch batch; reader.next(batch);) {
        readNodes(batch, numbers);
        std::size_t count = 0;
        for (std::size_t i = 0; i < batch.rows.size(); ++i) {
            rows[count] = batch.rows[i];
            count += isChosen.contains(numbers[i]) ? 1 : 0;
        }
        kept.add(std::span(rows).first(count));
    }
    return kept.finishPart(table, part.path, part.rows);
}

}  // namespace

NumberIndex::NumberIndex(std::span<const NodeId> ascending)
    : list_(ascending), first_(ascending.front()), width_(ascending.back() - first_ + 1) {
    if (width_ / thin > ascending.size()) return;
    words_.resize(width_ / 64 + 1);
    before_.resize(words_.size());
    for (NodeId node : ascending)
        words_[(node - first_) / 64] |= std::uint64_t{1} << (node - first_) % 64;
    for (std::size_t word = 1; word < words_.size(); ++word)
        before_[word] = before_[word - 1] + bitCount(words_[word - 1]);
}

std::size_t NumberIndex::search(NodeId number) const {
    const auto found = std::lower_bound(list_.begin(), list_.end(), number);
    return static_cast<std::size_t>(found - list_.begin());
}

SliceCollector::SliceCollector(const RowSet &rows) : first_(rows.minimum()) {
    if (rows.cardinality() == rows.maximum() - first_ + 1) return;
    forRows(rows, [this](std::span<const RowId> batch) {
        list_.insert(list_.end(), batch.begin(), batch.end());
    });
}

RowSetPtr SliceCollector::finish(const PathTable &table, const PathPart &part) {
    flush();
    return kept_.finishPart(table, part.path, part.rows);
}

void SliceCollector::addLong(std::uint64_t first, std::uint64_t end) {
    flush();
    if (list_.empty()) {
        kept_.addRange(rowAt(first), rowAt(end));
    } else {
        kept_.add(std::span(list_).subspan(first, end - first));
    }
}

void SliceCollector::flush() {
    kept_.add(std::span(buffer_).first(count_));
    count_ = 0;
}

void MergedParts::addChosen(const NodeIds &chosen, PathNodes &result) const {
    if (chosen.empty()) return;
    const NumberIndex isChosen(chosen);
    for (const PathPart &part : parts_)
        addRows(part.path, rowsOf(table_, part, isChosen), result);
}

}  // namespace zdbs::embedded
