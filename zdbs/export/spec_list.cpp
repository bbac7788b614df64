#include "zdbs/export/spec_list.h"

#include "zdbs/export/quoted_text.h"

namespace zdbs {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

int depthChange(char c) {
    if (c == '[' || c == '(') return 1;
    return c == ']' || c == ')' ? -1 : 0;
}

/** The place behind the specification that starts at `start`. */
std::size_t specEnd(std::string_view text, std::size_t start) {
    int depth = 0;
    std::size_t at = start;
    while (at < text.size()) {
        if (depth <= 0 && isSpace(text[at])) return at;
        const std::size_t quoted = isQuote(text[at]) ? quotedEnd(text, at) : std::string_view::npos;
        if (quoted != std::string_view::npos) {
            at = quoted;
        } else {
            depth += depthChange(text[at++]);
        }
    }
    return at;
}

}  // namespace

std::vector<std::string> splitSpecs(std::string_view text) {
    std::vector<std::string> specs;
    std::size_t at = 0;
    while (true) {
        while (at < text.size() && isSpace(text[at]))
            ++at;
        if (at == text.size()) return specs;
        const std::size_t end = specEnd(text, at);
        specs.emplace_back(text.substr(at, end - at));
        at = end;
    }
}

}  // namespace zdbs
