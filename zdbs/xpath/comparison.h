/** The comparisons of XPath 1.0, section 3.4. */
#ifndef ZDBS_XPATH_COMPARISON_H
#define ZDBS_XPATH_COMPARISON_H

#include "zdbs/xpath/values.h"

namespace zdbs::xpath {

/** The relation of a comparison's operator. REQUIRES isComparison(). */
Relation relationOf(Operator sign);

/** The relation that the sides have the other way round. */
Relation turned(Relation relation);

/** Booleans. REQUIRES isComparison(sign). @param contexts how many there are */
Value compared(Operator sign, const Value &left, const Value &right, std::size_t contexts);

}  // namespace zdbs::xpath

#endif
