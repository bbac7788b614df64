#include "zdbs/sql/describer.h"

#include <algorithm>

#include "zdbs/base/stop.h"
#include "zdbs/sql/tree_teller.h"

namespace zdbs::sql {
namespace {

constexpr std::ptrdiff_t batch = 500;

}  // namespace

const RecordFacts &Describer::of(RecordId record) {
    heedStop();
    const State &state = excerpt_.state();
    const RowId row = state.rowOf(record);
    if (wanted_.document) facts_.document = state.documentOf(row).name;
    if (!wanted_.path && !wanted_.value) return facts_;
    fetch(record, row);
    const NodeRow &node = excerpt_.at(row);
    path_ = wanted_.path ? placeOf(excerpt_, node) : std::string();
    value_.clear();
    if (wanted_.value) addValue(node);
    facts_.path = path_;
    facts_.value = value_;
    return facts_;
}

void Describer::fetch(RecordId record, RowId row) {
    if (std::binary_search(fetched_.begin(), fetched_.end(), row)) return;
    const auto begin = std::lower_bound(told_.begin(), told_.end(), record);
    const auto count = std::min<std::ptrdiff_t>(batch, told_.end() - begin);
    fetched_.clear();
    if (count == 0 || *begin != record)
        fetched_.push_back(row);
    else
        std::transform(begin, begin + count, std::back_inserter(fetched_),
                       [this](RecordId each) { return excerpt_.state().rowOf(each); });
    std::sort(fetched_.begin(), fetched_.end());
    excerpt_.fetch(fetched_);
}

/** Of an element the texts below it. */
void Describer::addValue(const NodeRow &row) {
    if (!excerpt_.pathOf(row).is(NodeKind::element)) {
        value_ = row.value;
        return;
    }
    excerpt_.tell(row.below(), [this](const NodeRow &below) {
        if (excerpt_.pathOf(below).is(NodeKind::text)) value_ += below.value;
    });
}

}  // namespace zdbs::sql
