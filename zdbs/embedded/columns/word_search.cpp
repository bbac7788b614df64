#include <utility>

#include "zdbs/embedded/columns/row_list.h"
#include "zdbs/embedded/columns/value_search.h"

namespace zdbs::embedded {
namespace {

/** Rows for each one found from which on a list of them is smaller than bits. */
constexpr std::uint32_t rowsForEachListed = 64;

FoundRows listOrBits(std::vector<std::uint64_t> words, std::uint32_t size) {
    FoundRows found = FoundRows::bits(std::move(words), size);
    if (found.count() >= size / rowsForEachListed) return found;
    std::vector<std::uint32_t> rows;
    rows.reserve(found.count());
    found.forStretches(
        [&](std::uint32_t first, std::uint32_t end) { appendRows(first, end, rows); });
    return FoundRows::list(std::move(rows), false, size);
}

/** Of rows that have a word of the text those that have all of it. */
WordRows rowsWithAll(const PlainValues &values, const ValueTest &test, WordRows rows) {
    WordRows result{std::vector<std::uint64_t>(rows.bits.size()), 0};
    FoundRows::bits(std::move(rows.bits), values.size())
        .forStretches([&](std::uint32_t row, std::uint32_t end) {
            for (; row < end; ++row) {
                const std::size_t hits = test.countHits(values.at(row));
                result.bits[row / 64] |= std::uint64_t{hits > 0} << (row % 64);
                result.hits += hits;
            }
        });
    return result;
}

}  // namespace

FoundRows findByWords(const PlainValues &values, const ValueTest &test, const FoundWords &found,
                      WordRows rows) {
    if (!found.isInside) rows = rowsWithAll(values, test, std::move(rows));
    return listOrBits(std::move(rows.bits), values.size())
        .withHits(rows.hits)
        .foundBy(ValueIndex::words);
}

}  // namespace zdbs::embedded
