#include <map>

#include "zdbs/base/status.h"
#include "zdbs/export/export_filter.h"
#include "zdbs/export/quoted_text.h"

namespace zdbs {
namespace {

constexpr std::string_view queryKey = "XPATHQUERY";
constexpr std::string_view fragmentsKey = "XPATHFRAGMENTS";

/** The key that a line starting at `at` begins with, when `=` follows it; empty when none does. */
std::string_view keyAt(std::string_view text, std::size_t at) {
    if (at > 0 && text[at - 1] != '\n') return {};
    for (const std::string_view key : {queryKey, fragmentsKey}) {
        const std::string_view line = text.substr(at);
        if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) return key;
    }
    return {};
}

std::string trimmed(std::string_view text) {
    constexpr std::string_view space = " \t\r\n";
    const std::size_t first = text.find_first_not_of(space);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(space) - first + 1));
}

/**
 * A request may go over several lines, so a value ends only at a line that begins
 * with the other key. With `seeQuotes`, not at one inside a string literal. Quotes in a comment
 * can make a literal look as if it stood outside of one; what it then says beside the arguments
 * that were given is refused.
 */
ExportArguments cutAtKeys(std::string_view text, bool seeQuotes) {
    std::map<std::string_view, std::string> values;
    std::string *value = nullptr;
    std::size_t start = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::string_view key = keyAt(text, at);
        const std::size_t quoted =
            seeQuotes && isQuote(text[at]) ? quotedEnd(text, at) : std::string_view::npos;
        if (!key.empty()) {
            if (value != nullptr) *value = trimmed(text.substr(start, at - start));
            const auto [place, isNew] = values.try_emplace(key);
            if (!isNew) throw Failure(Status::repeatedArgument, {key});
            value = &place->second;
            start = at + key.size() + 1;
            at = start;
        } else {
            at = quoted != std::string_view::npos ? quoted : at + 1;
        }
    }
    if (value != nullptr) *value = trimmed(text.substr(start));
    return {values[queryKey], values[fragmentsKey]};
}

}  // namespace

ExportArguments parseExportArguments(std::string_view text) {
    ExportArguments arguments = cutAtKeys(text, true);
    // A stray quote in one value can pair up with one in the other and hide a key.
    if (arguments.query.empty() || arguments.fragments.empty()) arguments = cutAtKeys(text, false);
    if (arguments.query.empty()) throw Failure(Status::missingArgument, {queryKey});
    if (arguments.fragments.empty()) throw Failure(Status::missingArgument, {fragmentsKey});
    return arguments;
}

}  // namespace zdbs
