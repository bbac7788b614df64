/** Commands on databases that a server has. */
#ifndef ZDBS_ADMIN_SERVED_COMMAND_H
#define ZDBS_ADMIN_SERVED_COMMAND_H

#include <string>
#include <vector>

namespace zdbs::admin {

/**
 * Runs a command at the server of a location and answers its exit status. The user is the one of
 * the location or of the setting ZDBS_USER; the password is the first line of the file that
 * ZDBS_PASSWORD_FILE names, which nobody else may read, or is asked for on the terminal.
 *
 * @param words behind the name of the program
 * Throws UsageError, Interrupted, Failure: badPassword and as of remote::runCommand().
 */
int runServedCommand(const std::string &location, const std::vector<std::string> &words);

}  // namespace zdbs::admin

#endif
