#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "zdbs/columns/row_list.h"
#include "zdbs/columns/value_search.h"

namespace zdbs {
namespace {

/** Codes, and bytes of distinct values, up to which an estimate looks for the codes that pass. */
constexpr std::uint32_t codesForEstimate = 1024;
constexpr std::size_t bytesForEstimate = std::size_t{32} * 1024;

std::vector<std::uint32_t> codesFor(const DictionaryValues &values, const ValueTest &test) {
    std::vector<std::uint32_t> codes;
    ValueColumn(values.distinct()).select(test, 0, codes);
    return codes;
}

std::uint32_t countOf(const DictionaryValues &values, std::uint32_t firstCode,
                      std::uint32_t lastCode) {
    std::uint32_t begin = values.start(firstCode);
    return std::max(values.start(lastCode), begin) - begin;
}

std::uint32_t countOf(const DictionaryValues &values, const std::vector<std::uint32_t> &codes) {
    std::uint64_t count = 0;
    for (std::uint32_t code : codes)
        count += countOf(values, code, code + 1);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, values.size()));
}

/**
 * Stretches of codes with all that can pass, where the distinct values have such for the test:
 * codes are their rows, and their places in the order of text as well.
 */
std::optional<std::vector<Places>> stretchesOfCodes(const DictionaryValues &values,
                                                    const ValueTest &test) {
    switch (ValueColumn(values.distinct()).indexFor(test)) {
        case ValueIndex::textOrder:
            return std::vector{placesByText(PlainValues(values.distinct()), test)};
        case ValueIndex::trigrams:
            return rowsThatMayContain(PlainValues(values.distinct()), test);
        default:
            return std::nullopt;
    }
}

std::uint32_t countOf(const DictionaryValues &values, const std::vector<Places> &stretches) {
    std::uint64_t sum = 0;
    for (const Places &codes : stretches) {
        std::uint32_t count = countOf(values, codes.first, codes.last);
        sum += codes.others ? values.size() - count : count;
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, values.size()));
}

/** Looks at the code of each row. */
std::vector<std::uint32_t> rowsByScan(const DictionaryValues &values,
                                      const std::vector<std::uint32_t> &codes) {
    constexpr std::uint32_t step = 1024;
    std::vector<std::uint8_t> wanted(values.distinctSize());
    for (std::uint32_t code : codes)
        wanted[code] = 1;

    // One more than there are rows: a row is written first and then kept or overwritten.
    std::vector<std::uint32_t> rows(std::size_t{values.size()} + 1);
    std::size_t count = 0;
    std::array<std::uint32_t, step> read;
    for (std::uint32_t first = 0; first < values.size(); first += step) {
        std::uint32_t size = std::min(step, values.size() - first);
        values.codes().read(first, std::span(read).first(size));
        for (std::uint32_t i = 0; i < size; ++i) {
            rows[count] = first + i;
            count += wanted[std::min(read[i], values.distinctSize() - 1)];
        }
    }
    rows.resize(count);
    return rows;
}

/** Takes the rows of each run of codes from where they stand together. */
std::vector<std::uint32_t> rowsByCode(const DictionaryValues &values,
                                      const std::vector<std::uint32_t> &codes) {
    std::vector<std::uint32_t> rows;
    for (std::size_t i = 0; i < codes.size();) {
        std::size_t run = 1;
        while (i + run < codes.size() && codes[i + run] == codes[i] + run)
            ++run;
        std::uint32_t begin = values.start(codes[i]);
        std::uint32_t end = std::max(begin, values.start(codes[i + run - 1] + 1));
        std::size_t size = rows.size();
        rows.resize(size + (end - begin));
        values.rowsByCode().read(begin, std::span(rows).subspan(size));
        i += run;
    }
    sortRows(rows, values.size());
    return rows;
}

}  // namespace

ValueIndex indexFor(const DictionaryValues & /*values*/, const ValueTest & /*test*/) {
    return ValueIndex::dictionary;
}

std::vector<std::uint32_t> select(const DictionaryValues &values, const ValueTest &test) {
    std::vector<std::uint32_t> codes = codesFor(values, test);
    std::vector<std::uint32_t> rows;
    if (codes.empty()) return rows;
    if (codes.size() == values.distinctSize()) {
        appendRows(0, values.size(), rows);
        return rows;
    }
    bool many = countOf(values, codes) > values.size() / 3;
    return values.rowsByCode().empty() || many ? rowsByScan(values, codes)
                                               : rowsByCode(values, codes);
}

std::uint32_t estimate(const DictionaryValues &values, const ValueTest &test) {
    if (auto stretches = stretchesOfCodes(values, test)) return countOf(values, *stretches);
    bool isCheap = values.distinct().size() <= bytesForEstimate;
    if (!isCheap && test.relation() != Relation::contains)
        isCheap = ValueColumn(values.distinct()).estimate(test) <= codesForEstimate;
    return isCheap ? countOf(values, codesFor(values, test)) : values.size();
}

}  // namespace zdbs
