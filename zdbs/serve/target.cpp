#include "zdbs/serve/target.h"

#include <algorithm>

#include "zdbs/base/utf8.h"

namespace zdbs::serve {

namespace {

int digitOf(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return -1;
}

/** @param plus stands for a blank, as it does in parameters */
std::optional<std::string> decoded(std::string_view text, bool plus) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char byte = text[i];
        if (byte == '+' && plus) byte = ' ';
        if (byte == '%') {
            const int high = i + 1 < text.size() ? digitOf(text[i + 1]) : -1;
            const int low = i + 2 < text.size() ? digitOf(text[i + 2]) : -1;
            if (high < 0 || low < 0 || high + low == 0) return std::nullopt;
            byte = static_cast<char>(high * 16 + low);
            i += 2;
        }
        result += byte;
    }
    if (!isUtf8(result)) return std::nullopt;
    return result;
}

/** Cuts the text up to `end` off the front; all of it when `end` is not there. */
std::string_view cut(std::string_view &text, char end) {
    const std::size_t length = std::min(text.find(end), text.size());
    const std::string_view part = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return part;
}

bool readSteps(std::string_view path, Target &target) {
    while (!path.empty()) {
        auto step = decoded(cut(path, '/'), false);
        if (!step || *step == "." || *step == "..") return false;
        target.steps.push_back(std::move(*step));
    }
    return true;
}

bool readParameters(std::string_view query, Target &target) {
    while (!query.empty()) {
        std::string_view pair = cut(query, '&');
        auto name = decoded(cut(pair, '='), true);
        auto value = decoded(pair, true);
        if (!name || !value) return false;
        if (!name->empty()) target.parameters.emplace_back(std::move(*name), std::move(*value));
    }
    return true;
}

}  // namespace

const std::string *Target::parameter(std::string_view name) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const auto &each) { return each.first == name; });
    return found == parameters.end() ? nullptr : &found->second;
}

std::vector<std::string> Target::all(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto &[each, value] : parameters) {
        if (each == name) values.push_back(value);
    }
    return values;
}

std::optional<Target> parseTarget(std::string_view text) {
    const auto isOdd = [](char byte) { return static_cast<unsigned char>(byte) <= ' '; };
    if (!text.starts_with('/') || std::any_of(text.begin(), text.end(), isOdd)) return std::nullopt;
    text.remove_prefix(1);
    Target target;
    const std::string_view path = cut(text, '?');
    if (!readSteps(path, target) || !readParameters(text, target)) return std::nullopt;
    return target;
}

}  // namespace zdbs::serve
