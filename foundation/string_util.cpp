#include "foundation/string_util.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/characters.h"

namespace {

int lengthOf(const char *text) {
    return static_cast<int>(std::min<std::size_t>(std::strlen(text), INT_MAX));
}

signed char folded(char c, bool foldCase) {
    const auto byte = static_cast<unsigned char>(c);
    return static_cast<signed char>(foldCase ? std::toupper(byte) : byte);
}

int compareBytes(char a, char b, bool foldCase, bool equalityOnly) {
    const signed char byteA = folded(a, foldCase);
    const signed char byteB = folded(b, foldCase);
    if (byteA == byteB) return 0;
    return !equalityOnly && byteA < byteB ? -1 : 1;
}

int compareLimited(const char *a, const char *b, int n, bool foldCase) {
    const char *textA = orEmpty(a);
    const char *textB = orEmpty(b);
    const int shorter = std::min(lengthOf(textA), lengthOf(textB));
    // Equal lengths even when the texts differ in length: a beginning compares equal, on purpose.
    const int length = std::min(shorter, n);
    return __ZfxCompare(textA, length, textB, length, foldCase, false);
}

}  // namespace

int __ZfxCompare(const char *a, int lengthA, const char *b, int lengthB, bool foldCase,
                 bool equalityOnly) {
    const int shorter = std::min(lengthA, lengthB);
    for (int i = 0; i < shorter; ++i) {
        const int result = compareBytes(a[i], b[i], foldCase, equalityOnly);
        if (result != 0) return result;
    }
    return (lengthA > lengthB) - (lengthA < lengthB);
}

int ZfxCompareNoCase(const char *a, const char *b) {
    const char *textA = orEmpty(a);
    const char *textB = orEmpty(b);
    return __ZfxCompare(textA, lengthOf(textA), textB, lengthOf(textB), true, false);
}

int ZfxCompareLen(const char *a, const char *b, int n) {
    return compareLimited(a, b, n, false);
}

int ZfxCompareLenNoCase(const char *a, const char *b, int n) {
    return compareLimited(a, b, n, true);
}

int __ZfxCompareEx(const char *a, const char *b, int n, bool foldCase, bool equalityOnly) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    const std::size_t limit = n < 1 ? SIZE_MAX : static_cast<std::size_t>(n);
    for (std::size_t i = 0; i < limit; ++i) {
        if (a[i] == '\0') return b[i] == '\0' ? 0 : -1;
        if (b[i] == '\0') return 1;
        const int result = compareBytes(a[i], b[i], foldCase, equalityOnly);
        if (result != 0) return result;
    }
    return 0;
}

bool ZfxStrEquals(const char *a, const char *b) {
    return ZfxStrLenEquals(a, b, 0);
}

bool ZfxStrNoCaseEquals(const char *a, const char *b) {
    return ZfxStrLenNoCaseEquals(a, b, 0);
}

bool ZfxStrLenEquals(const char *a, const char *b, int n) {
    return __ZfxCompareEx(a, b, n, false, true) == 0;
}

bool ZfxStrLenNoCaseEquals(const char *a, const char *b, int n) {
    return __ZfxCompareEx(a, b, n, true, true) == 0;
}

void TrimString(char *s) {
    if (s == nullptr) return;
    std::size_t length = std::strlen(s);
    std::size_t leading = 0;
    while (leading < length && isSpace(s[leading]))
        ++leading;
    while (length > leading && isSpace(s[length - 1]))
        --length;
    length -= leading;
    std::memmove(s, s + leading, length);
    s[length] = '\0';
}

char *itoa(int value, char *buffer, int radix) {
    if (radix == 10 && value < 0) {
        xtoa(static_cast<unsigned long>(value), buffer, radix, true);
    } else {
        xtoa(static_cast<unsigned int>(value), buffer, radix, false);
    }
    return buffer;
}

void xtoa(unsigned long value, char *buffer, int radix, bool negative) {
    char *end = buffer;
    if (radix >= 2 && radix <= 36) {
        if (negative) *end++ = '-';
        char *const digits = end;
        unsigned long rest = negative ? 0 - value : value;
        do {
            *end++ = "0123456789abcdefghijklmnopqrstuvwxyz"[rest % static_cast<unsigned>(radix)];
            rest /= static_cast<unsigned>(radix);
        } while (rest != 0);
        std::reverse(digits, end);
    }
    *end = '\0';
}
