#include "zdbs/embedded/store/reserve.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"

namespace zdbs::embedded {

namespace {

// A removal writes a few dozen pages of the catalogue anew, more where a document is in thousands
// of segments, and never segments; LMDB's table of readers may be among what is missing.
constexpr std::uint64_t ownSize = std::uint64_t{1} << 20;
constexpr std::uint64_t pageSize = 4096;

std::uint64_t wholePages(std::uint64_t size) {
    return size / pageSize * pageSize;
}

/** Whole pages. A new users file stands beside the old one for a while. */
std::uint64_t sizeFor(const std::filesystem::path &home) {
    struct stat users {};
    const bool isThere = ::stat((home / usersFileName).c_str(), &users) == 0;
    const auto usersSize = isThere ? static_cast<std::uint64_t>(users.st_size) : 0;
    const std::uint64_t size = ownSize + usersSize + pageSize;
    // Beyond this limit the system would end the process.
    rlimit limit{};
    const bool isLimited = ::getrlimit(RLIMIT_FSIZE, &limit) == 0;
    return wholePages(isLimited ? std::min<std::uint64_t>(size, limit.rlim_cur) : size);
}

void lock(const FileDescriptor &file) {
    while (::flock(file.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

/** All of it, or as many pages as there are. */
void take(const FileDescriptor &file, std::uint64_t size) {
    std::uint64_t taken = 0;
    for (std::uint64_t piece = size; piece > 0; piece = std::min(piece, size - taken)) {
        if (allocate(file, taken, piece) == 0)
            taken += piece;
        else
            piece = wholePages(piece / 2);
    }
}

/** Room that is free as long as this lives. */
class Release {
public:
    Release(const FileDescriptor &file, std::uint64_t size) : file_(file), size_(size) {
        // Some file systems give blocks away again only when their release is on the disk.
        if (::ftruncate(file_.get(), 0) == 0) ::fsync(file_.get());
    }
    ~Release() { take(file_, size_); }
    Release(const Release &) = delete;
    Release &operator=(const Release &) = delete;

private:
    const FileDescriptor &file_;
    std::uint64_t size_;
};

}  // namespace

Reserve::Reserve(const std::filesystem::path &home) : home_(home), path_(home / fileName) {}

void Reserve::fill() const {
    try {
        const FileDescriptor file = openPrivateFile(path_, O_RDWR | O_CREAT);
        lock(file);
        take(file, sizeFor(home_));
    } catch (const Failure &) {
        // Who cannot write here has nothing to lose here.
    }
}

void Reserve::use(const std::function<void()> &work) const {
    const FileDescriptor file(::open(path_.c_str(), O_RDWR | O_CLOEXEC));
    if (!file) return work();
    lock(file);
    const Release released(file, sizeFor(home_));
    work();
}

}  // namespace zdbs::embedded
