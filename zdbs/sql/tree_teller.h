/** Tells rows as events. */
#ifndef ZDBS_SQL_TREE_TELLER_H
#define ZDBS_SQL_TREE_TELLER_H

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "zdbs/engine/events.h"
#include "zdbs/sql/excerpt.h"
#include "zdbs/sql/hit_search.h"

namespace zdbs::sql {

/** Numbers names in the order of their use. */
class NameNumbers {
public:
    NumberedName of(const Path &path);

private:
    std::map<std::tuple<std::string, std::string, std::string>, std::uint32_t> numbers_;
};

/** The rows of one tree or of neighbours, in order; ends the elements that are open at the end. */
class TreeTeller {
public:
    using Marks = std::map<RowId, Conditions>;  ///< which conditions hit which rows

    TreeTeller(const Summary &summary, NameNumbers &names, const Marks &marks, NodeEvents &events)
        : summary_(summary), names_(names), marks_(marks), events_(events) {}

    void tell(const NodeRow &row) { tell(row, declarationsOf(row)); }
    /** With other declarations than its own, if it is an element. */
    void tell(const NodeRow &row, const std::vector<NamespaceDeclaration> &declarations);
    void end();

private:
    std::vector<NamespaceDeclaration> declarationsOf(const NodeRow &row) const;

    const Summary &summary_;
    NameNumbers &names_;
    const Marks &marks_;
    NodeEvents &events_;
    std::vector<int> open_;  ///< last rows of the elements that have not ended
};

/** Where a node stands: /a[1]/p:b[2]/@id. */
std::string placeOf(Excerpt &excerpt, const NodeRow &row);

}  // namespace zdbs::sql

#endif
