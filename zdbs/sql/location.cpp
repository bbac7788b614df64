#include "zdbs/sql/location.h"

#include <libpq-fe.h>

#include <charconv>
#include <memory>

#include "zdbs/base/status.h"

namespace zdbs::sql {
namespace {

using Options = std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)>;

[[noreturn]] void refuse(const char *setting, const std::string &why) {
    throw Failure(Status::badSetting, {setting, why});
}

/** Takes our own parameter out of the text; libpq knows none of this name. */
int takeTimeout(std::string &text, const char *setting, int otherwise) {
    constexpr std::string_view key = "timeout=";
    const std::size_t question = text.find('?');
    if (question == std::string::npos) return otherwise;
    std::size_t at = question + 1;
    while (at < text.size() && text.compare(at, key.size(), key) != 0) {
        at = text.find('&', at);
        at = at == std::string::npos ? text.size() : at + 1;
    }
    if (at >= text.size()) return otherwise;
    const std::size_t end = std::min(text.find('&', at), text.size());
    const char *last = text.data() + end;
    int seconds = 0;
    const auto [stop, error] = std::from_chars(text.data() + at + key.size(), last, seconds);
    if (error != std::errc() || stop != last || seconds < 0)
        refuse(setting, "timeout is a number of seconds");
    text.erase(at, std::min(end + 1, text.size()) - at);
    if (text.back() == '&' || text.back() == '?') text.pop_back();
    return seconds;
}

}  // namespace

Location parseLocation(const std::string &text, const char *setting) {
    Location location{text, {}};
    std::string forLibrary = text;
    location.timeout = takeTimeout(forLibrary, setting, location.timeout);
    char *message = nullptr;
    const Options options(PQconninfoParse(forLibrary.c_str(), &message), PQconninfoFree);
    const std::unique_ptr<char, decltype(&PQfreemem)> owner(message, PQfreemem);
    if (!options) refuse(setting, "it is no address of a database server");
    for (const PQconninfoOption *each = options.get(); each->keyword != nullptr; ++each) {
        if (each->val == nullptr) continue;
        const std::string keyword = each->keyword;
        if (keyword == "password")
            refuse(setting,
                   "a password has no place in it; ~/.pgpass or the file of PGPASSFILE has");
        location.parameters.emplace_back(keyword, each->val);
    }
    return location;
}

}  // namespace zdbs::sql
