#include "zdbs/joins/axis.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zdbs {
namespace {

/** In the order of the enumeration. */
constexpr std::array<std::string_view, 13> names{
    "child",    "attribute",         "descendant",
    "ancestor", "ancestor-or-self",  "descendant-or-self",
    "self",     "following-sibling", "preceding-sibling",
    "parent",   "following",         "preceding",
    "namespace"};

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

std::optional<Axis> axisOf(std::string_view name) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (sameWord(names[i], name)) return static_cast<Axis>(i);
    }
    return std::nullopt;
}

std::string_view nameOf(Axis axis) {
    return names[static_cast<std::size_t>(axis)];
}

bool isReverse(Axis axis) {
    return axis == Axis::ancestor || axis == Axis::ancestorOrSelf ||
           axis == Axis::precedingSibling || axis == Axis::preceding;
}

}  // namespace zdbs
