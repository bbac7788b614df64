// Characters of the C locale's kind, and texts that may be missing. Private to this folder.
#ifndef FOUNDATION_CHARACTERS_H
#define FOUNDATION_CHARACTERS_H

#include <cctype>

inline bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

inline const char *orEmpty(const char *text) {
    return text != nullptr ? text : "";
}

#endif
