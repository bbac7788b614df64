/** The tree of a state, for those above the line who compute with nodes. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_TREE_H
#define ZDBS_EMBEDDED_EMBEDDED_TREE_H

#include <memory>

#include "zdbs/embedded/evaluate/evaluator.h"
#include "zdbs/engine/node_tree.h"

namespace zdbs::embedded {

/** @param state of `table`; must outlive the tree */
std::unique_ptr<NodeTree> makeEmbeddedTree(std::shared_ptr<const NodeTable> table,
                                           const DatabaseState &state);

}  // namespace zdbs::embedded

#endif
