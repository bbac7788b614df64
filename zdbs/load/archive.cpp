#include "zdbs/load/archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs {

namespace {

constexpr std::size_t blockSize = std::size_t{1} << 16U;

struct ReaderFree {
    void operator()(archive *reader) const { ::archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, ReaderFree>;

Reader newReader() {
    Reader reader(::archive_read_new());
    if (!reader) throw std::bad_alloc();
    ::archive_read_support_filter_all(reader.get());
    return reader;
}

std::string reasonOf(archive *reader) {
    const char *const reason = ::archive_error_string(reader);
    return reason ? reason : "it cannot be unpacked";
}

/** The content of the entry that a reader is at. */
std::size_t readEntry(archive *reader, std::span<char> buffer, const std::string &name) {
    heedStop();
    const la_ssize_t size = ::archive_read_data(reader, buffer.data(), buffer.size());
    if (size < 0) throw Failure(Status::compressedDamaged, {name, reasonOf(reader)});
    return static_cast<std::size_t>(size);
}

class LibraryInput final : public Input {
public:
    LibraryInput(std::unique_ptr<Input> packed, std::string name)
        : packed_(std::move(packed)),
          name_(std::move(name)),
          block_(blockSize),
          reader_(newReader()) {
        ::archive_read_support_format_raw(reader_.get());
        archive_entry *entry = nullptr;
        const int opened =
            ::archive_read_open(reader_.get(), this, nullptr, &LibraryInput::readBlock, nullptr);
        if (opened != ARCHIVE_OK || ::archive_read_next_header(reader_.get(), &entry) != ARCHIVE_OK)
            fail();
    }

    std::size_t read(std::span<char> buffer) override {
        try {
            return readEntry(reader_.get(), buffer, name_);
        } catch (const Failure &) {
            if (failure_) std::rethrow_exception(failure_);
            throw;
        }
    }

    std::uint64_t consumed() const override { return packed_->consumed(); }

private:
    // No exception may pass through the library.
    static la_ssize_t readBlock(archive *reader, void *self, const void **block) {
        LibraryInput &input = *static_cast<LibraryInput *>(self);
        try {
            *block = input.block_.data();
            return static_cast<la_ssize_t>(input.packed_->read(input.block_));
        } catch (...) {
            input.failure_ = std::current_exception();
            ::archive_set_error(reader, EIO, "it cannot be read");
            return -1;
        }
    }

    [[noreturn]] void fail() const {
        if (failure_) std::rethrow_exception(failure_);
        throw Failure(Status::compressedDamaged, {name_, reasonOf(reader_.get())});
    }

    std::unique_ptr<Input> packed_;
    std::string name_;
    std::vector<char> block_;
    std::exception_ptr failure_;
    Reader reader_;
};

/** What is read of an entry while its archive stays there. */
class EntryInput final : public Input {
public:
    EntryInput(std::shared_ptr<archive> reader, std::string name)
        : reader_(std::move(reader)), name_(std::move(name)) {}

    std::size_t read(std::span<char> buffer) override {
        const std::size_t size = readEntry(reader_.get(), buffer, name_);
        consumed_ += size;
        return size;
    }

    std::uint64_t consumed() const override { return consumed_; }

private:
    std::shared_ptr<archive> reader_;
    std::string name_;
    std::uint64_t consumed_ = 0;
};

/** Names are UTF-8 where the archive says so, and otherwise taken as they are. */
std::string nameOf(archive_entry *entry) {
    const char *name = ::archive_entry_pathname_utf8(entry);
    if (!name) name = ::archive_entry_pathname(entry);
    return name ? std::filesystem::path(name).lexically_normal().native() : "";
}

class FileArchive final : public Archive {
public:
    explicit FileArchive(std::filesystem::path file) : file_(std::move(file)) {}

    /** False when the file is no archive. */
    bool list() {
        archive_entry *entry = nullptr;
        if (!begin()) return false;
        while ((entry = next()) != nullptr) {
            ArchiveEntry &added = entries_.emplace_back();
            added.name = nameOf(entry);
            if (::archive_entry_size_is_set(entry))
                added.size = static_cast<std::uint64_t>(::archive_entry_size(entry));
        }
        reader_.reset();
        return true;
    }

    const std::vector<ArchiveEntry> &entries() const override { return entries_; }

    std::unique_ptr<Input> open(std::size_t entry) override {
        if (!reader_ || entry < next_) begin();
        while (next_ <= entry) {
            if (next() == nullptr) fail("it has become another");
        }
        const std::string name = file_.native() + ": " + entries_[entry].name;
        return unpackIfPacked(std::make_unique<EntryInput>(reader_, name), name);
    }

private:
    bool begin() {
        reader_ = newReader();
        ::archive_read_support_format_tar(reader_.get());
        ::archive_read_support_format_cpio(reader_.get());
        ::archive_read_support_format_zip(reader_.get());
        ::archive_read_support_format_7zip(reader_.get());
        next_ = 0;
        // What is no archive is found out at the first header.
        first_ = nullptr;
        if (::archive_read_open_filename(reader_.get(), file_.c_str(), blockSize) != ARCHIVE_OK)
            return false;
        const int result = ::archive_read_next_header(reader_.get(), &first_);
        return result == ARCHIVE_OK || result == ARCHIVE_WARN;
    }

    /** The next file; folders and links are none. Null at the end. */
    archive_entry *next() {
        for (;;) {
            heedStop();
            archive_entry *entry = std::exchange(first_, nullptr);
            if (!entry) {
                const int result = ::archive_read_next_header(reader_.get(), &entry);
                if (result == ARCHIVE_EOF) return nullptr;
                if (result != ARCHIVE_OK && result != ARCHIVE_WARN) fail(reasonOf(reader_.get()));
            }
            if (::archive_entry_filetype(entry) != AE_IFREG || ::archive_entry_hardlink(entry))
                continue;
            ++next_;
            return entry;
        }
    }

    [[noreturn]] void fail(const std::string &reason) const {
        throw Failure(Status::compressedDamaged, {file_.native(), reason});
    }

    std::filesystem::path file_;
    std::vector<ArchiveEntry> entries_;
    std::shared_ptr<archive> reader_;
    archive_entry *first_ = nullptr;  ///< found when it was opened, and not told yet
    std::size_t next_ = 0;            ///< entry behind the one that the reader is at
};

}  // namespace

std::shared_ptr<Archive> Archive::open(const std::filesystem::path &file) {
    auto opened = std::make_shared<FileArchive>(file);
    return opened->list() ? opened : nullptr;
}

std::unique_ptr<Input> unpackByLibrary(std::unique_ptr<Input> packed, std::string name) {
    return std::make_unique<LibraryInput>(std::move(packed), std::move(name));
}

}  // namespace zdbs
