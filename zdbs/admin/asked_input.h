/** Standard input that is asked for. */
#ifndef ZDBS_ADMIN_ASKED_INPUT_H
#define ZDBS_ADMIN_ASKED_INPUT_H

#include <cstdio>

namespace zdbs::admin {

/** Set by a server: whose grants count. It takes rights away and gives none. */
inline constexpr const char *grantsVariable = "ZDBS_GRANTS_OF";

/**
 * Standard input. Where a server has started the program, that is a socket at which nothing comes
 * before it is asked for: a byte is sent there whenever there is nothing to read, so the server
 * knows that everything before was answered. Owned by the program.
 * Throws std::bad_alloc.
 */
std::FILE *requestInput();

}  // namespace zdbs::admin

#endif
