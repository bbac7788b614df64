#include "tests/zdbs/embedded/store/faults.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>

namespace zdbs::faults {
namespace {

struct Order {
    bool armed = false;
    bool kills = false;
    Call call = Call::write;
    int n = 0;
    int error = 0;
};

Order order;
std::atomic<int> seen = 0;  // the store writes in several threads

// Must this call fail? Counts it; may not return.
bool strikes(Call call) {
    if (!order.armed) return false;
    if (order.kills && call > Call::remove) return false;
    if (order.kills) {
        if (++seen == order.n) ::kill(::getpid(), SIGKILL);
        return false;
    }
    if (call != order.call || ++seen != order.n) return false;
    errno = order.error;
    return true;
}

}  // namespace

void failAt(Call call, int n, int error) {
    seen = 0;
    order = {true, false, call, n, error};
}

void killAt(int n) {
    seen = 0;
    order = {true, true, Call::write, n, 0};
}

int disarm() {
    order.armed = false;
    return seen;
}

}  // namespace zdbs::faults

// In front of the C library's functions, for the program and for the libraries that it loads.
#pragma GCC visibility push(default)
extern "C" {

using zdbs::faults::Call;
using zdbs::faults::strikes;

ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset) {
    if (strikes(Call::write)) return -1;
    if (size > 1 && strikes(Call::shortWrite)) size /= 2;
    return ::syscall(SYS_pwrite64, file, bytes, size, offset);
}

ssize_t write(int file, const void *bytes, size_t size) {
    if (strikes(Call::write)) return -1;
    if (size > 1 && strikes(Call::shortWrite)) size /= 2;
    return ::syscall(SYS_write, file, bytes, size);
}

ssize_t writev(int file, const iovec *parts, int count) {
    if (strikes(Call::write)) return -1;
    return ::syscall(SYS_writev, file, parts, count);
}

int fdatasync(int file) {
    if (strikes(Call::sync)) return -1;
    return static_cast<int>(::syscall(SYS_fdatasync, file));
}

int fsync(int file) {
    if (strikes(Call::sync)) return -1;
    return static_cast<int>(::syscall(SYS_fsync, file));
}

int open(const char *path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    if (strikes(Call::open)) return -1;
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t read(int file, void *bytes, size_t size) {
    if (strikes(Call::read)) return -1;
    return ::syscall(SYS_read, file, bytes, size);
}

ssize_t pread(int file, void *bytes, size_t size, off_t offset) {
    if (strikes(Call::read)) return -1;
    return ::syscall(SYS_pread64, file, bytes, size, offset);
}

void *mmap(void *address, size_t size, int protection, int flags, int file, off_t offset) noexcept {
    if (file >= 0 && strikes(Call::map)) return MAP_FAILED;
    return reinterpret_cast<void *>(
        ::syscall(SYS_mmap, address, size, protection, flags, file, offset));
}

int posix_fallocate(int file, off_t offset, off_t size) {
    if (strikes(Call::allocate)) return errno;
    return ::syscall(SYS_fallocate, file, 0, offset, size) == 0 ? 0 : errno;
}

int ftruncate(int file, off_t size) noexcept {
    if (strikes(Call::allocate)) return -1;
    return static_cast<int>(::syscall(SYS_ftruncate, file, size));
}

int rename(const char *from, const char *to) noexcept {
    if (strikes(Call::rename)) return -1;
    return static_cast<int>(::syscall(SYS_rename, from, to));
}

// Nothing here depends on a file being removed; but the process may die while it is.
int unlink(const char *path) noexcept {
    if (strikes(Call::remove)) return -1;
    return static_cast<int>(::syscall(SYS_unlink, path));
}

int remove(const char *path) noexcept {
    if (strikes(Call::remove)) return -1;
    const long error = ::syscall(SYS_unlink, path);
    return static_cast<int>(error == -1 && errno == EISDIR ? ::syscall(SYS_rmdir, path) : error);
}

}  // extern "C"
#pragma GCC visibility pop
