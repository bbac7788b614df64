#include "zdbs/base/names.h"

#include <algorithm>

#include "zdbs/base/status.h"

namespace zdbs {

namespace {

// Not <cctype>: the locale has no say in what a name is.
bool isNameByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '_' || byte == '-' || byte == '.';
}

}  // namespace

bool isValidName(std::string_view name) {
    if (name.empty() || name.size() > maxNameLength || name.front() == '.') return false;
    return std::all_of(name.begin(), name.end(), isNameByte);
}

void requireValidName(std::string_view name) {
    if (!isValidName(name)) throw Failure(Status::badName, {name});
}

}  // namespace zdbs
