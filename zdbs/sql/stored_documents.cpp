#include "zdbs/sql/stored_documents.h"

#include <algorithm>
#include <numeric>

#include "zdbs/sql/collections.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/tree_teller.h"

namespace zdbs::sql {

SqlDocuments::SqlDocuments(const Location &location, std::string_view database)
    : connection_(location, [this](Connection &connection) {
          if (!state_) return;
          holdAgain(connection, *state_);
          requireRows(connection, *state_);
      }) {
    const std::int64_t collection = collectionOf(connection_, database, std::nullopt);
    hold(connection_, collection);
    state_ = takeNewest(connection_, collection, nullptr);
    const std::vector<Document> &documents = state_->documents;
    places_.resize(documents.size());
    std::iota(places_.begin(), places_.end(), 0);
    std::sort(places_.begin(), places_.end(), [&](std::size_t a, std::size_t b) {
        return documents[a].number < documents[b].number;
    });
    for (const std::size_t place : places_) {
        const Document &each = documents[place];
        list_.push_back({each.name, each.first(), each.nodes(), each.xmlBytes});
    }
}

void SqlDocuments::tell(std::size_t place, NodeEvents &events) const {
    const Document &document = state_->documents[places_[place]];
    const Excerpt excerpt(connection_, state_);
    const TreeTeller::Marks unmarkedRows;
    NameNumbers names;
    TreeTeller teller(state_->summary, names, unmarkedRows, events);
    excerpt.tell({document.part, document.root + 1, document.last},
                 [&](const NodeRow &row) { teller.tell(row); });
    teller.end();
}

}  // namespace zdbs::sql
