#include "prg/xml/xpath/utils/vexa/history.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/ustring.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>

namespace {

constexpr size_t mostLines = 1000;
constexpr size_t mostBytes = 256 * 1024;
constexpr size_t longestLine = 16 * 1024;

std::string stateFolder() {
    const char *state = std::getenv("XDG_STATE_HOME");
    // A name that is not absolute is to be passed over.
    if (state != nullptr && *state == '/') return state;
    const char *home = std::getenv("HOME");
    return home != nullptr && *home == '/' ? std::string(home) + "/.local/state" : "";
}

/** Makes what is missing of a folder's path, for nobody but the user. */
void makeFolders(const std::string &folder) {
    for (size_t end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
        mkdir(folder.substr(0, end).c_str(), S_IRWXU);
        if (end == std::string::npos) return;
    }
}

/** Nothing for what is no text: bytes that the locale has no characters for. */
std::optional<std::string> toUtf8(const std::wstring &text) {
    std::vector<UChar> wide(2 * text.size() + 1);
    std::string result(4 * text.size() + 1, '\0');
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF32(wide.data(), static_cast<int32_t>(wide.size()), &length,
                   reinterpret_cast<const UChar32 *>(text.data()),
                   static_cast<int32_t>(text.size()), &error);
    u_strToUTF8(result.data(), static_cast<int32_t>(result.size()), &length, wide.data(), length,
                &error);
    if (U_FAILURE(error)) return std::nullopt;
    result.resize(static_cast<size_t>(length));
    return result;
}

std::optional<std::wstring> fromUtf8(const std::string &text) {
    std::vector<UChar> wide(text.size() + 1);
    std::wstring result(text.size() + 1, L'\0');
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(wide.data(), static_cast<int32_t>(wide.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &error);
    u_strToUTF32(reinterpret_cast<UChar32 *>(result.data()), static_cast<int32_t>(result.size()),
                 &length, wide.data(), length, &error);
    if (U_FAILURE(error)) return std::nullopt;
    result.resize(static_cast<size_t>(length));
    return result;
}

bool writeWhole(const std::string &path, const std::string &text) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW,
                          S_IRUSR | S_IWUSR);
    if (file < 0) return false;
    fchmod(file, S_IRUSR | S_IWUSR);
    const bool isWritten =
        write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    return close(file) == 0 && isWritten;
}

}  // namespace

LineHistory::LineHistory() {
    const std::string folder = stateFolder();
    if (!folder.empty()) path_ = folder + "/vexa/history";
    read();
}

void LineHistory::read() {
    lines_.clear();
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);)
        if (const auto text = fromUtf8(line)) keep(*text);
    bound();
}

void LineHistory::add(const std::wstring &line) {
    if (line.find_first_not_of(L" \t") == std::wstring::npos || line.size() > longestLine) return;
    if (!lines_.empty() && lines_.back() == line) return;
    if (!path_.empty() && access(path_.c_str(), R_OK) == 0) read();
    keep(line);
    bound();
    if (!path_.empty()) write();
}

void LineHistory::keep(const std::wstring &line) {
    std::erase(lines_, line);
    lines_.push_back(line);
}

void LineHistory::bound() {
    size_t bytes = 0;
    size_t kept = 0;
    while (kept < std::min(lines_.size(), mostLines) && bytes <= mostBytes)
        bytes += 4 * lines_[lines_.size() - ++kept].size() + 1;
    lines_.erase(lines_.begin(), lines_.end() - static_cast<std::ptrdiff_t>(kept));
}

void LineHistory::write() const {
    std::string text;
    for (const std::wstring &line : lines_)
        if (const auto utf8 = toUtf8(line)) text += *utf8 + '\n';
    const size_t slash = path_.rfind('/');
    makeFolders(path_.substr(0, slash));
    const std::string fresh = path_ + '.' + std::to_string(getpid());
    if (!writeWhole(fresh, text) || std::rename(fresh.c_str(), path_.c_str()) != 0)
        unlink(fresh.c_str());
}
