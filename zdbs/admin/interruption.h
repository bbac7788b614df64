/** Ctrl-C while requests are answered. */
#ifndef ZDBS_ADMIN_INTERRUPTION_H
#define ZDBS_ADMIN_INTERRUPTION_H

#include <csignal>
#include <stdexcept>
#include <string_view>

#include "zdbs/base/stop.h"

namespace zdbs::admin {

/** The user ended the command; says what was stopped. */
class Interrupted : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** What a load says when it is ended. */
constexpr const char *interruptedLoad = "Interrupted. Nothing was stored.";

/**
 * While it lives, the first SIGINT stops what its thread does instead of the process; the second
 * one ends the process, as does each where the first is not heeded. A process that is made to
 * ignore the signal goes on ignoring it. One at a time.
 */
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;

    /** Throws Interrupted, with the request that was at hand or the last, when it is requested. */
    static void endIfRequested(std::string_view request);

private:
    struct sigaction before_;
    StopScope scope_;
};

}  // namespace zdbs::admin

#endif
