/** Node tables as text, for comparing and for messages of tests. */
#ifndef TESTS_ZDBS_EMBEDDED_STORE_TREE_TEXT_H
#define TESTS_ZDBS_EMBEDDED_STORE_TREE_TEXT_H

#include <string>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/**
 * The top-level nodes of a document with a blank between them:
 *
 *   element      {uri}prefix:local(xmlns:p=uri @name=value … children …)
 *   attribute    @{uri}prefix:local=value
 *   text         'value'
 *   comment      <!--value-->
 *   instruction  <?target value?>
 *
 * Line feeds, carriage returns and tabs in values are \n, \r and \t. Recurses:
 * for small documents only.
 */
std::string treeText(const NodeTable &nodes, const DocumentRange &document);

/** All documents, a line each: "name: tree". */
std::string treeText(const NodeTable &nodes);

/**
 * What is wrong with the numbering: numbers that are not dense, subtrees that do
 * not nest, attributes behind children, documents that overlap. Empty when it is
 * as NodeTable promises. Linear, no recursion.
 */
std::string numberingFaults(const NodeTable &nodes);

}  // namespace zdbs::embedded

#endif
