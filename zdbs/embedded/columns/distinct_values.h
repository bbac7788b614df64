/** The distinct ones among values. */
#ifndef ZDBS_EMBEDDED_COLUMNS_DISTINCT_VALUES_H
#define ZDBS_EMBEDDED_COLUMNS_DISTINCT_VALUES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "zdbs/embedded/columns/raw_values.h"
#include "zdbs/embedded/columns/value_order.h"

namespace zdbs::embedded {

/** Distinct values by code, ascending by text, and the code of each row's value. */
struct DistinctValues {
    std::vector<std::uint32_t> rows;  ///< the first row that has the value, by code
    std::vector<std::uint32_t> codes;
};

/** Finds them through a hash table; nothing as soon as they are too many for that to be worth it.
 */
std::optional<DistinctValues> distinctByHash(const RawValues &values);

/** Their rows, read off the order of all rows. */
std::vector<std::uint32_t> distinctRows(const TextOrder &order);

/** The same with the codes. */
DistinctValues distinctByOrder(const TextOrder &order);

}  // namespace zdbs::embedded

#endif
