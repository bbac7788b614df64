#include "zdbs/load/xml_declaration.h"

#include <algorithm>
#include <cstddef>

namespace zdbs {

namespace {

constexpr std::string_view begin = "<?xml";
constexpr std::string_view end = "?>";
constexpr std::string_view spaces = " \t\r\n";

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

// EncName of XML 1.0. Nothing else may get to the list of converters, whose names can carry
// options and where the empty name means the one of the process.
bool isEncodingName(std::string_view name) {
    return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), [](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    });
}

void skipSpace(std::string_view &rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(spaces), rest.size()));
}

// name="value" or name='value', with white space in front and around the equals sign.
bool readPair(std::string_view &rest, std::string_view &name, std::string_view &value) {
    skipSpace(rest);
    const auto afterName = std::find_if_not(rest.begin(), rest.end(), isLetter);
    name = rest.substr(0, static_cast<std::size_t>(afterName - rest.begin()));
    rest.remove_prefix(name.size());
    skipSpace(rest);
    if (name.empty() || !rest.starts_with('=')) return false;
    rest.remove_prefix(1);
    skipSpace(rest);
    if (rest.empty() || (rest[0] != '"' && rest[0] != '\'')) return false;
    const std::size_t close = rest.find(rest[0], 1);
    if (close == std::string_view::npos) return false;
    value = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
    return true;
}

}  // namespace

XmlDeclaration readXmlDeclaration(std::string_view text) {
    const std::size_t compared = std::min(text.size(), begin.size() + 1);
    const bool isBegin =
        text.substr(0, begin.size()) == begin.substr(0, compared) &&
        (compared <= begin.size() || spaces.find(text[begin.size()]) != spaces.npos);
    if (!isBegin) return {};
    const std::size_t close = text.find(end);
    if (close == std::string_view::npos) return {XmlDeclaration::Kind::unfinished, 0, {}};
    XmlDeclaration declaration{XmlDeclaration::Kind::complete, close + end.size(), {}};
    std::string_view rest = text.substr(begin.size(), close - begin.size());
    for (std::string_view name, value; readPair(rest, name, value);) {
        if (name != "encoding") continue;
        if (isEncodingName(value)) declaration.encoding = value;
        break;
    }
    return declaration;
}

}  // namespace zdbs
