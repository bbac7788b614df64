#include "zdbs/embedded/columns/value_column.h"

#include <algorithm>
#include <cassert>

#include "zdbs/embedded/columns/row_list.h"
#include "zdbs/embedded/columns/value_layout.h"
#include "zdbs/embedded/columns/value_search.h"

namespace zdbs::embedded {
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

/** Without one no value is a number. Vectorised by the compiler, as it does not end early. */
bool hasDigit(std::string_view text) {
    unsigned char digits = 0;
    for (const char c : text)
        digits |= static_cast<unsigned char>(c >= '0' && c <= '9');
    return digits != 0;
}

bool mayHaveNumbers(const ShortValues &values) {
    return hasDigit(values.values());
}

bool mayHaveNumbers(const PlainValues &values) {
    return !values.hasOrders() || values.indexSizes()[1] != 0;
}

bool mayHaveNumbers(const DictionaryValues &values) {
    return visitDistinct(values, [](const auto &distinct) { return mayHaveNumbers(distinct); });
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
        case Relation::equal:
        case Relation::notEqual:
        case Relation::less:
        case Relation::lessEqual:
        case Relation::greater:
        case Relation::greaterEqual:
            break;
    }
    if (test.isWellFormed()) return std::nullopt;
    return test.relation() == Relation::notEqual;
}

ValueIndex indexFor(const ShortValues & /*values*/, const ValueTest & /*test*/) {
    return ValueIndex::scan;
}

FoundRows find(const ShortValues &values, const ValueTest &test) {
    const std::uint32_t size = values.size();
    if (test.relation() == Relation::contains) {
        MarkedRows rows(size);
        findContaining(values, test, rows);
        return std::move(rows).rows().foundBy(ValueIndex::scan);
    }
    std::vector<std::uint64_t> words(FoundRows::wordsFor(size));
    for (std::uint32_t row = 0; row < size; ++row)
        words[row / 64] |= std::uint64_t{test.matches(values.at(row))} << (row % 64);
    return FoundRows::bits(std::move(words), size).foundBy(ValueIndex::scan);
}

std::optional<FoundCount> count(const ShortValues &values, const ValueTest &test) {
    return find(values, test).counts();
}

std::uint32_t estimate(const ShortValues &values, const ValueTest & /*test*/) {
    return values.size();
}

ValueColumn::ValueColumn(std::string_view bytes)
    : bytes_(bytes), size_(ValueHeader(bytes).rows), encoding_(ValueHeader(bytes).encoding) {
    assert(isWhole(bytes));
    if (size_ == 0) return;
    mayHaveNumbers_ = visitValues(bytes_, encoding_, nullptr, [](const auto &values) {
        return embedded::mayHaveNumbers(values);
    });
}

ValueColumn::ValueColumn(std::string_view bytes, PartCheck &check) : ValueColumn(bytes) {
    check_ = &check;
    requireHeaders();
}

// What the view has taken from the bytes already.
void ValueColumn::requireHeaders() const {
    constexpr std::size_t headers = DictionaryValues::headerSize + PlainValues::headerSize;
    check_->require(bytes_.substr(0, headers));
    const bool isDictionary = encoding_ == ValueEncoding::dictionary && size_ != 0;
    const std::string_view distinct =
        isDictionary ? DictionaryValues(bytes_).distinct() : std::string_view();
    if (ValueHeader(distinct).encoding == ValueEncoding::shortValues) check_->require(distinct);
    if (encoding_ == ValueEncoding::shortValues) check_->requireAll();
}

void ValueColumn::requireRow(std::uint32_t row) const {
    if (encoding_ != ValueEncoding::plain) return check_->requireAll();
    check_->requireFront(PlainValues::frontOf(bytes_));
    check_->require(PlainValues::valueAt(bytes_, row));
}

/** Answers who verifies the rest when it is looked at; null when all is verified. */
PartCheck *ValueColumn::requireIndexes() const {
    if (check_ == nullptr || check_->isSound()) return nullptr;
    if (encoding_ != ValueEncoding::plain) {
        check_->requireAll();
        return nullptr;
    }
    check_->requireFront(PlainValues::frontOf(bytes_));
    return check_;
}

