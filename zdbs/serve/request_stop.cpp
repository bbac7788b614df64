#include "zdbs/serve/request_stop.h"

#include <cstddef>

// Of jemalloc, when the program is linked with it.
extern "C" __attribute__((weak)) int mallctl(const char *name, void *old, std::size_t *oldSize,
                                             void *fresh, std::size_t freshSize);

namespace zdbs::serve {

namespace {

/** Where the allocator counts for a thread; null where it does not. */
const std::uint64_t *counter(const char *name) noexcept {
    std::uint64_t *place = nullptr;
    std::size_t size = sizeof place;
    if (mallctl == nullptr || mallctl(name, &place, &size, nullptr, 0) != 0) return nullptr;
    return place;
}

}  // namespace

std::int64_t heldByThread() noexcept {
    static thread_local const std::uint64_t *const taken = counter("thread.allocatedp");
    static thread_local const std::uint64_t *const given = counter("thread.deallocatedp");
    if (taken == nullptr || given == nullptr) return 0;
    return static_cast<std::int64_t>(*taken) - static_cast<std::int64_t>(*given);
}

bool canCountMemory() noexcept {
    return counter("thread.allocatedp") != nullptr;
}

void RequestStop::begin(Clock::duration time, std::uint64_t bytes) {
    end_ = Clock::now() + time;
    mostHeld_ = heldByThread() + static_cast<std::int64_t>(bytes);
    isRunning_ = true;
}

void RequestStop::stop(StopReason reason) noexcept {
    remember(reason);
}

void RequestStop::remember(StopReason reason) const noexcept {
    StopReason none = StopReason::none;
    reason_.compare_exchange_strong(none, reason, std::memory_order_relaxed);
}

bool RequestStop::isRequested() const noexcept {
    if (reason() != StopReason::none) return true;
    if (!isRunning_) return false;
    if (Clock::now() >= end_) remember(StopReason::time);
    if (heldByThread() > mostHeld_) remember(StopReason::memory);
    return reason() != StopReason::none;
}

}  // namespace zdbs::serve
