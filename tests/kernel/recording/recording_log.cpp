#include "tests/kernel/recording/recording_log.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace recording {
namespace {

std::string escapedByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') return {'\\', c};
    if (byte >= 0x20 && byte < 0x7f) return {c};
    char text[8];
    std::snprintf(text, sizeof text, "\\x%02x", byte);
    return text;
}

struct Closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

}  // namespace

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text)
        result += escapedByte(c);
    return result + "\"";
}

std::string quoted(const char *text) {
    return text == nullptr ? std::string("(null)") : quoted(std::string_view(text));
}

void logLine(const std::string &line) {
    const char *path = std::getenv("RECORDING_LOG");
    if (path == nullptr || *path == '\0') return;
    const std::unique_ptr<std::FILE, Closer> file(std::fopen(path, "a"));
    if (file == nullptr) return;
    std::fputs((line + "\n").c_str(), file.get());
}

}  // namespace recording
