#include "zdbs/boundary/held_interrupt.h"

#include <signal.h>

namespace zdbs {

HeldInterrupt::HeldInterrupt() {
    sigset_t held;
    sigemptyset(&held);
    pthread_sigmask(SIG_BLOCK, nullptr, &held);
    if (sigismember(&held, SIGINT) == 1) scope_.emplace(stop_);
}

bool HeldInterrupt::Waiting::isRequested() const noexcept {
    sigset_t waiting;
    sigemptyset(&waiting);
    sigpending(&waiting);
    return sigismember(&waiting, SIGINT) == 1;
}

}  // namespace zdbs
