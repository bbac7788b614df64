#include "zdbs/sql/fragment_teller.h"

#include <algorithm>
#include <set>

#include "zdbs/base/stop.h"
#include "zdbs/sql/declarations.h"
#include "zdbs/sql/row_reader.h"

namespace zdbs::sql {
namespace {

constexpr std::size_t batch = 200;  ///< matches whose rows are fetched together

bool isWithin(const RowRanges &ranges, const RowRange &range) {
    return std::any_of(ranges.begin(), ranges.end(), [&](const RowRange &each) {
        return each.part == range.part && each.first <= range.first && range.last <= each.last;
    });
}

}  // namespace

FragmentTeller::FragmentTeller(Connection &connection, const SqlSet &matches,
                               std::span<const ResultSetPtr> marked, FragmentVisitor &visitor)
    : connection_(connection),
      matches_(matches),
      visitor_(visitor),
      excerpt_(connection, matches.state),
      steps_(excerpt_,
             [this](const ResultSetPtr &set) -> const RowList & { return membersOf(set); }) {
    for (const ResultSetPtr &set : marked) {
        const auto &more = sqlSet(*set).leaves;
        leaves_.insert(leaves_.end(), more.begin(), more.end());
    }
}

void FragmentTeller::tell(std::span<const FragmentSpec> specs) {
    heedStop();
    BlockReader reader(connection_, matches_);
    for (Block block; reader.next(block);) {
        for (std::size_t first = 0; first < block.records.size(); first += batch)
            tellBatch(std::span(block.records)
                          .subspan(first, std::min(batch, block.records.size() - first)),
                      specs);
    }
}

void FragmentTeller::tellBatch(std::span<const RecordId> records,
                               std::span<const FragmentSpec> specs) {
    RowList rows;
    for (const RecordId record : records)
        rows.push_back(matches_.state->rowOf(record));
    excerpt_.fetch(rows);
    marked_ = excerpt_.held();
    marks_ = matchedRows(connection_, *matches_.state, leaves_, marked_);
    for (const RowId row : rows) {
        for (const FragmentSpec &spec : specs) {
            for (const RowId node : steps_.selected(spec, row))
                tell(node);
        }
    }
}

/** The rows of a set are fetched as a whole once. */
const RowList &FragmentTeller::membersOf(const ResultSetPtr &set) {
    const auto found = members_.find(set);
    if (found != members_.end()) return found->second;
    return members_.emplace(set, rowsIn(connection_, sqlSet(*set), matches_.state->live))
        .first->second;
}

/** The nearest first; nothing is undeclared where a fragment goes. */
std::string FragmentTeller::inScope(const NodeRow &row) {
    std::string result;
    std::set<std::string, std::less<>> seen;
    for (const NodeRow *up = &row; !excerpt_.pathOf(*up).isRoot(); up = &excerpt_.parentOf(*up)) {
        if (!excerpt_.pathOf(*up).is(NodeKind::element)) continue;
        for (const NamespaceDeclaration &one : declarationsIn(up->value)) {
            const bool isFirst = seen.emplace(one.prefix).second;
            if (isFirst && !one.uri.empty()) addDeclaration(result, one.prefix, one.uri);
        }
    }
    return result;
}

void FragmentTeller::tell(RowId row) {
    heedStop();
    const NodeRow &top = excerpt_.at(row);
    const Document &document = matches_.state->documentOf(row);
    TreeTeller::Marks own;
    const bool isMarked = isWithin(marked_, top.range());
    if (!isMarked) own = matchedRows(connection_, *matches_.state, leaves_, {top.range()});
    NodeEvents &events = visitor_.beginFragment(matches_.state->recordOf(row), document.name,
                                                placeOf(excerpt_, top));
    TreeTeller teller(matches_.state->summary, names_, isMarked ? marks_ : own, events);
    const std::string scope = inScope(top);
    teller.tell(top, declarationsIn(scope));
    excerpt_.tell(top.below(), [&](const NodeRow &below) { teller.tell(below); });
    teller.end();
    visitor_.endFragment();
}

}  // namespace zdbs::sql
