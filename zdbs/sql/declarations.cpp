#include "zdbs/sql/declarations.h"

#include <algorithm>
#include <charconv>

namespace zdbs::sql {
namespace {

void add(std::string &text, std::string_view word) {
    text += std::to_string(word.size()) + ":";
    text += word;
}

std::string_view take(std::string_view &text) {
    std::size_t size = 0;
    std::from_chars(text.data(), text.data() + text.size(), size);
    text.remove_prefix(std::min(text.find(':'), text.size() - 1) + 1);
    const std::string_view word = text.substr(0, size);
    text.remove_prefix(word.size());
    return word;
}

}  // namespace

void addDeclaration(std::string &text, std::string_view prefix, std::string_view uri) {
    add(text, prefix);
    add(text, uri);
}

std::vector<NamespaceDeclaration> declarationsIn(std::string_view text) {
    std::vector<NamespaceDeclaration> result;
    while (!text.empty()) {
        const std::string_view prefix = take(text);
        if (text.empty()) break;
        result.push_back({prefix, take(text)});
    }
    return result;
}

}  // namespace zdbs::sql
