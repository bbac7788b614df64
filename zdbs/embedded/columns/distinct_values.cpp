#include "zdbs/embedded/columns/distinct_values.h"

#include "zdbs/embedded/columns/text_numbers.h"

namespace zdbs::embedded {
namespace {

/** Rows from one look at how it goes to the next. */
constexpr std::uint32_t trialRows = 1024;

/**
 * Whether it shows after some rows that too many values are distinct. If half of all rows were, in
 * any order, r of them would have about r * r / rows repeats; so that with less than half as many
 * it is taken as settled.
 */
bool isHopeless(const TextNumbers &numbers, std::uint64_t done, std::uint64_t rows) {
    const std::uint64_t distinct = numbers.size();
    bool tooFewRepeats = (done - distinct) * 2 < done * done / rows;
    return distinct > rows / 2 || tooFewRepeats || numbers.steps() > 8 * done;
}

}  // namespace

std::optional<DistinctValues> distinctByHash(const RawValues &values) {
    TextNumbers numbers;
    std::vector<std::uint32_t> firstRows;
    DistinctValues result;
    result.codes.reserve(values.size());
    for (std::uint32_t row = 0; row < values.size(); ++row) {
        if (row > 0 && row % trialRows == 0 && isHopeless(numbers, row, values.size()))
            return std::nullopt;
        result.codes.push_back(numbers.numberOf(values.at(row)));
        if (firstRows.size() < numbers.size()) firstRows.push_back(row);
    }

    result.rows = orderTexts(values, firstRows).rows;
    std::vector<std::uint32_t> codeOf(values.size());
    for (std::uint32_t code = 0; code < result.rows.size(); ++code)
        codeOf[result.rows[code]] = code;
    for (std::uint32_t &code : result.codes)
        code = codeOf[firstRows[code]];
    return result;
}

std::vector<std::uint32_t> distinctRows(const TextOrder &order) {
    std::vector<std::uint32_t> rows;
    for (std::size_t i = 0; i < order.rows.size(); ++i)
        if (!order.repeats[i]) rows.push_back(order.rows[i]);
    return rows;
}

DistinctValues distinctByOrder(const TextOrder &order) {
    DistinctValues result{distinctRows(order), std::vector<std::uint32_t>(order.rows.size())};
    std::uint32_t codes = 0;
    for (std::size_t i = 0; i < order.rows.size(); ++i) {
        codes += order.repeats[i] ? 0 : 1;
        result.codes[order.rows[i]] = codes - 1;
    }
    return result;
}

}  // namespace zdbs::embedded
