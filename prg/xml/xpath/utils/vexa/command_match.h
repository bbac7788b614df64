#ifndef PRG_XML_XPATH_UTILS_VEXA_COMMAND_MATCH_H
#define PRG_XML_XPATH_UTILS_VEXA_COMMAND_MATCH_H

#include <string_view>

/**
 * Compares names of commands and options. Case folding is that of ASCII whatever the locale is:
 * under a Turkish one, toupper('i') is no 'I', and "xfind" has to stay XFIND there too.
 */
bool equalsNoCase(std::string_view a, std::string_view b);

/** Whether `text` begins with `prefix`, compared in the same way. */
bool startsWithNoCase(std::string_view text, std::string_view prefix);

#endif