bool ValueColumn::hasWords() const {
    return encoding_ == ValueEncoding::plain && (ValueHeader(bytes_).flags & valuesHaveWords) != 0;
}

/** The words by which a test is to be searched; null where that is dearer than other ways. */
std::shared_ptr<const FoundWords> ValueColumn::wordsFor(const ValueTest &test) const {
    if (words_ == nullptr || test.relation() != Relation::contains) return nullptr;
    auto found = words_->find(test.literal());
    return words_->isCheap(*found, path_, bytes_.size()) ? found : nullptr;
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

std::string_view ValueColumn::at(std::uint32_t row) const {
    assert(row < size());
    if (check_ != nullptr && !check_->isSound()) requireRow(row);
    switch (encoding_) {
        case ValueEncoding::plain:
            return PlainValues::valueAt(bytes_, row);
        case ValueEncoding::dictionary:
            return DictionaryValues::valueAt(bytes_, row);
        case ValueEncoding::shortValues:
            break;
    }
    return ShortValues(bytes_).at(row);
}

/** What a test answers for all values. */
std::optional<bool> ValueColumn::answerForAll(const ValueTest &test) const {
    const std::optional<bool> all = embedded::answerForAll(test);
    if (all || mayHaveNumbers_ || !test.number()) return all;
    if (test.relation() == Relation::contains || test.relation() == Relation::notEmpty)
        return std::nullopt;
    return test.relation() == Relation::notEqual;
}

FoundRows ValueColumn::find(const ValueTest &test) const {
    if (size() == 0) return FoundRows(0);
    if (std::optional<bool> all = answerForAll(test)) return FoundRows::range(0, 0, *all, size());
    if (const auto words = wordsFor(test))
        return findByWords(PlainValues(bytes_, requireIndexes()), test, *words,
                           words_->rowsOf(*words, path_, size()));
    return visitValues(bytes_, encoding_, requireIndexes(),
                       [&test](const auto &values) { return embedded::find(values, test); });
}

std::optional<FoundCount> ValueColumn::count(const ValueTest &test) const {
    if (size() == 0) return FoundCount();
    if (std::optional<bool> all = answerForAll(test))
        return FoundRows::range(0, 0, *all, size()).counts();
    const bool isSearched =
        test.relation() == Relation::contains && encoding_ == ValueEncoding::plain;
    if (isSearched) return std::nullopt;
    return visitValues(bytes_, encoding_, requireIndexes(),
                       [&test](const auto &values) { return embedded::count(values, test); });
}

void ValueColumn::select(const ValueTest &test, std::uint32_t base,
                         std::vector<std::uint32_t> &rows) const {
    const FoundRows found = find(test);
    rows.reserve(rows.size() + found.count());
    found.forStretches([&](std::uint32_t first, std::uint32_t end) {
        appendRows(base + first, base + end, rows);
    });
}

std::uint32_t ValueColumn::estimate(const ValueTest &test) const {
    if (size() == 0) return 0;
    if (std::optional<bool> all = answerForAll(test)) return *all ? size() : 0;
    if (const auto words = wordsFor(test))
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(words->postings, size()));
    return visitValues(bytes_, encoding_, requireIndexes(),
                       [&test](const auto &values) { return embedded::estimate(values, test); });
}

ValueIndex ValueColumn::indexFor(const ValueTest &test) const {
    if (size() == 0 || answerForAll(test)) return ValueIndex::none;
    if (wordsFor(test)) return ValueIndex::words;
    return visitValues(bytes_, encoding_, requireIndexes(),
                       [&test](const auto &values) { return embedded::indexFor(values, test); });
}

ValueColumn::Sizes ValueColumn::sizes() const {
    if (size() == 0) return {.values = bytes_.size()};
    return visitValues(bytes_, encoding_, requireIndexes(),
                       [this](const auto &values) { return sizesOf(values, bytes_.size()); });
}

}  // namespace zdbs::embedded
