/** The thirteen axes of XPath 1.0, told in one table. */
#ifndef ZDBS_BASE_AXIS_H
#define ZDBS_BASE_AXIS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zdbs {

enum class Axis : std::uint8_t {
    child,
    attribute,
    descendant,
    ancestor,
    ancestorOrSelf,
    descendantOrSelf,
    self,
    followingSibling,
    precedingSibling,
    parent,
    following,
    preceding,
    namespaceNode,
};

/** Where the nodes of an axis stand, seen from the context, which is not counted itself. */
enum class Region : std::uint8_t {
    none,
    below,
    above,
    siblingsAfter,
    siblingsBefore,
    after,
    before,
};

/** All that joins, positions and the export know of an axis. */
struct AxisTraits {
    Axis axis;
    std::string_view name;  ///< as XPath writes it
    Region region;
    bool isDirect = false;      ///< one level above or below, and no further
    bool withSelf = false;      ///< the context, too
    bool toAttributes = false;  ///< ends at attributes only; going down, no other axis does

    /** Whether positions count backwards. */
    constexpr bool isReverse() const {
        return (region == Region::above && !isDirect) || region == Region::siblingsBefore ||
               region == Region::before;
    }

    /** Whether a context and all nodes on the axis have one parent. */
    constexpr bool isSibling() const {
        return region == Region::siblingsAfter || region == Region::siblingsBefore;
    }
};

/** In the order of the enumeration. Namespace nodes are no records: nothing is on their axis. */
constexpr std::array axisTable{
    AxisTraits{Axis::child, "child", Region::below, true},
    AxisTraits{Axis::attribute, "attribute", Region::below, true, false, true},
    AxisTraits{Axis::descendant, "descendant", Region::below},
    AxisTraits{Axis::ancestor, "ancestor", Region::above},
    AxisTraits{Axis::ancestorOrSelf, "ancestor-or-self", Region::above, false, true},
    AxisTraits{Axis::descendantOrSelf, "descendant-or-self", Region::below, false, true},
    AxisTraits{Axis::self, "self", Region::none, false, true},
    AxisTraits{Axis::followingSibling, "following-sibling", Region::siblingsAfter},
    AxisTraits{Axis::precedingSibling, "preceding-sibling", Region::siblingsBefore},
    AxisTraits{Axis::parent, "parent", Region::above, true},
    AxisTraits{Axis::following, "following", Region::after},
    AxisTraits{Axis::preceding, "preceding", Region::before},
    AxisTraits{Axis::namespaceNode, "namespace", Region::none},
};

constexpr const AxisTraits &traitsOf(Axis axis) {
    return axisTable[static_cast<std::size_t>(axis)];
}

/** The axis of a name as XPath writes it, in any case; nothing for other names. */
std::optional<Axis> axisOf(std::string_view name);

constexpr std::string_view nameOf(Axis axis) {
    return traitsOf(axis).name;
}

constexpr bool isReverse(Axis axis) {
    return traitsOf(axis).isReverse();
}

}  // namespace zdbs

#endif
