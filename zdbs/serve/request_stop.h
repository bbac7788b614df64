/** What ends a request before its answer. */
#ifndef ZDBS_SERVE_REQUEST_STOP_H
#define ZDBS_SERVE_REQUEST_STOP_H

#include <atomic>
#include <chrono>
#include <cstdint>

#include "zdbs/base/stop.h"

namespace zdbs::serve {

/** Why a request was ended. */
enum class StopReason : std::uint8_t {
    none,
    clientGone,
    slowClient,
    shutdown,
    time,
    memory,
    asked
};

/**
 * The stop of one request. Time and memory are looked at by the thread that runs it, between
 * begin() and the end; any thread may stop it for another reason. The first reason stays.
 */
class RequestStop final : public Stop {
public:
    using Clock = std::chrono::steady_clock;

    /** From now on, in this thread. @param bytes that it may hold more than now */
    void begin(Clock::duration time, std::uint64_t bytes);

    void stop(StopReason reason) noexcept;
    StopReason reason() const noexcept { return reason_.load(std::memory_order_relaxed); }

    /** Waiting for a client is nothing that the request does. */
    void excuse(Clock::duration waited) { end_ += waited; }

    bool isRequested() const noexcept override;

private:
    void remember(StopReason reason) const noexcept;

    mutable std::atomic<StopReason> reason_ = StopReason::none;
    Clock::time_point end_ = Clock::time_point::max();
    std::int64_t mostHeld_ = 0;
    bool isRunning_ = false;
};

/**
 * Bytes that this thread has allocated and not freed, where the program's allocator counts them
 * (jemalloc does); otherwise 0, and canCountMemory() is false.
 */
std::int64_t heldByThread() noexcept;
bool canCountMemory() noexcept;

}  // namespace zdbs::serve

#endif
