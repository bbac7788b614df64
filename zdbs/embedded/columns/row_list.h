/** Lists of rows that searches find. */
#ifndef ZDBS_EMBEDDED_COLUMNS_ROW_LIST_H
#define ZDBS_EMBEDDED_COLUMNS_ROW_LIST_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zdbs::embedded {

/** Appends the rows from `begin` up to `end`, that one not included. */
void appendRows(std::uint32_t begin, std::uint32_t end, std::vector<std::uint32_t> &rows);

/** Sorts rows below `size`; drops others, which only damaged bytes give. */
void sortRows(std::vector<std::uint32_t> &rows, std::uint32_t size);

}  // namespace zdbs::embedded

#endif
