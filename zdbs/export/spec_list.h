/** Cuts the list of fragment specifications into the single ones. */
#ifndef ZDBS_EXPORT_SPEC_LIST_H
#define ZDBS_EXPORT_SPEC_LIST_H

#include <string>
#include <string_view>
#include <vector>

namespace zdbs {

/**
 * Cuts at white space (blank, tab, line ends), but not inside brackets, parentheses
 * and string literals: `/a[b = 'x y'] //c` is two specifications. A bracket that is
 * never closed reaches to the end of the text, so that the parser reports it.
 */
std::vector<std::string> splitSpecs(std::string_view text);

}  // namespace zdbs

#endif
