/** The nodes of a set, as the embedded engine numbers them. */
#ifndef TESTS_ZDBS_SUPPORT_NODES_OF_H
#define TESTS_ZDBS_SUPPORT_NODES_OF_H

#include "tests/zdbs/support/told.h"
#include "zdbs/embedded/tree/node_id.h"

namespace zdbs::testing {

using namespace embedded;

inline NodeIds nodesOf(const OpenDatabase &database, const ResultSet &set) {
    const std::vector<RecordId> records = recordsOf(database, set);
    return NodeIds(records.begin(), records.end());
}

}  // namespace zdbs::testing

#endif
