#ifndef TESTS_FOUNDATION_SLEEPING_THREAD_H
#define TESTS_FOUNDATION_SLEEPING_THREAD_H

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/temporary_directory.h"

inline long kernelThreadId() {
    return syscall(SYS_gettid);
}

// Waits until the thread, which stores its kernelThreadId() in `id` before it goes for a lock that
// is held, waits in the kernel for that lock.
inline void awaitSleep(const std::atomic<long> &id) {
    for (;; std::this_thread::yield()) {
        if (id == 0) continue;
        const std::string stat =
            support::readFile("/proc/self/task/" + std::to_string(id) + "/stat");
        const std::size_t state = stat.rfind(") ");
        if (state != std::string::npos && stat.substr(state + 2, 1) == "S") return;
    }
}

#endif
