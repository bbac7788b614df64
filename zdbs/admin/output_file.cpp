#include "zdbs/admin/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 16U;
constexpr std::size_t longestStem = 250;  // a name has 255 bytes at most

bool isFaultOfName(int error) {
    return error == ENAMETOOLONG || error == ENOTDIR || error == EISDIR || error == ELOOP;
}

[[noreturn]] void failNaming(const fs::path &path, int error) {
    if (!isFaultOfName(error)) OutputFile::fail(path, error);
    throw UnusableName(Status::writeFailed, {path.native(), std::system_category().message(error)});
}

FileDescriptor openFolder(const fs::path &folder) {
    const char *const name = folder.empty() ? "." : folder.c_str();
    FileDescriptor opened(::open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) OutputFile::fail(folder, errno);
    return opened;
}

/** A folder in a folder; made when it is not there. */
FileDescriptor enter(const FileDescriptor &above, const std::string &step, const fs::path &path) {
    if (::mkdirat(above.get(), step.c_str(), 0777) != 0 && errno != EEXIST) failNaming(path, errno);
    FileDescriptor opened(
        ::openat(above.get(), step.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) failNaming(path, errno);
    return opened;
}

}  // namespace

OutputFile::OutputFile(const fs::path &folder, const fs::path &name, Kind kind)
    : path_(folder / name), kind_(kind), folder_(openFolder(folder)) {
    for (const fs::path &step : name.parent_path())
        folder_ = enter(folder_, step.native(), path_.parent_path());
    name_ = name.filename().native();
    std::string part = name_.substr(0, longestStem) + ".part";
    // What a killed one left may be open to others.
    if (kind == Kind::lasting) ::unlinkat(folder_.get(), part.c_str(), 0);
    file_ = FileDescriptor(::openat(folder_.get(), part.c_str(),
                                    O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                                    kind == Kind::usual ? 0666 : 0600));
    if (!file_) failNaming(path_, errno);
    part_ = std::move(part);
}

OutputFile::~OutputFile() {
    if (!part_.empty()) ::unlinkat(folder_.get(), part_.c_str(), 0);
}

void OutputFile::write(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= bufferSize) flush();
}

void OutputFile::flush() {
    std::string_view rest = buffer_;
    while (!rest.empty()) {
        const ssize_t size = ::write(file_.get(), rest.data(), rest.size());
        if (size < 0 && errno != EINTR) fail(path_, errno);
        if (size > 0) rest.remove_prefix(static_cast<std::size_t>(size));
    }
    buffer_.clear();
}

void OutputFile::finish() {
    flush();
    if (kind_ == Kind::lasting && ::fsync(file_.get()) != 0) fail(path_, errno);
    file_ = FileDescriptor();
    if (::renameat(folder_.get(), part_.c_str(), folder_.get(), name_.c_str()) != 0)
        failNaming(path_, errno);
    part_.clear();
    if (kind_ == Kind::lasting && ::fsync(folder_.get()) != 0) fail(path_, errno);
}

void OutputFile::fail(const fs::path &path, int error) {
    throw Failure(Status::writeFailed, {path.native(), std::system_category().message(error)});
}

}  // namespace zdbs::admin
