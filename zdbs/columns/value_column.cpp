#include "zdbs/columns/value_column.h"

#include <algorithm>
#include <cassert>

#include "zdbs/columns/row_list.h"
#include "zdbs/columns/value_layout.h"
#include "zdbs/columns/value_search.h"

namespace zdbs {
namespace {

ValueColumn::Sizes sizesOf(const ShortValues & /*values*/, std::size_t all) {
    return {.values = all};
}

ValueColumn::Sizes sizesOf(const PlainValues &values, std::size_t all) {
    auto [text, number, trigrams] = values.indexSizes();
    return {all - text - number - trigrams, text, number, trigrams};
}

ValueColumn::Sizes sizesOf(const DictionaryValues &values, std::size_t all) {
    ValueColumn::Sizes sizes = ValueColumn(values.distinct()).sizes();
    sizes.values += all - values.distinct().size() - values.postingsSize();
    sizes.textOrder += values.postingsSize();
    return sizes;
}

}  // namespace

std::optional<bool> answerForAll(const ValueTest &test) {
    switch (test.relation()) {
        case Relation::any:
            return true;
        case Relation::notEmpty:
            return std::nullopt;
        case Relation::contains:
            if (test.literal().empty()) return true;
            break;
        default:
            break;
    }
    if (test.isWellFormed()) return std::nullopt;
    return test.relation() == Relation::notEqual;
}

ValueIndex indexFor(const ShortValues & /*values*/, const ValueTest & /*test*/) {
    return ValueIndex::scan;
}

std::vector<std::uint32_t> select(const ShortValues &values, const ValueTest &test) {
    std::vector<std::uint32_t> rows;
    for (std::uint32_t row = 0; row < values.size(); ++row)
        if (test.matches(values.at(row))) rows.push_back(row);
    return rows;
}

std::uint32_t estimate(const ShortValues &values, const ValueTest & /*test*/) {
    return values.size();
}

ValueColumn::ValueColumn(std::string_view bytes) : bytes_(bytes) {
    assert(isWhole(bytes));
}

bool ValueColumn::isWhole(std::string_view bytes) {
    switch (ValueHeader(bytes).encoding) {
        case ValueEncoding::shortValues:
            return ShortValues::isWhole(bytes);
        case ValueEncoding::plain:
            return PlainValues::isWhole(bytes);
        case ValueEncoding::dictionary:
            return DictionaryValues::isWhole(bytes);
    }
    return false;
}

std::uint32_t ValueColumn::size() const {
    return ValueHeader(bytes_).rows;
}

std::string_view ValueColumn::at(std::uint32_t row) const {
    assert(row < size());
    switch (ValueHeader(bytes_).encoding) {
        case ValueEncoding::plain:
            return PlainValues::valueAt(bytes_, row);
        case ValueEncoding::dictionary:
            return DictionaryValues::valueAt(bytes_, row);
        default:
            return ShortValues(bytes_).at(row);
    }
}

void ValueColumn::select(const ValueTest &test, std::uint32_t base,
                         std::vector<std::uint32_t> &rows) const {
    if (size() == 0) return;
    if (std::optional<bool> all = answerForAll(test)) {
        if (*all) appendRows(base, base + size(), rows);
        return;
    }
    auto found =
        visitValues(bytes_, [&test](const auto &values) { return zdbs::select(values, test); });
    std::size_t before = rows.size();
    rows.resize(before + found.size());
    std::transform(found.begin(), found.end(), rows.begin() + static_cast<std::ptrdiff_t>(before),
                   [base](std::uint32_t row) { return base + row; });
}

std::uint32_t ValueColumn::estimate(const ValueTest &test) const {
    if (size() == 0) return 0;
    if (std::optional<bool> all = answerForAll(test)) return *all ? size() : 0;
    return visitValues(bytes_,
                       [&test](const auto &values) { return zdbs::estimate(values, test); });
}

ValueIndex ValueColumn::indexFor(const ValueTest &test) const {
    if (size() == 0 || answerForAll(test)) return ValueIndex::none;
    return visitValues(bytes_,
                       [&test](const auto &values) { return zdbs::indexFor(values, test); });
}

ValueColumn::Sizes ValueColumn::sizes() const {
    if (size() == 0) return {.values = bytes_.size()};
    return visitValues(bytes_,
                       [this](const auto &values) { return sizesOf(values, bytes_.size()); });
}

}  // namespace zdbs
