/** Namespace declarations as elements keep them in the place of a value. */
#ifndef ZDBS_SQL_DECLARATIONS_H
#define ZDBS_SQL_DECLARATIONS_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/node.h"

namespace zdbs::sql {

/** Adds one: prefix and name, each behind its length in bytes and a colon. */
void addDeclaration(std::string &text, std::string_view prefix, std::string_view uri);

/** In the order in which they were written; they point into the text. */
std::vector<NamespaceDeclaration> declarationsIn(std::string_view text);

}  // namespace zdbs::sql

#endif
