/** The nodes of a forest as the line tells them. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_TREE_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_TREE_H

#include <memory>

#include "tests/engine_conformance/naive/forest.h"
#include "zdbs/engine/node_tree.h"

namespace zdbs::naive {

std::unique_ptr<NodeTree> treeOf(ForestPtr forest);

}  // namespace zdbs::naive

#endif
