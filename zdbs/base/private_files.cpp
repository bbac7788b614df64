#include "zdbs/base/private_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs {

namespace {

constexpr mode_t directoryMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr std::size_t smallWrite = std::size_t{1} << 18;
constexpr std::size_t largestWrite = std::size_t{16} << 20;

void writeAll(const FileDescriptor &file, std::string_view content,
              const std::filesystem::path &path) {
    while (!content.empty()) {
        const ssize_t written =
            ::write(file.get(), content.data(), std::min(content.size(), largestWrite));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) throwWriteError(errno, path);
        content.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace

FileDescriptor::FileDescriptor(FileDescriptor &&other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileDescriptor &FileDescriptor::operator=(FileDescriptor &&other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

FileDescriptor::~FileDescriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

FileLock::FileLock(const std::filesystem::path &path, const std::function<void()> &waiting)
    : file_(openPrivateFile(path, O_RDWR | O_CREAT)) {
    // The system would wait without an end; who waits has to heed a stop that is no signal, too.
    constexpr std::chrono::milliseconds pause(5);
    for (bool isFirst = true; ::flock(file_.get(), LOCK_EX | LOCK_NB) != 0; isFirst = false) {
        if (errno != EWOULDBLOCK && errno != EINTR) throwWriteError(errno, path);
        if (isFirst && waiting) waiting();
        heedStop();
        if (!isFirst) std::this_thread::sleep_for(pause);
    }
}

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::nullopt;
    return FileLock(std::move(file));
}

bool FileLock::isAt(const std::filesystem::path &path) const {
    struct stat locked {};
    struct stat there {};
    return ::fstat(file_.get(), &locked) == 0 && ::stat(path.c_str(), &there) == 0 &&
           locked.st_dev == there.st_dev && locked.st_ino == there.st_ino;
}

std::filesystem::path homeOf(const std::filesystem::path &path) {
    std::error_code ignored;
    for (auto above = path; above.has_relative_path(); above = above.parent_path()) {
        if (std::filesystem::exists(above / usersFileName, ignored)) return above;
    }
    return path;
}

void throwWriteError(int error, const std::filesystem::path &path) {
    if (error == ENOSPC || error == EDQUOT)
        throw Failure(Status::diskFull, {homeOf(path).native()});
    const std::string reason = std::system_category().message(error);
    if (error == EACCES || error == EPERM || error == EROFS)
        throw Failure(Status::homeReadOnly, {homeOf(path).native(), reason});
    throw Failure(Status::storeFailed, {path.native() + ": " + reason});
}

void makePrivateDirectory(const std::filesystem::path &path) {
    if (::mkdir(path.c_str(), directoryMode) != 0 && errno != EEXIST) throwWriteError(errno, path);
    if (::chmod(path.c_str(), directoryMode) != 0) throwWriteError(errno, path);
}

void removeFolder(const std::filesystem::path &path) noexcept {
    try {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    } catch (const std::bad_alloc &) {
        // There is nobody to tell: the caller ends by what made it clean up.
    }
}

FileDescriptor openPrivateFile(const std::filesystem::path &path, int flags) {
    FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, fileMode));
    if (!file) throwWriteError(errno, path);
    struct stat status {};
    if ((flags & O_CREAT) == 0 || ::fstat(file.get(), &status) != 0) return file;
    // The umask can only have taken bits away from a new file, and they are given back here. One
    // that has more was there before and is somebody's own: a rotated log, /dev/null.
    const mode_t mode = status.st_mode & ALLPERMS;
    if (mode != fileMode && (mode & ~fileMode) == 0 && ::fchmod(file.get(), fileMode) != 0 &&
        errno != EPERM)
        throwWriteError(errno, path);
    return file;
}

int allocate(const FileDescriptor &file, std::uint64_t begin, std::uint64_t size) {
    int error = EINTR;
    while (error == EINTR)
        error = ::posix_fallocate(file.get(), static_cast<off_t>(begin), static_cast<off_t>(size));
    return error;
}

void makePrivateFile(const std::filesystem::path &path) {
    openPrivateFile(path, O_WRONLY | O_CREAT | O_TRUNC);
}

void replacePrivateFile(const std::filesystem::path &path, std::string_view content) {
    std::filesystem::path newPath = path;
    newPath += ".new";
    const DirectorySync directory(path.parent_path());
    try {
        writePrivateFile(newPath, {&content, 1});
        if (::rename(newPath.c_str(), path.c_str()) != 0) throwWriteError(errno, path);
    } catch (const Failure &) {
        ::unlink(newPath.c_str());
        throw;
    }
    directory.sync();
}

void writePrivateFile(const std::filesystem::path &path, std::span<const std::string_view> parts) {
    const FileDescriptor file = openPrivateFile(path, O_WRONLY | O_CREAT | O_TRUNC);
    std::string small;  // parts that are written together
    for (const std::string_view part : parts) {
        if (small.size() + part.size() > smallWrite) {
            writeAll(file, small, path);
            small.clear();
        }
        if (part.size() > smallWrite)
            writeAll(file, part, path);
        else
            small.append(part);
    }
    writeAll(file, small, path);
    if (::fsync(file.get()) != 0) throwWriteError(errno, path);
}

DirectorySync::DirectorySync(std::filesystem::path directory)
    : directory_(std::move(directory)),
      opened_(::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!opened_) throwWriteError(errno, directory_);
}

bool DirectorySync::isSynced() const {
    return ::fsync(opened_.get()) == 0;
}

void DirectorySync::sync() const {
    if (isSynced()) return;
    throw Failure(Status::storeFailed,
                  {directory_.native() + ": " + std::system_category().message(errno),
                   "what was changed is there, but may not outlast a power cut"});
}

void syncDirectory(const std::filesystem::path &directory) {
    if (!DirectorySync(directory).isSynced()) throwWriteError(errno, directory);
}

}  // namespace zdbs
