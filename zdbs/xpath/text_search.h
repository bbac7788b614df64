/** A text looked for in string-values of elements, without putting these together. */
#ifndef ZDBS_XPATH_TEXT_SEARCH_H
#define ZDBS_XPATH_TEXT_SEARCH_H

#include <string>

#include "zdbs/xpath/collection.h"

namespace zdbs::xpath {

/**
 * The elements and roots of a set whose string-value contains a text: one of the texts below does,
 * or it begins in one of them and ends in a later one. Where there are more texts than `many`, only
 * those are read that the engine finds pieces of it in, and their neighbours.
 * REQUIRES that it is not empty.
 */
NodeSet containing(const Collection &collection, const NodeSet &containers, const std::string &text,
                   std::size_t many);

}  // namespace zdbs::xpath

#endif
