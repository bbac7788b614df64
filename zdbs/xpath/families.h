/** Nodes by their parents, for the axes of siblings. */
#ifndef ZDBS_XPATH_FAMILIES_H
#define ZDBS_XPATH_FAMILIES_H

#include <cstddef>
#include <span>

#include "zdbs/xpath/collection.h"

namespace zdbs::xpath {

/** For each context the nodes of a set on one of the two axes of siblings: a range, by search. */
class Families {
public:
    /** REQUIRES ascending contexts, which must outlive it, and no attributes in the set. */
    Families(const Collection &collection, std::span<const Node> contexts, const AxisTraits &axis,
             const NodeSet &set);

    /** In document order; none of a root or an attribute. */
    std::span<const Node> of(std::size_t context) const;

private:
    std::span<const Node> contexts_;
    bool areAfter_;
    Nodes parentsOfContexts_;
    Nodes lonely_;   ///< contexts without siblings: attributes
    Nodes parents_;  ///< ascending, one for each node
    Nodes nodes_;    ///< by parent, in document order within
};

}  // namespace zdbs::xpath

#endif
