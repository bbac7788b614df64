/** A database with the site of an auction house, for measuring what works on stored nodes. */
#ifndef BENCH_PARTS_SITE_DATABASE_H
#define BENCH_PARTS_SITE_DATABASE_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/tree/node_table.h"

namespace bench {

/** About 5 MB of XML, always the same. */
const std::string &siteText();

/** It, stored in a home of its own that goes with the process. */
const zdbs::embedded::Snapshot &site();

/** The elements of a name, or the attributes of "@name"; with `each` only one of so many. */
std::vector<zdbs::embedded::NodeId> nodesNamed(std::string_view name, std::size_t each = 1);

}  // namespace bench

#endif
