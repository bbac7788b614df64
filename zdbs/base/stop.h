/** Ending what takes too long, from outside. */
#ifndef ZDBS_BASE_STOP_H
#define ZDBS_BASE_STOP_H

#include <atomic>

namespace zdbs {

/** A wish that what is done come to its end. Any thread may ask, and a signal handler. */
class Stop {
public:
    Stop() = default;
    virtual ~Stop() = default;
    Stop(const Stop &) = delete;
    Stop &operator=(const Stop &) = delete;

    void request() noexcept { isRequested_.store(true, std::memory_order_relaxed); }
    void withdraw() noexcept { isRequested_.store(false, std::memory_order_relaxed); }
    virtual bool isRequested() const noexcept {
        return isRequested_.load(std::memory_order_relaxed);
    }

    /**
     * Whether other threads may do some of what its thread is to do. Not where it counts what
     * that one takes. It is asked whether it is requested by its own thread all the same.
     */
    virtual bool allowsHelp() const noexcept { return false; }

private:
    static_assert(std::atomic<bool>::is_always_lock_free);

    std::atomic<bool> isRequested_{false};
};

/** While it lives, what its thread does heeds a stop, which must outlive it. */
class StopScope {
public:
    explicit StopScope(const Stop &stop);
    ~StopScope();
    StopScope(const StopScope &) = delete;
    StopScope &operator=(const StopScope &) = delete;

private:
    const Stop *outer_;
};

/** What this thread heeds; null: nothing stops it. */
const Stop *stopOfThread() noexcept;

/**
 * Throws Failure(stopped) when the stop of this thread is requested. Costs a few nanoseconds:
 * whatever can take longer than some milliseconds calls it now and then.
 */
void heedStop();

/** Heeds the stop once in so many steps of a loop. */
class StopCounter {
public:
    void step() {
        if ((++steps_ & 1023U) == 0) heedStop();
    }

private:
    unsigned steps_ = 0;
};

}  // namespace zdbs

#endif
