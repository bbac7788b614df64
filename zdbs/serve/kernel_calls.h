/** Sessions whose calls come as requests of one connection, where it cannot go over: through TLS.
 */
#ifndef ZDBS_SERVE_KERNEL_CALLS_H
#define ZDBS_SERVE_KERNEL_CALLS_H

#include <cstdint>
#include <memory>
#include <string>

#include "zdbs/remote/kernel_session.h"

namespace zdbs::serve {

/** Of one connection, and gone with it. Used by the one request at a time that it has. */
struct KernelSlot {
    std::string user;
    std::unique_ptr<LocalSession> session;
    std::shared_ptr<void> room;  ///< among the sessions that may be open
    std::int64_t held = 0;       ///< bytes, by its calls
};

/** What is sent to the place of kernels. */
inline constexpr const char *kernelType = "application/x-zdbs-kernel";

}  // namespace zdbs::serve

#endif
