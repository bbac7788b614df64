/** Verifies the tables of a collection against each other. */
#ifndef ZDBS_SQL_CHECK_H
#define ZDBS_SQL_CHECK_H

#include "zdbs/engine/administration.h"
#include "zdbs/sql/stored_documents.h"

namespace zdbs::sql {

/**
 * Rows of documents, their paths and parents, the levels above them, the counts of the summary,
 * and numbers of values, which are read.
 */
CheckReport checkCollection(const SqlDocuments &documents, const ProgressReport &progress);

}  // namespace zdbs::sql

#endif
