/** A request and its answer, between the thread of its connection and the one that works on it. */
#ifndef ZDBS_SERVE_EXCHANGE_H
#define ZDBS_SERVE_EXCHANGE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "zdbs/serve/problem.h"
#include "zdbs/serve/reply.h"
#include "zdbs/serve/request.h"
#include "zdbs/serve/request_stop.h"

namespace zdbs::serve {

/**
 * The answer passes through a buffer of about a mebibyte: a worker that is ahead of its client
 * waits, but no longer than the client may stall. A connection that is ahead of the worker is
 * suspended, which costs no thread, and resumed when there is something. As long as nothing has
 * been taken, a failure replaces what was written.
 *
 * Owned by both sides, through a shared pointer. The request is the connection's until it has
 * handed it to a worker, and the worker's from then on.
 */
class Exchange final : public Reply {
public:
    using Clock = std::chrono::steady_clock;

    /** How a connection is halted and set going; neither calls back. */
    struct Valve {
        std::function<void()> suspend;
        std::function<void()> resume;
    };

    Request request;
    RequestStop stop;
    std::atomic<bool> isKernelCall = false;
    const Clock::time_point begun = Clock::now();

    // The worker's side.

    /** @param bytes of the whole answer @param stall how long a client may take nothing */
    void limit(std::uint64_t bytes, Clock::duration stall);
    void begin(ReplyHead head) override;
    void write(std::string_view piece) override;
    void flush() override;

    /** In place of the answer; where that is on its way, it is broken off. */
    void refuse(const Problem &problem);

    /** Nothing comes any more. */
    void finish();

    /** Resumes the connection without an answer: it has been waiting for something else. */
    void goOn();

    // The connection's side.

    void attach(Valve valve) { valve_ = std::move(valve); }

    /** Suspends the connection until finish(), or until there is much to send. */
    void await();

    /** A part of the answer, or what ends it. */
    struct Taken {
        enum class Kind : std::uint8_t { bytes, nothingYet, end, broken };
        Kind kind = Kind::end;
        std::size_t size = 0;
    };

    /** After nothingYet the connection is suspended. */
    Taken take(char *buffer, std::size_t room);

    /** Once await() is over: whether all of it is there; then the head and its length. */
    bool isWhole() const;
    const ReplyHead &head() const { return head_; }
    std::uint64_t written() const { return written_; }

    /** The client wants nothing any more. */
    void abandon(StopReason reason);

    /** Whether a worker has it, and the client waits. */
    bool isAwaited() const;

private:
    static constexpr std::size_t chunkSize = std::size_t{64} * 1024;
    static constexpr std::size_t mostChunks = 16;

    void handOver();
    void resumeLocked();

    Valve valve_;
    ReplyHead head_;
    std::string chunk_;  ///< the worker's; not handed over yet
    std::uint64_t written_ = 0;
    std::uint64_t most_ = UINT64_MAX;
    Clock::duration stall_ = std::chrono::seconds(20);
    bool isHandedOver_ = false;  ///< some of it; the worker's

    mutable std::mutex mutex_;
    std::condition_variable taken_;
    std::deque<std::string> chunks_;
    std::deque<std::string> spare_;  ///< chunks that were sent, for the worker to fill again
    std::size_t sent_ = 0;           ///< of the first chunk
    bool isSuspended_ = false;
    bool isFinished_ = false;
    bool isBroken_ = false;
    bool isAbandoned_ = false;
};

}  // namespace zdbs::serve

#endif
