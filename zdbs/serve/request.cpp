#include "zdbs/serve/request.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "foundation/keyword.h"
#include "zdbs/base/status.h"

namespace zdbs::serve {

namespace {

constexpr std::size_t mostInMemory = std::size_t{1} << 20U;

std::filesystem::path temporaryFolder() {
    const char *folder = std::getenv("TMPDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

int valueOf(char character) {
    if (character >= 'A' && character <= 'Z') return character - 'A';
    if (character >= 'a' && character <= 'z') return character - 'a' + 26;
    if (character >= '0' && character <= '9') return character - '0' + 52;
    if (character == '+') return 62;
    return character == '/' ? 63 : -1;
}

/** RFC 4648, section 4; padding may be missing. */
std::optional<std::string> fromBase64(std::string_view text) {
    while (text.ends_with('='))
        text.remove_suffix(1);
    std::string bytes;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char character : text) {
        const int value = valueOf(character);
        if (value < 0) return std::nullopt;
        bits = ((bits << 6U) | static_cast<unsigned>(value)) & 0xffffU;
        held += 6;
        if (held < 8) continue;
        held -= 8;
        bytes += static_cast<char>((bits >> held) & 0xffU);
    }
    return bytes;
}

void writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throwWriteError(errno, temporaryFolder());
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

Body::~Body() {
    if (mapped_ != nullptr) ::munmap(mapped_, size_);
}

void Body::append(std::string_view piece) {
    if (!file_ && inMemory_.size() + piece.size() > mostInMemory) moveToFile();
    if (file_)
        writeAll(file_.get(), piece);
    else
        inMemory_ += piece;
    size_ += piece.size();
}

void Body::moveToFile() {
    const auto folder = temporaryFolder();
    file_ = FileDescriptor(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file_) throwWriteError(errno, folder);
    writeAll(file_.get(), inMemory_);
    inMemory_ = {};
}

std::string_view Body::text() {
    if (!file_) return inMemory_;
    if (mapped_ == nullptr) {
        void *place = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file_.get(), 0);
        if (place == MAP_FAILED) throwWriteError(errno, temporaryFolder());
        mapped_ = place;
    }
    return {static_cast<const char *>(mapped_), size_};
}

std::string Body::asFile() {
    if (!file_) moveToFile();
    return "/proc/self/fd/" + std::to_string(file_.get());
}

Method methodOf(std::string_view word) {
    constexpr std::array<std::pair<std::string_view, Method>, 5> words = {
        {{"GET", Method::get},
         {"HEAD", Method::head},
         {"PUT", Method::put},
         {"POST", Method::post},
         {"DELETE", Method::remove}}};
    const auto found = std::find_if(words.begin(), words.end(),
                                    [&](const auto &each) { return each.first == word; });
    return found == words.end() ? Method::other : found->second;
}

std::optional<Credentials> credentialsIn(std::string_view authorization) {
    constexpr std::string_view scheme = "Basic ";
    if (!equalsNoCase(authorization.substr(0, scheme.size()), scheme)) return std::nullopt;
    authorization.remove_prefix(scheme.size());
    authorization.remove_prefix(
        std::min(authorization.find_first_not_of(' '), authorization.size()));
    const auto pair = fromBase64(authorization);
    if (!pair) return std::nullopt;
    const std::size_t colon = pair->find(':');
    if (colon == std::string::npos) return std::nullopt;
    return Credentials{pair->substr(0, colon), pair->substr(colon + 1)};
}

}  // namespace zdbs::serve
