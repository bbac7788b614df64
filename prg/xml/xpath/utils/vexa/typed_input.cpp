#include "prg/xml/xpath/utils/vexa/typed_input.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cwchar>

#include "prg/xml/xpath/utils/vexa/interrupts.h"

namespace {

constexpr std::string_view pasteEnd = "\033[201~";

// Beyond all characters that wide text has: lone surrogates, one for each byte.
constexpr wchar_t strayBytes = 0xdc00;

bool isStray(wchar_t c) {
    return c >= strayBytes + 0x80 && c <= strayBytes + 0xff;
}

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

struct Decoded {
    wchar_t character;
    size_t length;  // 0: its last bytes have not come yet
};

Decoded decode(const char *bytes, size_t size) {
    std::mbstate_t state = {};
    wchar_t c = 0;
    const size_t length = std::mbrtowc(&c, bytes, size, &state);
    if (length == static_cast<size_t>(-2)) return {0, 0};
    if (length == 0) return {0, 1};
    if (length != static_cast<size_t>(-1)) return {c, length};
    return {strayBytes + static_cast<wchar_t>(static_cast<unsigned char>(*bytes)), 1};
}

/** Line ends of pasted text, which terminals send as carriage returns. */
void unifyLineEnds(std::string &text) {
    for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;)
        text.erase(at, 1);
    std::ranges::replace(text, '\r', '\n');
}

}  // namespace

bool TypedInput::wait() {
    while (state_ == State::open && at_ == bytes_.size())
        fill();
    return state_ == State::open;
}

/** Adds what there is to read, or waits for something to happen. */
bool TypedInput::fill() {
    std::array<pollfd, 2> ready = {{{STDIN_FILENO, POLLIN, 0}, {interruptDescriptor(), POLLIN, 0}}};
    if (poll(ready.data(), ready.size(), -1) < 0) {
        onWake_();
        return false;
    }
    if (ready[1].revents != 0 && takeInterrupt()) {
        state_ = State::interrupted;
        return false;
    }
    if (ready[0].revents == 0) return false;
    std::array<char, 65536> buffer;
    const ssize_t got = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (got > 0) {
        bytes_.erase(0, at_);
        at_ = 0;
        bytes_.append(buffer.data(), static_cast<size_t>(got));
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        state_ = got == 0 ? State::atEnd : State::failed;
        error_ = errno;
    }
    return got > 0;
}

void TypedInput::reopen() {
    if (state_ == State::interrupted) take(bytes_.size() - at_);
    state_ = State::open;
}

void TypedInput::take(size_t bytes) {
    at_ += bytes;
    if (at_ < bytes_.size()) return;
    bytes_.clear();
    at_ = 0;
}

bool TypedInput::next(wchar_t &character) {
    while (wait()) {
        const Decoded decoded = decode(bytes_.data() + at_, bytes_.size() - at_);
        if (decoded.length == 0 && bytes_.size() - at_ < MB_LEN_MAX) {
            fill();
            continue;
        }
        character = decoded.character;
        take(decoded.length);
        return true;
    }
    return false;
}

size_t TypedInput::runLength() const {
    const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(at_);
    return static_cast<size_t>(std::find_if(begin, bytes_.end(), isControl) - begin);
}

std::wstring TypedInput::takeRun() {
    const std::string run = bytes_.substr(at_, runLength());
    std::wstring result = toCharacters(run);
    // Half a character at the end is left for later.
    take(toBytes(result).size());
    return result;
}

std::wstring TypedInput::takePaste() {
    std::string text;
    size_t end = std::string::npos;
    while (end == std::string::npos && wait()) {
        text.append(bytes_, at_);
        // Looked for where the new piece begins, lest a long paste be searched over and over.
        const size_t added = bytes_.size() - at_ + pasteEnd.size();
        take(bytes_.size() - at_);
        end = text.find(pasteEnd, text.size() > added ? text.size() - added : 0);
    }
    if (end != std::string::npos) {
        bytes_ = text.substr(end + pasteEnd.size());
        at_ = 0;
        text.resize(end);
    }
    unifyLineEnds(text);
    return toCharacters(text);
}

std::wstring TypedInput::toCharacters(const std::string &bytes) {
    std::wstring result;
    result.reserve(bytes.size());
    for (size_t at = 0; at < bytes.size();) {
        const Decoded decoded = decode(bytes.data() + at, bytes.size() - at);
        if (decoded.length == 0) break;
        result += decoded.character;
        at += decoded.length;
    }
    return result;
}

std::string TypedInput::toBytes(const std::wstring &characters) {
    std::string result;
    result.reserve(characters.size());
    std::array<char, MB_LEN_MAX> bytes;
    for (const wchar_t c : characters) {
        std::mbstate_t state = {};
        if (isStray(c)) {
            result += static_cast<char>(c - strayBytes);
            continue;
        }
        const size_t length = std::wcrtomb(bytes.data(), c, &state);
        if (length != static_cast<size_t>(-1)) result.append(bytes.data(), length);
    }
    return result;
}
