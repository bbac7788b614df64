/** Passwords from the terminal or from standard input. */
#ifndef ZDBS_ADMIN_PASSWORD_PROMPT_H
#define ZDBS_ADMIN_PASSWORD_PROMPT_H

#include <string>

namespace zdbs::admin {

/**
 * Asks twice on the terminal of the process, whatever the standard streams are,
 * without showing what is typed. Signals that come meanwhile take effect when
 * the terminal is as it was. Throws Failure(badPassword): no terminal, cancelled,
 * two different answers.
 */
std::string askForNewPassword(const std::string &user);

/** The same of a password that is there: once. */
std::string askForPassword(const std::string &user);

/** One line of standard input without its end. Throws Failure(badPassword) when there is none. */
std::string readPasswordLine();

}  // namespace zdbs::admin

#endif
