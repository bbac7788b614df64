#include "zdbs/boundary/held_interrupt.h"

#include <signal.h>
#include <time.h>

namespace zdbs {
namespace {

/** When the calling thread was last seen to let the signal in; the clock is read without a call. */
thread_local timespec seenLetIn = {};

bool isHeld() noexcept {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec == seenLetIn.tv_sec && now.tv_nsec == seenLetIn.tv_nsec) return false;
    sigset_t held;
    sigemptyset(&held);
    pthread_sigmask(SIG_BLOCK, nullptr, &held);
    if (sigismember(&held, SIGINT) == 1) return true;
    seenLetIn = now;
    return false;
}

}  // namespace

bool HeldInterrupt::Waiting::isRequested() const noexcept {
    if (!isHeld()) return false;
    sigset_t waiting;
    sigemptyset(&waiting);
    sigpending(&waiting);
    return sigismember(&waiting, SIGINT) == 1;
}

}  // namespace zdbs
