/** One state of a database as a session keeps it: paths, documents, which nodes count. */
#ifndef ZDBS_SQL_STATE_H
#define ZDBS_SQL_STATE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/node.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/summary.h"

namespace zdbs::sql {

/** A document is in one part, and its rows are dense there: the root's and those of its nodes. */
struct Document {
    std::int64_t number = 0;  ///< ascending in the order of loading
    int part = 0;
    int root = 0;           ///< number of the root's row; the records follow
    int last = 0;           ///< of the last row
    std::int64_t base = 0;  ///< what makes record numbers of numbers of rows
    std::uint64_t xmlBytes = 0;
    std::string name;

    RecordId first() const { return static_cast<RecordId>(base + root + 1); }
    RecordId end() const { return static_cast<RecordId>(base + last + 1); }
    std::uint64_t nodes() const { return end() - first(); }
};

/** Some rows of a part, both ends included. */
struct RowRange {
    int part = 0;
    int first = 0;
    int last = 0;
};
using RowRanges = std::vector<RowRange>;

/** A row by its part and number. */
struct RowId {
    int part = 0;
    int id = 0;

    auto operator<=>(const RowId &) const = default;
};

struct State {
    std::int64_t number = 0;
    std::int64_t collection = 0;  ///< number of the schema
    Summary summary;
    std::vector<Document> documents;  ///< in the order of records, which is that of rows
    RowRanges live;                   ///< rows of documents, neighbours made one
    SpreadPtr spread;                 ///< null: all rows are on the server itself

    /** Index of the document with a record or behind it. */
    std::size_t documentAt(RecordId record) const;
    /** REQUIRES a row of a document. */
    const Document &documentOf(RowId row) const;
    RecordId recordOf(RowId row) const;
    /** REQUIRES a record. */
    RowId rowOf(RecordId record) const;

    /** The rows of records from `first` to in front of `end`. */
    RowRanges rows(RecordId first, RecordId end) const;

    /** The record behind so many of them from `first` on, or the end of all. */
    RecordId behind(RecordId first, std::uint64_t nodes) const;

    std::uint64_t nodes() const;
};

using StatePtr = std::shared_ptr<const State>;

/**
 * Reads the newest state of a schema that is the connection's, or what one part is by itself;
 * REQUIRES a transaction. From then on the connection asks where the rows of that state are.
 */
StatePtr readState(Connection &connection, std::int64_t collection,
                   std::optional<std::uint32_t> part = std::nullopt);

RowRanges rowsOf(const std::vector<Document> &documents);

}  // namespace zdbs::sql

#endif
