/** Sets of numbers (of nodes, documents, paths) as ascending lists, each number once. */
#ifndef ZDBS_EMBEDDED_TREE_ASCENDING_NUMBERS_H
#define ZDBS_EMBEDDED_TREE_ASCENDING_NUMBERS_H

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>
#include <vector>

namespace zdbs::embedded {

using NumberList = std::vector<std::uint32_t>;
using NumberSpan = std::span<const std::uint32_t>;

inline NumberList common(NumberSpan a, NumberSpan b) {
    NumberList result;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

inline NumberList merged(NumberSpan a, NumberSpan b) {
    NumberList result;
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

inline NumberList difference(NumberSpan a, NumberSpan b) {
    NumberList result;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

/** Makes such a list of numbers in any order. */
inline void sortUnique(NumberList &numbers) {
    if (!std::is_sorted(numbers.begin(), numbers.end())) std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

}  // namespace zdbs::embedded

#endif
