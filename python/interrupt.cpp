#include "python/interrupt.h"

#include <time.h>
#include <unistd.h>

namespace zdbs::python {

namespace {

constexpr std::int64_t betweenLooks = 50;

/** The clock that is read fastest: a stop is asked very often. */
std::int64_t milliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

SignalStop::SignalStop()
    : isMainThread_(::gettid() == ::getpid()), nextLook_(milliseconds() + betweenLooks) {}

bool SignalStop::isRequested() const noexcept {
    if (hasRaised_ || !isMainThread_) return hasRaised_;
    const std::int64_t now = milliseconds();
    if (now < nextLook_) return false;
    nextLook_ = now + betweenLooks;
    const PyGILState_STATE state = PyGILState_Ensure();
    hasRaised_ = PyErr_CheckSignals() != 0;
    PyGILState_Release(state);
    return hasRaised_;
}

}  // namespace zdbs::python
