/** Conditions evaluated over the node tables of parts. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_DATABASE_H
#define ZDBS_EMBEDDED_EMBEDDED_DATABASE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** The parts of a state, in document order; at least one. */
using PartTables = std::vector<std::shared_ptr<const NodeTable>>;

/** Yields the newest state of a database: the same pointer while nothing changed. */
using StateSource = std::function<std::shared_ptr<const PartTables>()>;

/** Tells the state that was yielded last while it is the newest, or null; in microseconds. */
using NewestKnown = std::function<StateIdentity()>;

/** Whether a name is that of another database. */
using NameIsTaken = std::function<bool(const std::string &name)>;

/**
 * An open database over whatever `newest` yields. Each part is asked by itself, for no document
 * lies across parts: what is found is a set of each, and counts are sums. Where there are
 * several, all cores are asked at a time, and the record of node n of part p is recordOf(p, n).
 * @param isTaken asked before a record is told by the name of its part; empty: none is
 * @param known empty: nobody knows
 */
std::unique_ptr<OpenDatabase> makeEmbeddedDatabase(std::string name, StateSource newest,
                                                   NameIsTaken isTaken = {},
                                                   NewestKnown known = {});

}  // namespace zdbs::embedded

#endif
