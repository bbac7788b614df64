/** The users file of a home, as this process knows it. */
#ifndef ZDBS_EMBEDDED_HOME_USERS_FILE_H
#define ZDBS_EMBEDDED_HOME_USERS_FILE_H

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>

#include "zdbs/base/private_files.h"
#include "zdbs/embedded/home/user_table.h"

namespace zdbs::embedded {

/**
 * Reads the file when it has changed and otherwise answers what was read last: whoever
 * changes it puts another file in its place. Any thread may call.
 */
class UsersFile {
public:
    /** @param home the directory that the file is in, for messages too */
    explicit UsersFile(const std::filesystem::path &home);

    const std::filesystem::path &path() const { return path_; }

    /** Throws Failure: homeMissing, homeUnreadable, homeVersion, homeDamaged. */
    std::shared_ptr<const UserTable> table() const;

    /** Counts the files that table() read, from 1. Reads the file if it has changed. */
    std::uint64_t state() const;

private:
    std::shared_ptr<const UserTable> tableLocked() const;
    bool isKnown(const struct stat &file) const;
    void requirePrivate(const struct stat &file) const;

    std::filesystem::path home_;
    std::filesystem::path path_;
    mutable std::mutex mutex_;
    mutable std::shared_ptr<const UserTable> known_;
    mutable std::uint64_t state_ = 0;
    mutable struct stat knownFile_ {};
    mutable FileDescriptor held_;  ///< as long as it is open no other file gets its number
};

/** Throws Failure(homeMissing) when nothing is there, else homeUnreadable with the error. */
[[noreturn]] void throwReadError(int error, const std::filesystem::path &path);

}  // namespace zdbs::embedded

#endif
