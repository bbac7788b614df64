/** The names of users and databases. */
#ifndef ZDBS_BASE_NAMES_H
#define ZDBS_BASE_NAMES_H

#include <cstddef>
#include <string_view>

namespace zdbs {

constexpr std::size_t maxNameLength = 63;

/** Letters and digits of ASCII, `_`, `-`, `.`; at most 63 bytes, not empty, no leading dot. */
bool isValidName(std::string_view name);

/** Throws Failure(badName) unless isValidName(name). */
void requireValidName(std::string_view name);

}  // namespace zdbs

#endif
