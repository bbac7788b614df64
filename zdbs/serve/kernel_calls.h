/** What comes as requests of one connection to the place of kernels. */
#ifndef ZDBS_SERVE_KERNEL_CALLS_H
#define ZDBS_SERVE_KERNEL_CALLS_H

#include <cstdint>
#include <memory>
#include <string>

#include "zdbs/remote/kernel_session.h"
#include "zdbs/serve/kernel_command.h"

namespace zdbs::serve {

/**
 * Sessions, where the connection cannot go over to messages, which is so through TLS, and commands.
 * Of one connection, and gone with it. Used by the one request at a time that it has.
 */
struct KernelSlot {
    std::string user;
    std::shared_ptr<void> room;  ///< among the sessions that may be open; null: nothing is
    std::unique_ptr<LocalSession> session;
    std::unique_ptr<KernelCommand> command;  ///< between requests it waits for input
    std::int64_t held = 0;                   ///< bytes, by the session's calls

    /** Whether it has a place already, of this user. */
    bool isOf(const std::string &name) const { return room && user == name; }
};

/** What is sent to the place of kernels. */
inline constexpr const char *kernelType = "application/x-zdbs-kernel";

}  // namespace zdbs::serve

#endif
