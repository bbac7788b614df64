#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "zdbs/columns/row_list.h"
#include "zdbs/columns/text_search.h"
#include "zdbs/columns/value_search.h"
#include "zdbs/values/number.h"

namespace zdbs {
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
        default:
            return {low, size, false};
    }
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

Places placesByNumber(const PlainValues &values, const ValueTest &test) {
    double literal = *test.number();
    auto isBelow = [&](Relation relation) {
        return [&values, literal, relation](std::uint32_t place) {
            std::optional<double> number = numberOf(values.at(values.rowByNumber(place)));
            return number && holds(relation, *number, literal);
        };
    };
    std::uint32_t size = values.numberOrder().size();
    std::uint32_t low = firstNot(0, size, isBelow(Relation::less));
    std::uint32_t high = firstNot(low, size, isBelow(Relation::lessEqual));
    return placesFor(test.relation(), low, high, size);
}

/** How many rows there are at these places, when all rows are `size`. */
std::uint32_t countOf(const Places &places, std::uint32_t size) {
    std::uint32_t count = places.last - places.first;
    return places.others ? size - count : count;
}

/** The rows at places of an order, or of the rows themselves when there is none. */
std::vector<std::uint32_t> rowsAt(const Places &places, const PackedColumn *order,
                                  std::uint32_t size) {
    std::vector<std::uint32_t> rows;
    if (order == nullptr) {
        appendRows(places.first, places.last, rows);
    } else {
        rows.resize(places.last - places.first);
        order->read(places.first, rows);
        sortRows(rows, size);
    }
    return places.others ? otherRows(rows, size) : rows;
}

/** Calls `take` with each row and its value, in turn. */
template <typename Take>
void forEachValue(const PlainValues &values, Take take) {
    std::array<std::uint32_t, PackedColumn::frameSize> ends;
    std::string_view bytes = values.values();
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

std::vector<std::uint32_t> scan(const PlainValues &values, const ValueTest &test) {
    std::vector<std::uint32_t> rows;
    forEachValue(values, [&](std::uint32_t row, std::string_view value) {
        if (test.matches(value)) rows.push_back(row);
    });
    return rows;
}

/** Stretches of the values in which the literal may begin. */
std::vector<TrigramBlocks::Stretch> stretchesFor(const PlainValues &values, const ValueTest &test) {
    if (indexFor(values, test) != ValueIndex::trigrams) return {{0, values.values().size()}};
    return values.trigrams().candidates(test.literal());
}

/**
 * Searches the values as the one text that their bytes are, and looks up whose value each hit is.
 * A hit that crosses into the next value is none; nor are any that begin in the same value behind
 * it, so that the search goes on at the next value after every hit.
 */
class ContainingRows {
public:
    ContainingRows(const PlainValues &values, std::string_view literal)
        : values_(values), literal_(literal), search_(literal) {}

    /** Takes the hits that begin in a stretch, which must not lie before one searched already. */
    void search(const TrigramBlocks::Stretch &stretch) {
        // A hit that begins in the stretch may end behind it.
        std::string_view text = values_.values().substr(0, stretch.end + literal_.size() - 1);
        from_ = std::max(from_, stretch.begin);
        while (from_ < stretch.end && row_ < values_.size()) {
            std::size_t hit = search_.find(text, from_);
            if (hit == TextSearch::npos) return;
            take(hit);
        }
    }

    std::vector<std::uint32_t> &&rows() && { return std::move(rows_); }

private:
    void take(std::size_t hit) {
        row_ = values_.ends().lowerBound(static_cast<std::uint32_t>(hit + 1), row_);
        if (row_ == values_.size()) return;
        std::size_t end = values_.ends().at(row_);
        if (hit + literal_.size() <= end) rows_.push_back(row_);
        ++row_;
        from_ = std::max(end, hit + 1);
    }

    const PlainValues &values_;
    std::string_view literal_;
    TextSearch search_;
    std::size_t from_ = 0;
    std::uint32_t row_ = 0;
    std::vector<std::uint32_t> rows_;
};

std::vector<std::uint32_t> rowsContaining(const PlainValues &values, const ValueTest &test) {
    ContainingRows found(values, test.literal());
    for (const TrigramBlocks::Stretch &stretch : stretchesFor(values, test))
        found.search(stretch);
    return std::move(found).rows();
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

std::vector<std::uint32_t> select(const PlainValues &values, const ValueTest &test) {
    std::uint32_t size = values.size();
    switch (indexFor(values, test)) {
        case ValueIndex::textOrder: {
            const PackedColumn *order = values.isInOrder() ? nullptr : &values.textOrder();
            return rowsAt(placesByText(values, test), order, size);
        }
        case ValueIndex::numberOrder:
        case ValueIndex::none:
            return rowsAt(placesByNumber(values, test), &values.numberOrder(), size);
        default:
            break;
    }
    return test.relation() == Relation::contains ? rowsContaining(values, test)
                                                 : scan(values, test);
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
        default:
            return values.size();
    }
}

}  // namespace zdbs
