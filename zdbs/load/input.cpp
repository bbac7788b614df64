#include "zdbs/load/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/load/unpacked_input.h"

namespace zdbs {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view gzipMark = "\x1f\x8b"sv;
constexpr std::string_view zstdMark = "\x28\xb5\x2f\xfd"sv;
constexpr std::string_view skippedMark = "\x2a\x4d\x18"sv;  // behind a byte 0x50 to 0x5f
constexpr std::size_t markLength = 4;

// A frame with data, or one to be skipped, which may stand in front of it.
bool isZstd(std::string_view front) {
    return front.starts_with(zstdMark) ||
           (front.substr(0, 1) >= "\x50"sv && front.substr(0, 1) <= "\x5f"sv &&
            front.substr(1) == skippedMark);
}

/** A descriptor whose first bytes can be looked at before they are read. */
class DescriptorInput final : public Input {
public:
    DescriptorInput(FileDescriptor file, std::string name)
        : file_(std::move(file)), name_(std::move(name)) {}

    /** The first bytes, fewer than asked for only when there are no more. */
    std::string_view peek(std::size_t size) {
        while (front_.size() < size) {
            char buffer[markLength];
            const std::size_t got = readSome({buffer, size - front_.size()});
            if (got == 0) break;
            front_.append(buffer, got);
        }
        return front_;
    }

    std::size_t read(std::span<char> buffer) override {
        if (front_.empty()) return readSome(buffer);
        const std::size_t size = std::min(front_.size(), buffer.size());
        std::memcpy(buffer.data(), front_.data(), size);
        front_.erase(0, size);
        return size;
    }

    std::uint64_t consumed() const override { return consumed_; }

private:
    std::size_t readSome(std::span<char> buffer) {
        ssize_t size = 0;
        do
            size = ::read(file_.get(), buffer.data(), buffer.size());
        while (size < 0 && errno == EINTR);
        if (size < 0)
            throw Failure(Status::fileUnreadable, {name_, std::system_category().message(errno)});
        consumed_ += static_cast<std::uint64_t>(size);
        return static_cast<std::size_t>(size);
    }

    FileDescriptor file_;
    std::string name_;
    std::string front_;
    std::uint64_t consumed_ = 0;
};

class TextInput final : public Input {
public:
    explicit TextInput(std::string_view text) : rest_(text) {}

    std::size_t read(std::span<char> buffer) override {
        const std::size_t size = rest_.copy(buffer.data(), buffer.size());
        rest_.remove_prefix(size);
        consumed_ += size;
        return size;
    }

    std::uint64_t consumed() const override { return consumed_; }

private:
    std::string_view rest_;
    std::uint64_t consumed_ = 0;
};

// No XML in any encoding begins like a packed file, so that names need not tell.
std::unique_ptr<Input> unpackIfPacked(FileDescriptor file, const std::string &name) {
    auto input = std::make_unique<DescriptorInput>(std::move(file), name);
    const std::string_view front = input->peek(markLength);
    if (front.starts_with(gzipMark)) return unpackGzip(std::move(input), name);
    if (isZstd(front)) return unpackZstd(std::move(input), name);
    return input;
}

}  // namespace

std::unique_ptr<Input> openFile(const std::filesystem::path &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        throw Failure(Status::fileUnreadable,
                      {path.native(), std::system_category().message(errno)});
    return unpackIfPacked(std::move(file), path.native());
}

std::unique_ptr<Input> openStandardInput() {
    FileDescriptor file(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file)
        throw Failure(Status::fileUnreadable,
                      {"standard input", std::system_category().message(errno)});
    return unpackIfPacked(std::move(file), "standard input");
}

std::unique_ptr<Input> openText(std::string_view text) {
    return std::make_unique<TextInput>(text);
}

}  // namespace zdbs
