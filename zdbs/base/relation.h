/** The relations that a field of a node can have to a literal. */
#ifndef ZDBS_BASE_RELATION_H
#define ZDBS_BASE_RELATION_H

#include <cstdint>

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
