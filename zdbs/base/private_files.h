/** Files and directories that only their owner may touch, whatever the umask is. */
#ifndef ZDBS_BASE_PRIVATE_FILES_H
#define ZDBS_BASE_PRIVATE_FILES_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace zdbs {

/** The one file that every home has. */
inline constexpr const char *usersFileName = "users";

/** A file descriptor that is closed with its owner; -1 is none. */
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept;
    FileDescriptor &operator=(FileDescriptor &&other) noexcept;
    ~FileDescriptor();

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

/**
 * An exclusive lock on a file among processes, and among the holders within
 * one. The system releases it when its holder dies.
 */
class FileLock {
public:
    /**
     * Makes the file when it is not there. When another one holds the lock,
     * calls `waiting`, if given, once, and waits.
     * Throws Failure: homeReadOnly, storeFailed, stopped.
     */
    explicit FileLock(const std::filesystem::path &path, const std::function<void()> &waiting = {});

    /** Takes the lock of a file that is there, if nobody holds it. */
    static std::optional<FileLock> tryTake(const std::filesystem::path &path);

    /** Is the locked file still the one at this path? */
    bool isAt(const std::filesystem::path &path) const;

private:
    explicit FileLock(FileDescriptor locked) : file_(std::move(locked)) {}

    FileDescriptor file_;
};

/**
 * The home that a file or directory is in, for messages: the nearest directory above that has
 * users. The path itself where there is none, as in a home that is being made.
 */
std::filesystem::path homeOf(const std::filesystem::path &path);

/**
 * The failure for an errno of a changing operation: diskFull, homeReadOnly (the
 * home is named), or else storeFailed (`path` is named).
 */
[[noreturn]] void throwWriteError(int error, const std::filesystem::path &path);

/** Mode 0700. Throws as throwWriteError(). */
void makePrivateDirectory(const std::filesystem::path &path);

/** Removes a folder and what is in it as far as that goes, with no word about what is left. */
void removeFolder(const std::filesystem::path &path) noexcept;

/** Opens it with these flags of open(); new ones get mode 0600. Throws as throwWriteError(). */
FileDescriptor openPrivateFile(const std::filesystem::path &path, int flags);

/**
 * Sees to it that these bytes of an open file have their room on the disk, so that writing
 * them, through a map too, cannot fail for want of it. The number of the error, or 0.
 */
int allocate(const FileDescriptor &file, std::uint64_t begin, std::uint64_t size);

/** An empty file of mode 0600. Throws as throwWriteError(). */
void makePrivateFile(const std::filesystem::path &path);

/**
 * Puts a file of mode 0600 in the place of the one that may be there: readers see
 * the old one or the new one, and so does the next start after a power cut. Leaves
 * nothing behind when it fails. Throws as throwWriteError().
 */
void replacePrivateFile(const std::filesystem::path &path, std::string_view content);

/**
 * A file of mode 0600 with these parts one after the other, written to the disk; its entry
 * in the directory lasts only after syncDirectory(). Throws as throwWriteError().
 */
void writePrivateFile(const std::filesystem::path &path, std::span<const std::string_view> parts);

/**
 * Makes new and renamed entries of a directory last. Who holds one before it changes them has no
 * more to open afterwards. Throws as throwWriteError() when it is made.
 */
class DirectorySync {
public:
    explicit DirectorySync(std::filesystem::path directory);

    /** After the last change. Throws Failure(storeFailed), which says that the change is there. */
    void sync() const;

    /** False, and errno says why. */
    bool isSynced() const;

private:
    std::filesystem::path directory_;
    FileDescriptor opened_;
};

/** The same of entries that were changed already, and count later. Throws as throwWriteError(). */
void syncDirectory(const std::filesystem::path &directory);

}  // namespace zdbs

#endif
