/** Commands of the program zdbs, run for users elsewhere. */
#ifndef ZDBS_SERVE_KERNEL_COMMAND_H
#define ZDBS_SERVE_KERNEL_COMMAND_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/private_files.h"
#include "zdbs/remote/message.h"
#include "zdbs/serve/reply.h"
#include "zdbs/serve/request_stop.h"

namespace zdbs::serve {

/** What a command may have. */
struct CommandLimits {
    std::uint64_t memory;  ///< bytes of its data
    std::uint64_t result;  ///< bytes of the messages that it answers
};

/**
 * The program beside this one, as a process for one user of the home: it does nothing but answer
 * from databases that are granted (zdbs/admin/command_line.h). Killed and reaped with its owner.
 *
 * One thread at a time. Throws Failure: storeFailed; serverRefused where it writes more than it
 * may, or was ended by a signal; stopped.
 */
class KernelCommand {
public:
    KernelCommand(const std::string &location, const std::string &user,
                  const std::vector<std::string> &words, CommandLimits limits);
    ~KernelCommand();
    KernelCommand(const KernelCommand &) = delete;
    KernelCommand &operator=(const KernelCommand &) = delete;

    /**
     * Sends what it writes on as messages, each as it comes, until it waits for input or is at its
     * end; answers its exit status then, and nothing where it waits. What is stopped is
     * interrupted, and throws where it does not end by that.
     */
    std::optional<int> goOn(Reply &reply, const RequestStop &stop);

    /** What it waits for; empty: the end. REQUIRES that it waits, and at most longestInput. */
    void give(std::string_view input);

    /** As Ctrl-C does. */
    void interrupt();

    static constexpr std::size_t longestInput = std::size_t{64} * 1024;

private:
    using Clock = std::chrono::steady_clock;

    void spawn(const std::string &program, char *const *words, char *const *environment, int input,
               int output, int errors);
    void pass(FileDescriptor &from, remote::Kind kind, Reply &reply);
    void takeDemand();
    void heed(const RequestStop &stop);
    int wait();

    pid_t id_ = -1;
    FileDescriptor input_;  ///< a socket: it sends a byte there when it waits for something
    FileDescriptor output_;
    FileDescriptor errors_;
    std::uint64_t left_;  ///< bytes that it may answer
    bool isAsking_ = false;
    std::optional<Clock::time_point> interrupted_;
};

}  // namespace zdbs::serve

#endif
