#include "foundation/process_limits.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <string_view>

namespace {

// Requests nest some hundreds of levels deep, which takes a tenth of that.
constexpr rlim_t leastStack = rlim_t{1} << 20;

// What is needed until a program is so far that it can report a lack of memory.
constexpr std::size_t leastRoom = std::size_t{24} << 20;

[[noreturn]] void endWith(std::string_view message) {
    // Nothing can be done where this fails, too.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, message.data(), message.size());
    ::_exit(1);
}

void provideStacks() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= leastStack) return;
    limit.rlim_cur = leastStack;
    if (limit.rlim_max != RLIM_INFINITY) limit.rlim_max = std::max(limit.rlim_max, leastStack);
    if (::setrlimit(RLIMIT_STACK, &limit) != 0)
        endWith("The limit of the stack is too low: 1024 kB are needed (ulimit -s).\n");
    // Those of other threads have the size that the limit had when the program started.
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, leastStack);
    ::pthread_setattr_default_np(&attributes);
    ::pthread_attr_destroy(&attributes);
}

void requireRoom() {
    void *const room =
        ::mmap(nullptr, leastRoom, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED)
        endWith("Not enough memory: the limit of address space is too low (ulimit -v).\n");
    ::munmap(room, leastRoom);
}

}  // namespace

void standUpToProcessLimits() {
    std::signal(SIGXFSZ, SIG_IGN);
    provideStacks();
    requireRoom();
}
