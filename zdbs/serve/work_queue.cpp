#include "zdbs/serve/work_queue.h"

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
    {
        const std::lock_guard lock(mutex_);
        const std::size_t idle = threads_.size() - running_;
        if (line_.size() >= idle + most_) return false;
        line_.push_back(std::move(work));
    }
    changed_.notify_one();
    return true;
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
        changed_.wait(lock, [this] { return isOver_ || !line_.empty(); });
        if (line_.empty()) return;
        Work work = std::move(line_.front());
        line_.pop_front();
        ++running_;
        lock.unlock();
        work();
        work = nullptr;
        lock.lock();
        --running_;
    }
}

}  // namespace zdbs::serve
