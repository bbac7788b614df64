#include "zdbs/xpath/functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>

#include "zdbs/base/utf8.h"
#include "zdbs/xpath/characters.h"

namespace zdbs::xpath {
namespace {

using enum ValueType;

/** In the order of the enumeration. */
constexpr std::array table{
    FunctionTraits{Function::last, "last", number, 0, 0, number},
    FunctionTraits{Function::position, "position", number, 0, 0, number},
    FunctionTraits{Function::count, "count", number, 1, 1, nodeSet},
    FunctionTraits{Function::id, "id", nodeSet, 1, 1, nodeSet, false},
    FunctionTraits{Function::localName, "local-name", string, 0, 1, nodeSet, true, true},
    FunctionTraits{Function::namespaceUri, "namespace-uri", string, 0, 1, nodeSet, true, true},
    FunctionTraits{Function::name, "name", string, 0, 1, nodeSet, true, true},
    FunctionTraits{Function::string, "string", string, 0, 1, string, true, true},
    FunctionTraits{Function::concat, "concat", string, 2, unlimited, string},
    FunctionTraits{Function::startsWith, "starts-with", boolean, 2, 2, string},
    FunctionTraits{Function::contains, "contains", boolean, 2, 2, string},
    FunctionTraits{Function::substringBefore, "substring-before", string, 2, 2, string},
    FunctionTraits{Function::substringAfter, "substring-after", string, 2, 2, string},
    FunctionTraits{Function::substring, "substring", string, 2, 3, string, false},
    FunctionTraits{Function::stringLength, "string-length", number, 0, 1, string, true, true},
    FunctionTraits{Function::normalizeSpace, "normalize-space", string, 0, 1, string, true, true},
    FunctionTraits{Function::translate, "translate", string, 3, 3, string},
    FunctionTraits{Function::boolean, "boolean", boolean, 1, 1, boolean},
    FunctionTraits{Function::logicalNot, "not", boolean, 1, 1, boolean},
    FunctionTraits{Function::logicalTrue, "true", boolean, 0, 0, boolean},
    FunctionTraits{Function::logicalFalse, "false", boolean, 0, 0, boolean},
    FunctionTraits{Function::lang, "lang", boolean, 1, 1, string},
    FunctionTraits{Function::number, "number", number, 0, 1, number, true, true},
    FunctionTraits{Function::sum, "sum", number, 1, 1, nodeSet},
    FunctionTraits{Function::floor, "floor", number, 1, 1, number},
    FunctionTraits{Function::ceiling, "ceiling", number, 1, 1, number},
    FunctionTraits{Function::round, "round", number, 1, 1, number},
};

using Arguments = std::span<const Argument>;

std::string_view textOf(const Argument &value) {
    return std::get<std::string_view>(value);
}

double numberOf(const Argument &value) {
    return std::get<double>(value);
}

std::string substringBefore(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    return at == std::string_view::npos ? std::string() : std::string(text.substr(0, at));
}

std::string substringAfter(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    return at == std::string_view::npos ? std::string()
                                        : std::string(text.substr(at + mark.size()));
}

/** The characters whose position is from round(first) on and before round(first) + round(length).
 */
std::string substring(std::string_view text, double first, double length) {
    const double begin = rounded(first);
    const double end = begin + rounded(length);
    std::string result;
    double position = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t bytes = characterAt(text, at).bytes;
        if (++position >= begin && position < end) result.append(text, at, bytes);
        at += bytes;
    }
    return result;
}

std::string substring(Arguments arguments) {
    const double length =
        arguments.size() > 2 ? numberOf(arguments[2]) : std::numeric_limits<double>::infinity();
    const double first = numberOf(arguments[1]);
    // Without a length only the beginning counts, be it -Infinity.
    if (arguments.size() == 2 && std::isinf(first))
        return std::string(first < 0 ? textOf(arguments[0]) : std::string_view());
    return substring(textOf(arguments[0]), first, length);
}

std::string normalizedSpace(std::string_view text) {
    std::string result;
    bool isDue = false;
    for (const char c : text) {
        if (isSpace(c)) {
            isDue = !result.empty();
            continue;
        }
        if (isDue) result += ' ';
        isDue = false;
        result += c;
    }
    return result;
}

/** What each character becomes; nothing where it is dropped. The first mention of one counts. */
std::unordered_map<char32_t, std::string> translation(std::string_view from, std::string_view to) {
    std::unordered_map<char32_t, std::string> result;
    std::size_t target = 0;
    for (std::size_t at = 0; at < from.size();) {
        const Character source = characterAt(from, at);
        const std::size_t bytes = characterAt(to, target).bytes;
        result.try_emplace(source.point, to.substr(std::min(target, to.size()), bytes));
        at += source.bytes;
        target += bytes;
    }
    return result;
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char each) { return static_cast<unsigned char>(each) < 0x80; });
}

