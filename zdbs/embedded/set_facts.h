/** Facts of all nodes of a list, in its order, read path by path where that goes. */
#ifndef ZDBS_EMBEDDED_SET_FACTS_H
#define ZDBS_EMBEDDED_SET_FACTS_H

#include <string_view>
#include <vector>

#include "zdbs/base/node.h"
#include "zdbs/embedded/sets/node_list.h"
#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/node_tree.h"

namespace zdbs::embedded {

// As NodeTree has them. Throw Failure(homeDamaged).
std::vector<RecordId> parentsOf(const NodeTable &table, const NodeList &list, const NodeIds &ids);
std::vector<RecordId> endsOf(const NodeTable &table, const NodeList &list, const NodeIds &ids);
std::vector<std::string_view> valuesOf(const NodeTable &table, const NodeList &list,
                                       const NodeIds &ids);
NamesOfNodes namesOf(const NodeTable &table, const NodeList &list, const NodeIds &ids);

}  // namespace zdbs::embedded

#endif
