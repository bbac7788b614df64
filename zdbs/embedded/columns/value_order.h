/** Orders of values: by text and by number. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_ORDER_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_ORDER_H

#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/columns/raw_values.h"

namespace zdbs::embedded {

/** Rows in order of their values' bytes, which of UTF-8 is that of code points; equal ones by row.
 */
struct TextOrder {
    std::vector<std::uint32_t> rows;
    std::vector<bool> repeats;  ///< whether a value equals the one before it in the order
};

/** Orders all rows, or some, which must come in ascending. */
TextOrder orderTexts(const RawValues &values);
TextOrder orderTexts(const RawValues &values, std::span<const std::uint32_t> rows);

/** The rows whose values are numbers, in order of number; equal ones by row. */
std::vector<std::uint32_t> orderNumbers(const RawValues &values);

}  // namespace zdbs::embedded

#endif
