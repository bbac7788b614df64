#include "zdbs/embedded/home/users_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

bool isSameTime(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/** The bytes of an open file; an error's number instead of 0 when it cannot be read. */
std::pair<std::string, int> contentOf(int file) {
    std::string text;
    std::array<char, 16384> buffer{};
    for (;;) {
        const ssize_t count = ::read(file, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return {{}, errno};
        if (count == 0) return {std::move(text), 0};
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace

void throwReadError(int error, const std::filesystem::path &path) {
    if (error == ENOENT || error == ENOTDIR) throw Failure(Status::homeMissing, {path.native()});
    throw Failure(Status::homeUnreadable, {path.native(), std::system_category().message(error)});
}

UsersFile::UsersFile(const std::filesystem::path &home)
    : home_(home), path_(home / usersFileName) {}

bool UsersFile::isKnown(const struct stat &file) const {
    return known_ && file.st_dev == knownFile_.st_dev && file.st_ino == knownFile_.st_ino &&
           file.st_size == knownFile_.st_size && isSameTime(file.st_mtim, knownFile_.st_mtim) &&
           isSameTime(file.st_ctim, knownFile_.st_ctim);
}

// Who can write to the file, or put another one in its place, can grant and log in as they like.
void UsersFile::requirePrivate(const struct stat &file) const {
    struct stat home {};
    const bool isKnownHome = ::stat(home_.c_str(), &home) == 0;
    const auto mayOthersWrite = [](const struct stat &status) {
        return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    };
    const bool isOpen = isKnownHome && mayOthersWrite(home);
    if (!isOpen && !mayOthersWrite(file)) return;
    const std::string place = (isOpen ? home_ : path_).native();
    throw Failure(Status::homeUnreadable, {place, "other users may write to it (chmod go-w)"});
}

std::shared_ptr<const UserTable> UsersFile::table() const {
    const std::lock_guard lock(mutex_);
    return tableLocked();
}

std::uint64_t UsersFile::state() const {
    const std::lock_guard lock(mutex_);
    tableLocked();
    return state_;
}

std::shared_ptr<const UserTable> UsersFile::tableLocked() const {
    struct stat file {};
    if (::stat(path_.c_str(), &file) == 0 && isKnown(file)) return known_;

    known_ = nullptr;
    held_ = FileDescriptor(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    if (!held_ || ::fstat(held_.get(), &knownFile_) != 0) throwReadError(errno, home_);
    requirePrivate(knownFile_);
    const auto [text, error] = contentOf(held_.get());
    if (error != 0) throwReadError(error, home_);
    ++state_;
    known_ = std::make_shared<const UserTable>(UserTable::parse(text, path_.native()));
    return known_;
}

}  // namespace zdbs::embedded
