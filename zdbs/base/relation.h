/** The relations that a field of a node can have to a literal. */
#ifndef ZDBS_BASE_RELATION_H
#define ZDBS_BASE_RELATION_H

#include <array>
#include <cstdint>
#include <string_view>

namespace zdbs {

/** The first six are comparisons; positions know these only. */
enum class Relation : std::uint8_t {
    equal,
    notEqual,
    less,
    lessEqual,
    greater,
    greaterEqual,
    contains,  ///< =$text$
    notEmpty,  ///< =$
    any,       ///< ="": what "contains the empty text" is translated to
};

/** How a comparison is written: behind a field, and in XPATH(SELF,…). */
struct ComparisonWords {
    Relation relation;
    std::string_view sign;
    std::string_view word;
};

/** The six comparisons; longer signs stand before those that they begin with. */
inline constexpr std::array comparisonTable{
    ComparisonWords{Relation::notEqual, "<>", "NE"},
    ComparisonWords{Relation::lessEqual, "<=", "LE"},
    ComparisonWords{Relation::greaterEqual, ">=", "GE"},
    ComparisonWords{Relation::less, "<", "LT"},
    ComparisonWords{Relation::greater, ">", "GT"},
    ComparisonWords{Relation::equal, "=", "EQ"},
};

/** Applies one of the six comparisons; false when either side is not a number. */
template <typename T>
constexpr bool holds(Relation relation, const T &left, const T &right) {
    switch (relation) {
        case Relation::equal:
            return left == right;
        case Relation::notEqual:
            return left < right || left > right;
        case Relation::less:
            return left < right;
        case Relation::lessEqual:
            return left <= right;
        case Relation::greater:
            return left > right;
        case Relation::greaterEqual:
            return left >= right;
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;  // no comparisons
    }
    return false;
}

}  // namespace zdbs

#endif
