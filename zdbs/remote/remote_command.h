/** Commands of the program zdbs that a server runs. */
#ifndef ZDBS_REMOTE_REMOTE_COMMAND_H
#define ZDBS_REMOTE_REMOTE_COMMAND_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/remote/channel.h"

namespace zdbs::remote {

/** What a command reads and writes here. */
struct CommandStreams {
    int input;  ///< a file descriptor
    std::function<void(std::string_view)> output;
    std::function<void(std::string_view)> errors;
};

/**
 * Runs a command to its end and answers its exit status. Its words are those behind the name of the
 * program. A stop of this thread ends it as Ctrl-C does. Throws Failure: serverLost, serverRefused,
 * and what the streams throw.
 */
int runCommand(Channel &channel, const std::vector<std::string> &words,
               const CommandStreams &streams);

}  // namespace zdbs::remote

#endif
