#include "zdbs/admin/source_notes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs::admin {

namespace {

constexpr std::string_view heading = "zdbs-sources 1\n";

[[noreturn]] void failReading(const std::filesystem::path &file, int error) {
    throw Failure(Status::fileUnreadable, {file.native(), std::system_category().message(error)});
}

/** The text up to the separator, which is taken away with it. */
std::string_view take(std::string_view &text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return piece;
}

template <typename Number>
bool readNumber(std::string_view text, Number &number) {
    const char *const end = text.data() + text.size();
    return std::from_chars(text.data(), end, number).ptr == end && !text.empty();
}

/** first, bytes, time, digest and document, with blanks between them. */
std::optional<std::pair<RecordId, SourceNote>> readLine(std::string_view line) {
    RecordId first = 0;
    SourceNote note;
    if (!readNumber(take(line, ' '), first) || !readNumber(take(line, ' '), note.bytes) ||
        !readNumber(take(line, ' '), note.time))
        return std::nullopt;
    note.digest = take(line, ' ');
    note.document = line;
    return std::pair(first, std::move(note));
}

struct FreeState {
    void operator()(XXH3_state_t *state) const { ::XXH3_freeState(state); }
};

std::string inHexadecimal(XXH128_hash_t hash) {
    XXH128_canonical_t bytes;
    ::XXH128_canonicalFromHash(&bytes, hash);
    std::string text;
    for (const unsigned char byte : bytes.digest) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}

}  // namespace

std::string textOf(const SourceNotes &notes) {
    std::string text(heading);
    for (const auto &[first, note] : notes) {
        text += std::to_string(first) + ' ' + std::to_string(note.bytes) + ' ' +
                std::to_string(note.time) + ' ' + note.digest + ' ' + note.document + '\n';
    }
    return text;
}

SourceNotes readNotes(std::string_view text) {
    SourceNotes notes;
    if (!text.starts_with(heading)) return notes;
    text.remove_prefix(heading.size());
    while (!text.empty()) {
        if (auto line = readLine(take(text, '\n'))) notes.insert(std::move(*line));
    }
    return notes;
}

SourceNote noteOf(const std::filesystem::path &file) {
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    constexpr nanoseconds coarsest = seconds(2);  // of the clocks of file systems
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) failReading(file, errno);
    const nanoseconds changed =
        seconds(status.st_mtim.tv_sec) + nanoseconds(status.st_mtim.tv_nsec);
    const nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
    SourceNote note;
    note.bytes = static_cast<std::uint64_t>(status.st_size);
    note.time = changed + coarsest < now ? changed.count() : 0;
    return note;
}

std::string digestOf(const std::filesystem::path &file) {
    const FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!opened) failReading(file, errno);
    const std::unique_ptr<XXH3_state_t, FreeState> state(::XXH3_createState());
    if (!state) throw std::bad_alloc();
    ::XXH3_128bits_reset(state.get());
    std::vector<char> buffer(std::size_t{1} << 18U);
    for (;;) {
        heedStop();
        const ssize_t size = ::read(opened.get(), buffer.data(), buffer.size());
        if (size == 0) return inHexadecimal(::XXH3_128bits_digest(state.get()));
        if (size < 0 && errno != EINTR) failReading(file, errno);
        if (size > 0)
            ::XXH3_128bits_update(state.get(), buffer.data(), static_cast<std::size_t>(size));
    }
}

}  // namespace zdbs::admin
