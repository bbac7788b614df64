#include "zdbs/base/part_name.h"

#include <charconv>

namespace zdbs {

std::string nameOfPart(std::string_view database, std::uint32_t part) {
    return std::string(database) + "." + std::to_string(part);
}

std::optional<NamedParts> splitPartName(std::string_view name) {
    const std::size_t point = name.rfind('.');
    if (point == std::string_view::npos || point + 1 == name.size()) return std::nullopt;
    const std::string_view digits = name.substr(point + 1);
    std::uint32_t part = 0;
    const auto read = std::from_chars(digits.begin(), digits.end(), part);
    if (read.ec != std::errc() || read.ptr != digits.end() || digits.front() == '0')
        return std::nullopt;
    return NamedParts{std::string(name.substr(0, point)), part};
}

}  // namespace zdbs
