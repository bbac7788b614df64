// Stands in front of the system's calls that change files, for the program it is linked into and
// for the libraries that it loads.
#include "tests/robustness/interrupt.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace robustness {
namespace {

enum class When { before, within, after };

struct Order {
    long killAt = 0;
    When when = When::before;
};

Order orderOfEnvironment() {
    const char *at = std::getenv(killAtVariable);
    const char *when = std::getenv(killWhenVariable);
    Order order;
    if (at != nullptr) order.killAt = std::strtol(at, nullptr, 10);
    if (when != nullptr && std::strcmp(when, "within") == 0) order.when = When::within;
    if (when != nullptr && std::strcmp(when, "after") == 0) order.when = When::after;
    return order;
}

const Order &order() {
    static const Order instance = orderOfEnvironment();
    return instance;
}

std::atomic<long> changes{0};

[[noreturn]] void die() {
    ::syscall(SYS_kill, ::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

bool isStandardStream(int file) {
    return file == STDOUT_FILENO || file == STDERR_FILENO;
}

/** Makes a change of files, or dies in it. `half` does a part of it. */
template <typename Whole, typename Half>
long change(Whole whole, Half half) {
    const bool isLast = ++changes == order().killAt;
    if (isLast && order().when == When::before) die();
    if (isLast && order().when == When::within) {
        half();
        die();
    }
    const long result = whole();
    if (isLast) die();
    return result;
}

template <typename Whole>
long change(Whole whole) {
    return change(whole, [] {});
}

/** A log that is written past the functions below. */
class Log {
public:
    void add(const char *what, int file) {
        static const int log = openLog();
        if (log < 0) return;
        char link[64];
        char line[4200];
        char path[4096] = {};
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
        if (::readlink(link, path, sizeof path - 1) < 0) return;
        const int length = std::snprintf(line, sizeof line, "%s %s\n", what, path);
        ::syscall(SYS_write, log, line, length);
    }

    void addWrite(int file, long offset) {
        char what[32];
        std::snprintf(what, sizeof what, "write %ld", offset);
        add(what, file);
    }

private:
    static int openLog() {
        const char *path = std::getenv(logFileVariable);
        if (path == nullptr) return -1;
        return ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    }
};

Log log;

/** Tells the count when the program ends by itself. */
class CountAtEnd {
public:
    CountAtEnd() = default;
    CountAtEnd(const CountAtEnd &) = delete;
    CountAtEnd &operator=(const CountAtEnd &) = delete;
    ~CountAtEnd() {
        const long count = changes;
        const char *path = std::getenv(countFileVariable);
        if (path == nullptr) return;
        if (std::FILE *file = std::fopen(path, "w")) {
            std::fprintf(file, "%ld\n", count);
            std::fclose(file);
        }
    }
};

const CountAtEnd countAtEnd;

}  // namespace
}  // namespace robustness

#pragma GCC visibility push(default)
extern "C" {

using robustness::change;

ssize_t write(int file, const void *bytes, size_t size) {
    const auto put = [&](size_t part) { return ::syscall(SYS_write, file, bytes, part); };
    if (robustness::isStandardStream(file)) return put(size);
    robustness::log.addWrite(file, -1);
    return change([&] { return put(size); }, [&] { put(size / 2); });
}

ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset) {
    robustness::log.addWrite(file, offset);
    const auto put = [&](size_t part) {
        return ::syscall(SYS_pwrite64, file, bytes, part, offset);
    };
    return change([&] { return put(size); }, [&] { put(size / 2); });
}

ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t offset) {
    return pwrite(file, bytes, size, offset);
}

ssize_t writev(int file, const iovec *parts, int count) {
    const auto put = [&](int part) { return ::syscall(SYS_writev, file, parts, part); };
    if (robustness::isStandardStream(file)) return put(count);
    robustness::log.addWrite(file, -1);
    return change([&] { return put(count); }, [&] { put(count / 2); });
}

ssize_t pwritev(int file, const iovec *parts, int count, off_t offset) {
    robustness::log.addWrite(file, offset);
    const auto put = [&](int part) { return ::syscall(SYS_pwritev, file, parts, part, offset, 0); };
    return change([&] { return put(count); }, [&] { put(count / 2); });
}

int ftruncate(int file, off_t size) noexcept {
    return static_cast<int>(change([&] { return ::syscall(SYS_ftruncate, file, size); }));
}

int posix_fallocate(int file, off_t offset, off_t size) {
    return change([&] { return ::syscall(SYS_fallocate, file, 0, offset, size); }) == 0 ? 0 : errno;
}

int fsync(int file) {
    robustness::log.add("sync", file);
    return static_cast<int>(change([&] { return ::syscall(SYS_fsync, file); }));
}

int fdatasync(int file) {
    robustness::log.add("sync", file);
    return static_cast<int>(change([&] { return ::syscall(SYS_fdatasync, file); }));
}

int msync(void *address, size_t size, int flags) {
    return static_cast<int>(change([&] { return ::syscall(SYS_msync, address, size, flags); }));
}

int rename(const char *from, const char *to) noexcept {
    return static_cast<int>(change([&] { return ::syscall(SYS_rename, from, to); }));
}

int unlink(const char *path) noexcept {
    return static_cast<int>(change([&] { return ::syscall(SYS_unlink, path); }));
}

int unlinkat(int directory, const char *path, int flags) noexcept {
    return static_cast<int>(
        change([&] { return ::syscall(SYS_unlinkat, directory, path, flags); }));
}

int remove(const char *path) noexcept {
    return static_cast<int>(change([&] {
        const long result = ::syscall(SYS_unlink, path);
        return result != 0 && errno == EISDIR ? ::syscall(SYS_rmdir, path) : result;
    }));
}

int mkdir(const char *path, mode_t mode) noexcept {
    return static_cast<int>(change([&] { return ::syscall(SYS_mkdir, path, mode); }));
}

}  // extern "C"
#pragma GCC visibility pop
