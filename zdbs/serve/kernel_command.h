/** Commands of the program zdbs, run for users elsewhere. */
#ifndef ZDBS_SERVE_KERNEL_COMMAND_H
#define ZDBS_SERVE_KERNEL_COMMAND_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/stop.h"
#include "zdbs/serve/kernel_connection.h"

namespace zdbs::serve {

/** What a command may have. */
struct CommandLimits {
    std::uint64_t memory;  ///< bytes of its data
    std::uint64_t result;  ///< bytes that it writes
};

/**
 * Runs the program beside this one, as a process for one user of the home: it does nothing but
 * answer from databases that are granted (zdbs/admin/command_line.h). What it writes goes over the
 * connection as it comes, what it reads is asked for; a stop interrupts it.
 *
 * Answers its exit status. Throws Failure: storeFailed, serverRefused where it writes more than it
 * may, stopped where the connection is at its end; and Malformed.
 */
int runCommand(const std::string &location, const std::string &user,
               const std::vector<std::string> &words, KernelConnection &connection,
               const Stop &stop, CommandLimits limits);

}  // namespace zdbs::serve

#endif
