#include "zdbs/serve/settings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>

#include "zdbs/base/status.h"

namespace zdbs::serve {

namespace {

constexpr std::uint64_t million = 1'000'000;

constexpr std::array<LimitRow, 15> table = {{
    {"threads", &Limits::threads, 0, 1024, false,
     "Requests at once; 0: as many as there are processors"},
    {"connections", &Limits::connections, 2, million, false, "Connections at once"},
    {"line", &Limits::line, 0, million, false, "Requests that wait for a thread"},
    {"per-user", &Limits::perUser, 1, million, true, "Requests of a user, at once and waiting"},
    {"time", &Limits::time, 1, million, true, "Seconds of a request"},
    {"memory", &Limits::memory, 1, million, true, "Megabytes that a request may hold"},
    {"result", &Limits::result, 1, million, true, "Megabytes of an answer"},
    {"body", &Limits::body, 1, million, true, "Megabytes of what is sent with a request"},
    {"header", &Limits::header, 4, 1024, false, "Kilobytes of a request's line and headers"},
    {"kept", &Limits::kept, 0, million, false,
     "Megabytes of short answers kept for who asks the same again"},
    {"idle", &Limits::idle, 1, million, true, "Seconds until a connection without request ends"},
    {"stall", &Limits::stall, 1, million, true,
     "Seconds in which a client must take or send something"},
    {"grace", &Limits::grace, 0, million, true, "Seconds for running requests at the end"},
    {"sessions", &Limits::sessions, 0, 10000, false, "Sessions of shells and programs at once"},
    {"session-idle", &Limits::sessionIdle, 1, million, false,
     "Seconds until a session that asks nothing ends"},
}};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

const LimitRow *findRow(std::string_view name) {
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const LimitRow &each) { return each.name == name; });
    return row == table.end() ? nullptr : &*row;
}

std::optional<std::uint64_t> numberIn(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

void readLine(std::string_view line, const std::string &place, Limits &limits) {
    line = trimmed(line.substr(0, line.find('#')));
    if (line.empty()) return;
    const std::size_t sign = std::min(line.find('='), line.size());
    const std::string_view name = trimmed(line.substr(0, sign));
    const std::string_view text = trimmed(line.substr(std::min(sign + 1, line.size())));
    const LimitRow *row = findRow(name);
    if (row == nullptr) throw Failure(Status::badSetting, {place + ": " + std::string(name), text});
    const auto number = numberIn(text);
    if (!number || *number < row->least || *number > row->most)
        throw Failure(Status::badSetting, {place + ": " + std::string(name), text});
    limits.*row->value = *number;
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad())
        throw Failure(Status::fileUnreadable, {path, "it cannot be read"});
    return text;
}

}  // namespace

std::span<const LimitRow> limitTable() {
    return table;
}

void readLimits(std::string_view text, std::string_view name, Limits &limits) {
    for (std::size_t line = 1; !text.empty(); ++line) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        readLine(text.substr(0, end), std::string(name) + ":" + std::to_string(line), limits);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

Limits limitsOf(const Settings &settings) {
    Limits limits;
    if (!settings.file.empty()) readLimits(contentOf(settings.file), settings.file, limits);
    for (const auto &[name, value] : settings.given)
        limits.*findRow(name)->value = value;
    return limits;
}

}  // namespace zdbs::serve
