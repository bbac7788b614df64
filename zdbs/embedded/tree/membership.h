/** Quick answers to "is this number in that list?" while a join runs. */
#ifndef ZDBS_EMBEDDED_TREE_MEMBERSHIP_H
#define ZDBS_EMBEDDED_TREE_MEMBERSHIP_H

#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/**
 * Membership in an ascending list. A list that is not thin is held as one bit a
 * number between its first and its last; a thin one is searched. The list must
 * outlive this object.
 */
class Membership {
public:
    explicit Membership(std::span<const NodeId> ascending);

    bool contains(NodeId node) const;

private:
    std::span<const NodeId> list_;
    std::vector<std::uint64_t> bits_;
};

}  // namespace zdbs::embedded

#endif
