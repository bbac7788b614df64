#include "zdbs/load/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <system_error>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/load/archive.h"
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

constexpr std::string_view libraryMarks[] = {
    "BZh"sv,               // bzip2
    "\xfd\x37zX"sv,        // xz
    "LZIP"sv,              // lzip
    "\x04\x22\x4d\x18"sv,  // lz4
};

bool isPackedForLibrary(std::string_view front) {
    return std::any_of(std::begin(libraryMarks), std::end(libraryMarks),
                       [&](std::string_view mark) { return front.starts_with(mark); });
}

class DescriptorInput final : public Input {
public:
    DescriptorInput(FileDescriptor file, std::string name)
        : file_(std::move(file)), name_(std::move(name)) {}

    std::size_t read(std::span<char> buffer) override {
        ssize_t size = 0;
        do {
            heedStop();
            size = ::read(file_.get(), buffer.data(), buffer.size());
        } while (size < 0 && errno == EINTR);
        if (size < 0)
            throw Failure(Status::fileUnreadable, {name_, std::system_category().message(errno)});
        consumed_ += static_cast<std::uint64_t>(size);
        return static_cast<std::size_t>(size);
    }

    std::uint64_t consumed() const override { return consumed_; }

private:
    FileDescriptor file_;
    std::string name_;
    std::uint64_t consumed_ = 0;
};

/** An input whose first bytes were looked at before they are read. */
class FrontInput final : public Input {
public:
    explicit FrontInput(std::unique_ptr<Input> input) : input_(std::move(input)) {
        while (front_.size() < markLength) {
            char buffer[markLength];
            const std::size_t got = input_->read({buffer, markLength - front_.size()});
            if (got == 0) break;
            front_.append(buffer, got);
        }
    }

    /** The first bytes, fewer than a mark has only when there are no more. */
    std::string_view front() const { return front_; }

    std::size_t read(std::span<char> buffer) override {
        if (front_.empty()) return input_->read(buffer);
        const std::size_t size = std::min(front_.size(), buffer.size());
        std::memcpy(buffer.data(), front_.data(), size);
        front_.erase(0, size);
        return size;
    }

    std::uint64_t consumed() const override { return input_->consumed(); }

private:
    std::unique_ptr<Input> input_;
    std::string front_;
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

}  // namespace

// No XML in any encoding begins like a packed file, so that names need not tell.
std::unique_ptr<Input> unpackIfPacked(std::unique_ptr<Input> input, const std::string &name) {
    auto front = std::make_unique<FrontInput>(std::move(input));
    if (front->front().starts_with(gzipMark)) return unpackGzip(std::move(front), name);
    if (isZstd(front->front())) return unpackZstd(std::move(front), name);
    if (isPackedForLibrary(front->front())) return unpackByLibrary(std::move(front), name);
    return front;
}

std::unique_ptr<Input> openFile(const std::filesystem::path &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        throw Failure(Status::fileUnreadable,
                      {path.native(), std::system_category().message(errno)});
    return unpackIfPacked(std::make_unique<DescriptorInput>(std::move(file), path.native()),
                          path.native());
}

std::unique_ptr<Input> openStandardInput() {
    FileDescriptor file(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!file)
        throw Failure(Status::fileUnreadable,
                      {"standard input", std::system_category().message(errno)});
    const std::string name = "standard input";
    return unpackIfPacked(std::make_unique<DescriptorInput>(std::move(file), name), name);
}

std::unique_ptr<Input> openText(std::string_view text) {
    return std::make_unique<TextInput>(text);
}

}  // namespace zdbs
