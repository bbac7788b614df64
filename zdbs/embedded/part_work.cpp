#include "zdbs/embedded/part_work.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "zdbs/base/stop.h"

namespace zdbs::embedded {
namespace {

/** How long the stop of the request may go unseen while only helpers work. */
constexpr std::chrono::milliseconds betweenLooks{5};

/** Of the helpers; and of the thread of the request, which alone may ask the stop of that. */
class SharedStop final : public Stop {
public:
    explicit SharedStop(const Stop *outer) : outer_(outer), owner_(std::this_thread::get_id()) {}

    bool isRequested() const noexcept override {
        if (Stop::isRequested()) return true;
        return outer_ != nullptr && std::this_thread::get_id() == owner_ && outer_->isRequested();
    }

private:
    const Stop *outer_;
    std::thread::id owner_;
};

class PartWork {
public:
    PartWork(std::size_t count, const std::function<void(std::size_t)> &work)
        : count_(count), work_(work), stop_(stopOfThread()) {}

    void run() {
        workOff();
        waitForHelpers();
        for (std::thread &helper : helpers_)
            helper.join();
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    /** Each thread starts the next one, so that little work is done before many have begun. */
    void workOff() {
        const StopScope scope(stop_);
        startHelper();
        while (const auto part = take()) {
            try {
                work_(*part);
            } catch (...) {
                fail(std::current_exception());
            }
        }
    }

    std::optional<std::size_t> take() {
        const std::lock_guard lock(mutex_);
        if (failure_ || next_ == count_) return std::nullopt;
        return next_++;
    }

    void fail(std::exception_ptr failure) {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::move(failure);
        stop_.request();
    }

    void startHelper() {
        const std::lock_guard lock(mutex_);
        const std::size_t left = count_ - next_;
        if (failure_ || left < 2 || helpers_.size() + 1 >= cores_) return;
        try {
            helpers_.emplace_back([this] { help(); });
            ++running_;
        } catch (const std::system_error &) {
            // No more threads: those that are there do it.
        } catch (const std::bad_alloc &) {
        }
    }

    void help() {
        workOff();
        const std::lock_guard lock(mutex_);
        --running_;
        done_.notify_one();
    }

    /** When this thread has nothing left to do, its stop is still the one of the request. */
    void waitForHelpers() {
        std::unique_lock lock(mutex_);
        while (!done_.wait_for(lock, betweenLooks, [this] { return running_ == 0; })) {
            if (stop_.isRequested()) stop_.request();
        }
    }

    const std::size_t count_;
    const std::function<void(std::size_t)> &work_;
    const std::size_t cores_ = std::thread::hardware_concurrency();
    SharedStop stop_;
    std::mutex mutex_;  ///< of what follows
    std::condition_variable done_;
    std::size_t next_ = 0;
    std::size_t running_ = 0;
    std::vector<std::thread> helpers_;
    std::exception_ptr failure_;
};

bool isAlone() {
    const Stop *const stop = stopOfThread();
    return (stop != nullptr && !stop->allowsHelp()) || std::thread::hardware_concurrency() < 2;
}

}  // namespace

void forEachPart(std::size_t count, const std::function<void(std::size_t)> &work) {
    if (count > 1 && !isAlone()) return PartWork(count, work).run();
    for (std::size_t part = 0; part < count; ++part)
        work(part);
}

}  // namespace zdbs::embedded
