#include "zdbs/base/axis.h"

#include <algorithm>

namespace zdbs {
namespace {

constexpr bool isInOrder() {
    for (std::size_t i = 0; i < axisTable.size(); ++i) {
        if (axisTable[i].axis != static_cast<Axis>(i)) return false;
    }
    return axisTable.size() == static_cast<std::size_t>(Axis::namespaceNode) + 1;
}
static_assert(isInOrder(), "the table has a row for each axis, in the order of the enumeration");

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

std::optional<Axis> axisOf(std::string_view name) {
    const auto row =
        std::find_if(axisTable.begin(), axisTable.end(),
                     [name](const AxisTraits &each) { return sameWord(each.name, name); });
    return row != axisTable.end() ? std::optional(row->axis) : std::nullopt;
}

}  // namespace zdbs
