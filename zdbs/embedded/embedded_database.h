/** Conditions evaluated over a node table. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_DATABASE_H
#define ZDBS_EMBEDDED_EMBEDDED_DATABASE_H

#include <functional>
#include <memory>
#include <string>

#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** Yields the newest state of a database: the same pointer while nothing changed. */
using SnapshotSource = std::function<std::shared_ptr<const NodeTable>()>;

/** An open database over whatever `newest` yields. */
std::unique_ptr<OpenDatabase> makeEmbeddedDatabase(std::string name, SnapshotSource newest);

}  // namespace zdbs::embedded

#endif
