/** Threads that do what comes, and a line of bounded length in front of them. */
#ifndef ZDBS_SERVE_WORK_QUEUE_H
#define ZDBS_SERVE_WORK_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zdbs::serve {

/** Any thread may call. */
class WorkQueue {
public:
    /** Throws nothing. */
    using Work = std::function<void()>;

    /** @param line how much may wait when all threads are busy */
    WorkQueue(std::size_t threads, std::size_t line);

    /** Does what waits, then ends. */
    ~WorkQueue();
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;

    /** False where the line is full. */
    bool add(Work work);

    /**
     * Work of a thread outside takes a place among the threads, in its turn, until leave(). Costs
     * next to nothing where one is free. False where the line is full.
     */
    bool enter();
    void leave();

    std::size_t running() const;
    std::size_t waiting() const;

private:
    /** What waits, or a thread outside for which a place is taken. */
    struct Waiting {
        Work work;
        bool keepsPlace = false;
    };

    bool wait(Waiting waiting);
    void run();

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Waiting> line_;
    std::size_t most_;
    std::size_t running_ = 0;
    bool isOver_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace zdbs::serve

#endif
