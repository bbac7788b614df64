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
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace robustness {
namespace {

enum class When { before, within, after, fails, isShort };

struct Order {
    long at = 0;
    When when = When::before;
    int error = 0;
};

When whenOf(const char *text) {
    if (std::strcmp(text, "within") == 0) return When::within;
    if (std::strcmp(text, "after") == 0) return When::after;
    if (std::strcmp(text, "short") == 0) return When::isShort;
    return std::strcmp(text, "fails") == 0 ? When::fails : When::before;
}

Order orderOfEnvironment() {
    const char *at = std::getenv(killAtVariable);
    const char *when = std::getenv(killWhenVariable);
    const char *error = std::getenv(errorVariable);
    Order order;
    if (at != nullptr) order.at = std::strtol(at, nullptr, 10);
    if (when != nullptr) order.when = whenOf(when);
    if (error != nullptr) order.error = std::atoi(error);
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

/** Makes a change of files, or dies or fails in it. `half` does a part of it. */
template <typename Whole, typename Half>
long change(Whole whole, Half half) {
    const bool isLast = ++changes == order().at;
    if (!isLast) return whole();
    switch (order().when) {
        case When::before:
            die();
        case When::within:
            half();
            die();
        case When::after:
            whole();
            die();
        case When::isShort:
            return half();
        case When::fails:
            break;
    }
    errno = order().error;
    return -1;
}

template <typename Whole>
long change(Whole whole) {
    return change(whole, [&] { return order().when == When::isShort ? whole() : 0L; });
}

/** A journal that is written past the functions below; see journal.h. */
class Journal {
public:
    /** What the file of a descriptor goes through. */
    void add(const char *what, int file, long offset = 0, const void *bytes = nullptr,
             std::size_t size = 0) {
        if (!isKept()) return;
        char link[64];
        char path[4096] = {};
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
        if (::readlink(link, path, sizeof path - 1) < 0) return;
        const bool isDurable = (::fcntl(file, F_GETFL) & O_DSYNC) != 0;
        write(what, offset, isDurable, path, bytes, size);
    }

    /** What a name goes through. */
    void addName(const char *what, const char *path, const char *to = "") {
        if (isKept()) write(what, 0, false, path, to, std::strlen(to));
    }

    bool isKept() const { return file() >= 0; }

private:
    static int file() {
        static const int file = openFile();
        return file;
    }

    static int openFile() {
        const char *path = std::getenv(logFileVariable);
        if (path == nullptr) return -1;
        return static_cast<int>(
            ::syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }

    void write(const char *what, long offset, bool isDurable, const char *path, const void *bytes,
               std::size_t size) {
        char line[4300];
        const int length = std::snprintf(line, sizeof line, "%s %ld %zu %d %s\n", what, offset,
                                         size, isDurable ? 1 : 0, path);
        const iovec parts[] = {{line, static_cast<std::size_t>(length)},
                               {const_cast<void *>(bytes), size}};
        ::syscall(SYS_writev, file(), parts, size > 0 ? 2 : 1);
    }
};

Journal journal;

/** Where the next byte goes. */
long positionOf(int file) {
    return ::lseek(file, 0, SEEK_CUR);
}

void addParts(int file, const iovec *parts, int count, long offset) {
    for (int i = 0; i < count; ++i) {
        journal.add("write", file, offset, parts[i].iov_base, parts[i].iov_len);
        offset += static_cast<long>(parts[i].iov_len);
    }
}

/** The path of a name in an open directory. */
struct AbsolutePath {
    char text[8192] = {};
};

AbsolutePath absolute(int directory, const char *name) {
    AbsolutePath result;
    char link[64];
    char path[4096] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", directory);
    const bool isRelative = directory != AT_FDCWD && name[0] != '/';
    if (isRelative && ::readlink(link, path, sizeof path - 1) > 0)
        std::snprintf(result.text, sizeof result.text, "%s/%s", path, name);
    else
        std::snprintf(result.text, sizeof result.text, "%s", name);
    return result;
}

/** Opens a file, and tells when that made it. */
int openFile(const char *path, int flags, mode_t mode) {
    struct stat found {};
    const bool isNew = (flags & O_CREAT) != 0 && journal.isKept() && ::stat(path, &found) != 0;
    const int file = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (isNew && file >= 0) journal.add("create", file);
    if ((flags & O_TRUNC) != 0 && file >= 0) journal.add("truncate", file, 0);
    return file;
}

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
    robustness::journal.add("write", file, robustness::positionOf(file), bytes, size);
    return change([&] { return put(size); }, [&] { return put(size > 1 ? size / 2 : size); });
}

ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset) {
    robustness::journal.add("write", file, offset, bytes, size);
    const auto put = [&](size_t part) {
        return ::syscall(SYS_pwrite64, file, bytes, part, offset);
    };
    return change([&] { return put(size); }, [&] { return put(size > 1 ? size / 2 : size); });
}

ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t offset) {
    return pwrite(file, bytes, size, offset);
}

ssize_t writev(int file, const iovec *parts, int count) {
    const auto put = [&](int part) { return ::syscall(SYS_writev, file, parts, part); };
    if (robustness::isStandardStream(file)) return put(count);
    robustness::addParts(file, parts, count, robustness::positionOf(file));
    return change([&] { return put(count); }, [&] { return put(count > 1 ? count / 2 : count); });
}

ssize_t pwritev(int file, const iovec *parts, int count, off_t offset) {
    robustness::addParts(file, parts, count, offset);
    const auto put = [&](int part) { return ::syscall(SYS_pwritev, file, parts, part, offset, 0); };
    return change([&] { return put(count); }, [&] { return put(count > 1 ? count / 2 : count); });
}

int ftruncate(int file, off_t size) noexcept {
    robustness::journal.add("truncate", file, size);
    return static_cast<int>(change([&] { return ::syscall(SYS_ftruncate, file, size); }));
}

int posix_fallocate(int file, off_t offset, off_t size) {
    robustness::journal.add("allocate", file, offset + size);
    return change([&] { return ::syscall(SYS_fallocate, file, 0, offset, size); }) == 0 ? 0 : errno;
}

int fsync(int file) {
    robustness::journal.add("sync", file);
    return static_cast<int>(change([&] { return ::syscall(SYS_fsync, file); }));
}

int fdatasync(int file) {
    robustness::journal.add("sync", file);
    return static_cast<int>(change([&] { return ::syscall(SYS_fdatasync, file); }));
}

int msync(void *address, size_t size, int flags) {
    return static_cast<int>(change([&] { return ::syscall(SYS_msync, address, size, flags); }));
}

int rename(const char *from, const char *to) noexcept {
    robustness::journal.addName("rename", from, to);
    return static_cast<int>(change([&] { return ::syscall(SYS_rename, from, to); }));
}

int unlink(const char *path) noexcept {
    robustness::journal.addName("remove", path);
    return static_cast<int>(change([&] { return ::syscall(SYS_unlink, path); }));
}

int unlinkat(int directory, const char *path, int flags) noexcept {
    robustness::journal.addName("remove", robustness::absolute(directory, path).text);
    return static_cast<int>(
        change([&] { return ::syscall(SYS_unlinkat, directory, path, flags); }));
}

int remove(const char *path) noexcept {
    robustness::journal.addName("remove", path);
    return static_cast<int>(change([&] {
        const long result = ::syscall(SYS_unlink, path);
        return result != 0 && errno == EISDIR ? ::syscall(SYS_rmdir, path) : result;
    }));
}

int open(const char *path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return robustness::openFile(path, flags, mode);
}

int mkdir(const char *path, mode_t mode) noexcept {
    robustness::journal.addName("mkdir", path);
    return static_cast<int>(change([&] { return ::syscall(SYS_mkdir, path, mode); }));
}

}  // extern "C"
#pragma GCC visibility pop
