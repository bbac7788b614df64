#ifndef PRG_XML_XPATH_UTILS_VEXA_PAGER_H
#define PRG_XML_XPATH_UTILS_VEXA_PAGER_H

#include <string_view>

/**
 * Shows a document, with a line feed behind it, on the terminal of standard output: what would
 * steer it is made visible, hits are in colour unless NO_COLOR is set. The interrupt key ends the
 * output.
 * @param isPaged $PAGER gets what is longer than the screen ("less -FRX" when that is not set)
 */
void showDocument(std::string_view document, bool isPaged);

#endif
