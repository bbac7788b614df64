/** Deletes the rows of documents that nobody needs any more. */
#ifndef ZDBS_SQL_COMPACTION_H
#define ZDBS_SQL_COMPACTION_H

#include <string_view>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/connection.h"

namespace zdbs::sql {

/**
 * Rows stay that a session of an older state reads, and those that are kept for a session that is
 * there. One transaction: whatever ends it, all is as it was. Then the room is the server's to use
 * again. Throws Failure(unknownDatabase).
 */
Compaction compactCollection(Connection &connection, std::string_view database,
                             const WaitingReport &waiting, const ProgressReport &progress);

}  // namespace zdbs::sql

#endif
