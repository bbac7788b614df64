/** A child process and what it is started with; used by the pipe and the terminal drivers. */
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace support {

using Clock = std::chrono::steady_clock;

/** How long a driver waits for anything before it gives up: only a hanging program meets it. */
inline constexpr std::chrono::seconds patience{300};

struct Command {
    std::string program;
    std::vector<std::string> arguments;
    /** Added to an environment of PATH, HOME=/nonexistent, LC_ALL=C and the sanitizers' options. */
    std::map<std::string, std::string> environment;
    /** Signals that the program finds ignored, as under nohup. */
    std::set<int> ignoredSignals;
};

/**
 * The command as a shell starts it.
 * @param redirections "<&- >/dev/full"
 * @param before what the shell does first: "ulimit -n 20"
 */
Command throughShell(const Command &command, const std::string &redirections,
                     const std::string &before = ":");

/** How a process ended: with an exit status, or by a signal. */
struct Ending {
    std::optional<int> status;
    std::optional<int> signal;
    bool timedOut = false;

    bool operator==(const Ending &) const = default;
};

Ending exited(int status);
Ending killedBy(int signal);
/** "exit status 0", "signal 15", "still running after 300 s". */
std::string toString(const Ending &ending);
void PrintTo(const Ending &ending, std::ostream *out);

/** Replaces the calling (forked) process by the command; does not return. */
[[noreturn]] void execute(const Command &command);

/** Waits for the end of a child; kills it at the deadline. */
Ending awaitEnd(pid_t child, Clock::time_point deadline);

/** Milliseconds until the deadline, for poll(); never negative. */
int millisecondsUntil(Clock::time_point deadline);

}  // namespace support

#endif
