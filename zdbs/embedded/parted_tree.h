/** The tree of a state of several parts. */
#ifndef ZDBS_EMBEDDED_PARTED_TREE_H
#define ZDBS_EMBEDDED_PARTED_TREE_H

#include <memory>
#include <vector>

#include "zdbs/engine/node_tree.h"

namespace zdbs::embedded {

/** @param parts the trees of the parts, by number; their sets are PartedSets together */
std::unique_ptr<NodeTree> makePartedTree(std::vector<std::unique_ptr<NodeTree>> parts);

}  // namespace zdbs::embedded

#endif
