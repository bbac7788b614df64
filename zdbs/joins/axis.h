/** The thirteen axes of XPath 1.0. */
#ifndef ZDBS_JOINS_AXIS_H
#define ZDBS_JOINS_AXIS_H

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

/** The axis of a name as XPath writes it, in any case; nothing for other names. */
std::optional<Axis> axisOf(std::string_view name);

std::string_view nameOf(Axis axis);

/** Whether positions on the axis count backwards: ancestors and what precedes. */
bool isReverse(Axis axis);

}  // namespace zdbs

#endif
