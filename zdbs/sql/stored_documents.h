/** One state of a database for whoever owns it. */
#ifndef ZDBS_SQL_STORED_DOCUMENTS_H
#define ZDBS_SQL_STORED_DOCUMENTS_H

#include <string_view>
#include <vector>

#include "zdbs/engine/administration.h"
#include "zdbs/sql/connection.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {

/** Holds the collection on a connection of its own. Throws Failure(unknownDatabase). */
class SqlDocuments final : public StoredDocuments {
public:
    SqlDocuments(const Location &location, std::string_view database);

    const std::vector<DocumentSummary> &list() const override { return list_; }
    std::uint64_t state() const override { return static_cast<std::uint64_t>(state_->number); }
    void tell(std::size_t place, NodeEvents &events) const override;

    const State &taken() const { return *state_; }
    Connection &connection() const { return connection_; }

private:
    mutable Connection connection_;
    StatePtr state_;
    std::vector<DocumentSummary> list_;
    std::vector<std::size_t> places_;  ///< of what is listed, in the order of records
};

}  // namespace zdbs::sql

#endif
