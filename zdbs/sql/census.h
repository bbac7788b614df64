/** What is in a database, as administrators are told it. */
#ifndef ZDBS_SQL_CENSUS_H
#define ZDBS_SQL_CENSUS_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/stored_documents.h"

namespace zdbs::sql {

/** What a function of the server's says of the tables of a collection. */
std::uint64_t bytesOf(Connection &connection, std::int64_t collection,
                      const std::string &function = "pg_total_relation_size");

DatabaseSummary summaryOf(const SqlDocuments &documents);
DatabaseInfo infoOf(const SqlDocuments &documents);
std::vector<PathCount> pathsOf(const State &state);

std::string readNotes(Connection &connection, std::int64_t collection);
void writeNotes(Connection &connection, std::int64_t collection, std::string_view text);

}  // namespace zdbs::sql

#endif
