// Settings files: the value of a name is the one that a plain reading of the file's rules gives.
#include <sys/mman.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "foundation/run_control.h"
#include "fuzz/fuzzing.h"

namespace {

constexpr const char *name = "A";  // not in the environment
constexpr std::size_t longestLine = 510;

bool isSpace(char c) {
    return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0';
}

std::string trimmed(std::string text) {
    while (!text.empty() && isSpace(text.back()))
        text.pop_back();
    return text;
}

/** Lines as they are read: cut at the limit, and at a NUL. */
std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view whole = text.substr(0, text.find('\n') + 1);
        const std::string_view line = (whole.empty() ? text : whole).substr(0, longestLine);
        lines.emplace_back(line.substr(0, line.find('\0')));
        text.remove_prefix(line.size());
    }
    return lines;
}

std::optional<std::string> expected(std::string_view text) {
    for (const std::string &each : linesOf(text)) {
        const std::string line = trimmed(each);
        const std::size_t equals = line.find('=');
        if (equals != 1 || std::toupper(static_cast<unsigned char>(line[0])) != name[0]) continue;
        const std::string value = line.substr(2);
        const std::size_t comment = value.find('#');
        return comment == std::string::npos ? value : trimmed(value.substr(0, comment));
    }
    return std::nullopt;
}

std::optional<std::string> found(ZfxTLSKey key, const std::string &file) {
    const char *const path = file.c_str();
    char *const value = ZfxReadTlsRCSFrom(key, name, {&path, 1});
    std::optional<std::string> result;
    if (value != nullptr) result = value;
    ZfxFreeRCS(value);
    ZfxCloseTlsRCS(key);
    return result;
}

ZfxTLSKey makeKey() {
    ZfxTLSKey key;
    fuzzing::require(ZfxCreateTLS(&key, tlsRCSDealloc) == 0, "No key.");
    ZfxOpenTlsRCS(key);
    return key;
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static const ZfxTLSKey key = makeKey();
    const int file = ::memfd_create("settings", 0);
    const auto written = ::write(file, input.data(), input.size());
    fuzzing::require(written == static_cast<ssize_t>(input.size()), "No file.");
    const auto value = found(key, "/proc/self/fd/" + std::to_string(file));
    ::close(file);
    fuzzing::require(value == expected(fuzzing::textOf(input)), "Another value.");
}
