/** Values in memory, on their way into a column. */
#ifndef ZDBS_EMBEDDED_COLUMNS_RAW_VALUES_H
#define ZDBS_EMBEDDED_COLUMNS_RAW_VALUES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zdbs::embedded {

/** A view of values by row: their bytes one behind the other, and where each ends. */
struct RawValues {
    std::string_view bytes;
    std::span<const std::uint32_t> ends;

    std::uint32_t size() const { return static_cast<std::uint32_t>(ends.size()); }
    std::size_t begin(std::uint32_t row) const { return row == 0 ? 0 : ends[row - 1]; }

    std::string_view at(std::uint32_t row) const {
        return {bytes.data() + begin(row), ends[row] - begin(row)};
    }
};

}  // namespace zdbs::embedded

#endif
