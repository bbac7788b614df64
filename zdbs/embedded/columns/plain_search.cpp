#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/embedded/columns/row_list.h"
#include "zdbs/embedded/columns/value_search.h"

namespace zdbs::embedded {
namespace {

/** The places that an order has for a relation, where equal values stand from `low` up to `high`.
 */
Places placesFor(Relation relation, std::uint32_t low, std::uint32_t high, std::uint32_t size) {
    switch (relation) {
        case Relation::equal:
            return {low, high, false};
        case Relation::notEqual:
            return {low, high, true};
        case Relation::less:
            return {0, low, false};
        case Relation::lessEqual:
            return {0, high, false};
        case Relation::greater:
            return {high, size, false};
        case Relation::greaterEqual:
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;  // the last three are not asked of an order
    }
    return {low, size, false};
}

/** The first place from `low` up to `high` for which `isBelow` is not so. */
template <typename IsBelow>
std::uint32_t firstNot(std::uint32_t low, std::uint32_t high, IsBelow isBelow) {
    while (low < high) {
        std::uint32_t middle = low + (high - low) / 2;
        if (isBelow(middle))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

/** Most literals are beyond all the numbers of most columns: those two are looked at first. */
Places placesByNumber(const PlainValues &values, const ValueTest &test) {
    const double literal = *test.number();
    const auto holdsAt = [&values, literal](Relation relation, std::uint32_t place) {
        std::optional<double> number = numberOf(values.at(values.rowByNumber(place)));
        return number && holds(relation, *number, literal);
    };
    const std::uint32_t size = values.numberOrder().size();
    if (size == 0 || !holdsAt(Relation::lessEqual, 0))
        return placesFor(test.relation(), 0, 0, size);
    if (holdsAt(Relation::less, size - 1)) return placesFor(test.relation(), size, size, size);
    const std::uint32_t low =
        firstNot(0, size, [&](std::uint32_t place) { return holdsAt(Relation::less, place); });
    const std::uint32_t high = firstNot(
        low, size, [&](std::uint32_t place) { return holdsAt(Relation::lessEqual, place); });
    return placesFor(test.relation(), low, high, size);
}

/** How many rows there are at these places, when all rows are `size`. */
std::uint32_t countOf(const Places &places, std::uint32_t size) {
    std::uint32_t count = std::min(places.last - places.first, size);
    return places.others ? size - count : count;
}

/** Rows for each one found from which on bits are cheaper than a list that is sorted. */
constexpr std::uint32_t rowsForEachBit = 64;

/** A list or bits of the rows that `read` gives, in any order, into as many. */
template <typename Read>
FoundRows rowsInAnyOrder(std::uint32_t count, bool others, std::uint32_t size, Read read) {
    if (count < size / rowsForEachBit) {
        std::vector<std::uint32_t> rows(count);
        read(0, rows);
        sortRows(rows, size);
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());  // damage repeats some
        return FoundRows::list(std::move(rows), others, size);
    }
    constexpr std::uint32_t step = 1024;
    std::array<std::uint32_t, step> rows;
    std::vector<std::uint64_t> words(FoundRows::wordsFor(size));
    for (std::uint32_t first = 0; first < count; first += step) {
        const auto part = std::span(rows).first(std::min(step, count - first));
        read(first, part);
        for (std::uint32_t row : part)
            if (row < size) words[row / 64] |= std::uint64_t{1} << (row % 64);
    }
    FoundRows found = FoundRows::bits(std::move(words), size);
    if (others) found.flip();
    return found;
}

/** The rows at places of an order, or of the rows themselves when there is none. */
FoundRows rowsAt(const Places &places, const PackedColumn *order, std::uint32_t size) {
    if (places.first == places.last) return FoundRows::range(0, 0, places.others, size);
    if (order == nullptr) return FoundRows::range(places.first, places.last, places.others, size);
    return rowsInAnyOrder(places.last - places.first, places.others, size,
                          [&](std::uint32_t first, std::span<std::uint32_t> out) {
                              order->read(places.first + first, out);
                          });
}

/** Calls `take` with each row and its value, in turn. */
template <typename Take>
void forEachValue(const PlainValues &values, Take take) {
    std::array<std::uint32_t, PackedColumn::frameSize> ends;
    std::string_view bytes = values.values();
    values.requireValues(0, bytes.size());
    std::size_t begin = 0;
    for (std::uint32_t row = 0; row < values.size(); row += PackedColumn::frameSize) {
        std::uint32_t count = std::min(PackedColumn::frameSize, values.size() - row);
        values.ends().read(row, std::span(ends).first(count));
        for (std::uint32_t i = 0; i < count; ++i) {
            std::size_t end = std::clamp<std::size_t>(ends[i], begin, bytes.size());
            take(row + i, std::string_view(bytes.data() + begin, end - begin));
            begin = end;
        }
    }
}

FoundRows scan(const PlainValues &values, const ValueTest &test) {
    std::vector<std::uint64_t> words(FoundRows::wordsFor(values.size()));
    forEachValue(values, [&](std::uint32_t row, std::string_view value) {
        words[row / 64] |= std::uint64_t{test.matches(value)} << (row % 64);
    });
    return FoundRows::bits(std::move(words), values.size());
}

FoundRows rowsContaining(const PlainValues &values, const ValueTest &test) {
    MarkedRows rows(values.size());
    findContaining(values, test, rows);
    return std::move(rows).rows();
}

}  // namespace

/** Where not empty is asked for, the empty text is what values must not equal. */
Places placesByText(const PlainValues &values, const ValueTest &test) {
    bool notEmpty = test.relation() == Relation::notEmpty;
    std::string_view literal = notEmpty ? std::string_view() : test.literal();
    auto valueAt = [&values](std::uint32_t place) { return values.at(values.rowByText(place)); };
    std::uint32_t size = values.size();
    std::uint32_t low = firstNot(0, size, [&](auto place) { return valueAt(place) < literal; });
    std::uint32_t high = firstNot(low, size, [&](auto place) { return valueAt(place) <= literal; });
    return placesFor(notEmpty ? Relation::notEqual : test.relation(), low, high, size);
}

/** Those whose values begin in, or reach into, the stretches in which the literal may begin. */
std::vector<Places> rowsThatMayContain(const PlainValues &values, const ValueTest &test) {
    std::vector<Places> result;
    std::uint32_t next = 0;
    for (const TrigramBlocks::Stretch &stretch : stretchesFor(values, test)) {
        auto begin = static_cast<std::uint32_t>(stretch.begin);
        auto end = static_cast<std::uint32_t>(stretch.end);
        std::uint32_t first = values.ends().lowerBound(begin + 1, next);
        if (first == values.size()) break;
        next = std::min(values.ends().lowerBound(end, first) + 1, values.size());
        result.push_back({first, next, false});
    }
    return result;
}

ValueIndex indexFor(const PlainValues &values, const ValueTest &test) {
    if (test.relation() == Relation::contains) {
        bool longEnough = test.literal().size() >= TrigramBlocks::shortestNeedle;
        return values.hasTrigrams() && longEnough ? ValueIndex::trigrams : ValueIndex::scan;
    }
    if (test.relation() == Relation::notEmpty || !test.number())
        return values.hasTextOrder() ? ValueIndex::textOrder : ValueIndex::scan;
    if (!values.hasOrders()) return ValueIndex::scan;
    return values.numberOrder().empty() ? ValueIndex::none : ValueIndex::numberOrder;
}

FoundRows find(const PlainValues &values, const ValueTest &test) {
    const std::uint32_t size = values.size();
    const ValueIndex index = indexFor(values, test);
    switch (index) {
        case ValueIndex::textOrder: {
            const PackedColumn *order = values.isInOrder() ? nullptr : &values.textOrder();
            return rowsAt(placesByText(values, test), order, size).foundBy(index);
        }
        case ValueIndex::numberOrder:
        case ValueIndex::none:
            return rowsAt(placesByNumber(values, test), &values.numberOrder(), size).foundBy(index);
        case ValueIndex::dictionary:
        case ValueIndex::words:
        case ValueIndex::trigrams:
        case ValueIndex::scan:
            break;
    }
    const bool isContained = test.relation() == Relation::contains;
    return (isContained ? rowsContaining(values, test) : scan(values, test)).foundBy(index);
}

std::optional<FoundCount> count(const PlainValues &values, const ValueTest &test) {
    const ValueIndex index = indexFor(values, test);
    if (index == ValueIndex::scan || index == ValueIndex::trigrams) return std::nullopt;
    const Places places =
        index == ValueIndex::textOrder ? placesByText(values, test) : placesByNumber(values, test);
    const std::uint32_t rows = countOf(places, values.size());
    return FoundCount{rows, rows, index};
}

std::uint32_t estimate(const PlainValues &values, const ValueTest &test) {
    std::uint32_t count = 0;
    switch (indexFor(values, test)) {
        case ValueIndex::textOrder:
            return countOf(placesByText(values, test), values.size());
        case ValueIndex::numberOrder:
        case ValueIndex::none:
            return countOf(placesByNumber(values, test), values.size());
        case ValueIndex::trigrams:
            for (const Places &rows : rowsThatMayContain(values, test))
                count += countOf(rows, values.size());
            return count;
        case ValueIndex::dictionary:
        case ValueIndex::words:
        case ValueIndex::scan:
            break;
    }
    return values.size();
}

}  // namespace zdbs::embedded
