#include "zdbs/embedded/columns/row_list.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace zdbs::embedded {
namespace {

/** Rows for each one found up to which passing over a bit for each row beats sorting. */
constexpr std::uint64_t rowsForEach = 1024;

/** Sorts through a bit for each row. */
void sortThroughBits(std::vector<std::uint32_t> &rows, std::uint32_t size) {
    std::vector<std::uint64_t> bits(std::size_t{size} / 64 + 1);
    for (std::uint32_t row : rows)
        bits[row / 64] |= std::uint64_t{1} << (row % 64);
    std::size_t count = 0;
    for (std::size_t i = 0; i < bits.size(); ++i)
        for (std::uint64_t word = bits[i]; word != 0; word &= word - 1)
            rows[count++] = static_cast<std::uint32_t>(
                i * 64 + static_cast<std::size_t>(std::countr_zero(word)));
    rows.resize(count);
}

}  // namespace

void appendRows(std::uint32_t begin, std::uint32_t end, std::vector<std::uint32_t> &rows) {
    std::size_t first = rows.size();
    rows.resize(first + (end - begin));
    std::iota(rows.begin() + static_cast<std::ptrdiff_t>(first), rows.end(), begin);
}

void sortRows(std::vector<std::uint32_t> &rows, std::uint32_t size) {
    bool outside = false;
    bool ascending = true;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        outside |= rows[i] >= size;
        ascending &= i == 0 || rows[i - 1] < rows[i];
    }
    if (outside) std::erase_if(rows, [size](std::uint32_t row) { return row >= size; });
    if (ascending) return;
    if (rows.size() * rowsForEach >= size)
        sortThroughBits(rows, size);
    else
        std::sort(rows.begin(), rows.end());
}

}  // namespace zdbs::embedded
