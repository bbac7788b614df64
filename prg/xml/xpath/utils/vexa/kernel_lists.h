#ifndef PRG_XML_XPATH_UTILS_VEXA_KERNEL_LISTS_H
#define PRG_XML_XPATH_UTILS_VEXA_KERNEL_LISTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "prg/xml/xpath/notes/notes.h"

/**
 * Lists that a kernel may have for whoever is typing, in UTF-8. They are asked for by names of
 * export filters that a kernel need not know: nothing then, and no message.
 */

struct OfferedName {
    bool isAttribute = false;
    bool hasElements = false;
    std::string prefix;
    std::string local;  // "*": names that are not told
};

/**
 * The names at a place of the open database, the most frequent ones first.
 * @param place "//" anywhere, "/" at the top, "//person/" inside of persons
 */
std::vector<OfferedName> namesAt(const std::string &place);

/** The databases that the user may open. */
std::vector<std::string> databaseNames();

/** All names of the open database, for notes; none when there are some that are not told. */
std::vector<notes::KnownName> knownNames();

#endif
