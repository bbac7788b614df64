#include "zdbs/embedded/store/data_pages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "zdbs/base/status.h"

namespace zdbs::embedded::lmdb {

namespace {

[[noreturn]] void failReading(const std::filesystem::path &file, int error) {
    if (error == ENOENT || error == ENOTDIR)
        throw Failure(Status::unknownDatabase, {file.parent_path().filename().native()});
    throw Failure(Status::homeUnreadable, {file.native(), std::system_category().message(error)});
}

}  // namespace

MappedFile::MappedFile(const std::filesystem::path &file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) failReading(file, errno);
    struct stat status {};
    int error = ::fstat(descriptor, &status) == 0 ? 0 : errno;
    if (error == 0 && !S_ISREG(status.st_mode)) error = EISDIR;
    const auto size = static_cast<std::size_t>(status.st_size);
    void *mapped = nullptr;
    if (error == 0 && size > 0) {
        mapped = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
        if (mapped == MAP_FAILED) error = errno;
    }
    ::close(descriptor);
    if (error != 0) failReading(file, error);
    if (size > 0) bytes_ = {static_cast<const char *>(mapped), size};
    watch_ = WatchedMap(bytes_);
}

MappedFile::~MappedFile() {
    watch_ = WatchedMap();
    // munmap() takes pages through a pointer to non-const, and does not write to them.
    if (!bytes_.empty()) ::munmap(const_cast<char *>(bytes_.data()), bytes_.size());
}

}  // namespace zdbs::embedded::lmdb
