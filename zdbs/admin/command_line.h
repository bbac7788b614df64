/** The command line of the program `zdbs`. */
#ifndef ZDBS_ADMIN_COMMAND_LINE_H
#define ZDBS_ADMIN_COMMAND_LINE_H

#include <functional>

#include "zdbs/admin/commands.h"

namespace zdbs::admin {

/** Answers requests over HTTP until it is told to end. */
using ServeHome = std::function<bool(const HomeChoice &home, const serve::Settings &settings)>;

/** What the program answers to its caller. */
enum ExitStatus : int {
    allDone = 0,        ///< everything that was asked for
    notDone = 1,        ///< or a part of it, or nothing; messages say what
    badUsage = 2,       ///< the command line makes no sense; nothing was begun
    interrupted = 130,  ///< Ctrl-C while requests were answered; those before it were
};

/** Runs the command, `serve` by the function, and answers the exit status. Throws nothing. */
int runCommandLine(int argc, char **argv, ServeHome serveHome);

}  // namespace zdbs::admin

#endif
