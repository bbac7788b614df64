#include "zdbs/serve/work_queue.h"

#include <semaphore>
#include <utility>

namespace zdbs::serve {

WorkQueue::WorkQueue(std::size_t threads, std::size_t line) : most_(line) {
    for (std::size_t i = 0; i < threads; ++i)
        threads_.emplace_back([this] { run(); });
}

WorkQueue::~WorkQueue() {
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    changed_.notify_all();
    for (std::thread &thread : threads_)
        thread.join();
}

bool WorkQueue::add(Work work) {
    return wait({std::move(work), false});
}

bool WorkQueue::wait(Waiting waiting) {
    {
        const std::lock_guard lock(mutex_);
        const std::size_t idle = threads_.size() - running_;
        if (line_.size() >= idle + most_) return false;
        line_.push_back(std::move(waiting));
    }
    changed_.notify_one();
    return true;
}

bool WorkQueue::enter() {
    {
        const std::lock_guard lock(mutex_);
        if (line_.empty() && running_ < threads_.size()) {
            ++running_;
            return true;
        }
    }
    std::binary_semaphore turn(0);
    if (!wait({[&turn] { turn.release(); }, true})) return false;
    turn.acquire();
    return true;
}

void WorkQueue::leave() {
    {
        const std::lock_guard lock(mutex_);
        --running_;
        if (line_.empty()) return;
    }
    changed_.notify_one();
}

std::size_t WorkQueue::running() const {
    const std::lock_guard lock(mutex_);
    return running_;
}

std::size_t WorkQueue::waiting() const {
    const std::lock_guard lock(mutex_);
    return line_.size();
}

void WorkQueue::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] {
            return (isOver_ && line_.empty()) || (!line_.empty() && running_ < threads_.size());
        });
        if (line_.empty()) return;
        Waiting next = std::move(line_.front());
        line_.pop_front();
        ++running_;
        lock.unlock();
        next.work();
        next.work = nullptr;
        lock.lock();
        if (!next.keepsPlace) --running_;
    }
}

}  // namespace zdbs::serve