/** What each byte becomes; less than 0: nothing. */
using ByteTable = std::array<std::int16_t, 256>;

constexpr ByteTable unchangedBytes() {
    ByteTable bytes{};
    for (std::size_t byte = 0; byte < bytes.size(); ++byte)
        bytes[byte] = static_cast<std::int16_t>(byte);
    return bytes;
}

/** REQUIRES that what is replaced, and what by, are of one byte each. */
std::string translatedBytes(std::string_view text, std::string_view from, std::string_view to) {
    constexpr std::int16_t gone = -1;
    static constexpr ByteTable unchanged = unchangedBytes();
    ByteTable becomes = unchanged;
    // From behind, for the first of several counts.
    for (std::size_t i = from.size(); i-- > 0;)
        becomes[static_cast<unsigned char>(from[i])] =
            i < to.size() ? static_cast<std::int16_t>(to[i]) : gone;
    std::string result(text.size(), '\0');
    std::size_t size = 0;
    for (const char each : text) {
        const std::int16_t byte = becomes[static_cast<unsigned char>(each)];
        result[size] = static_cast<char>(byte);
        size += byte != gone ? 1 : 0;
    }
    result.resize(size);
    return result;
}

std::string translated(std::string_view text, std::string_view from, std::string_view to) {
    if (isAscii(from) && isAscii(to)) return translatedBytes(text, from, to);
    const auto becomes = translation(from, to);
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        const auto found = becomes.find(character.point);
        result += found != becomes.end() ? found->second : text.substr(at, character.bytes);
        at += character.bytes;
    }
    return result;
}

std::string concatenated(Arguments arguments) {
    std::string result;
    for (const Argument &argument : arguments)
        result += textOf(argument);
    return result;
}

using Implementation = Scalar (*)(Arguments);

/** In the order of the enumeration; null for those that ask nodes, and for conversions. */
constexpr std::array<Implementation, table.size()> implementations{
    nullptr,  // last
    nullptr,  // position
    nullptr,  // count
    nullptr,  // id
    nullptr,  // local-name
    nullptr,  // namespace-uri
    nullptr,  // name
    nullptr,  // string
    [](Arguments a) -> Scalar { return concatenated(a); },
    [](Arguments a) -> Scalar { return textOf(a[0]).starts_with(textOf(a[1])); },
    [](Arguments a) -> Scalar { return textOf(a[0]).find(textOf(a[1])) != std::string_view::npos; },
    [](Arguments a) -> Scalar { return substringBefore(textOf(a[0]), textOf(a[1])); },
    [](Arguments a) -> Scalar { return substringAfter(textOf(a[0]), textOf(a[1])); },
    [](Arguments a) -> Scalar { return substring(a); },
    [](Arguments a) -> Scalar { return static_cast<double>(characterCount(textOf(a[0]))); },
    [](Arguments a) -> Scalar { return normalizedSpace(textOf(a[0])); },
    [](Arguments a) -> Scalar { return translated(textOf(a[0]), textOf(a[1]), textOf(a[2])); },
    nullptr,  // boolean
    [](Arguments a) -> Scalar { return !std::get<bool>(a[0]); },
    [](Arguments) -> Scalar { return true; },
    [](Arguments) -> Scalar { return false; },
    nullptr,  // lang
    nullptr,  // number
    nullptr,  // sum
    [](Arguments a) -> Scalar { return std::floor(numberOf(a[0])); },
    [](Arguments a) -> Scalar { return std::ceil(numberOf(a[0])); },
    [](Arguments a) -> Scalar { return rounded(numberOf(a[0])); },
};

}  // namespace

const FunctionTraits &traitsOf(Function function) {
    return table[static_cast<std::size_t>(function)];
}

std::span<const FunctionTraits> functionTable() {
    return table;
}

const FunctionTraits *functionNamed(std::string_view name) {
    const auto *const found = std::find_if(
        table.begin(), table.end(), [name](const FunctionTraits &one) { return one.name == name; });
    return found != table.end() ? found : nullptr;
}

Scalar call(Function function, Arguments arguments) {
    return implementations[static_cast<std::size_t>(function)](arguments);
}

}  // namespace zdbs::xpath
