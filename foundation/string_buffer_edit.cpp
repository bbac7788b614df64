// Searching, comparing and editing in place.
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/characters.h"
#include "foundation/memory.h"
#include "foundation/string_buffer.h"
#include "foundation/string_util.h"

namespace {

constexpr int smallIncrement = 64;

char upper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Where `wanted` is in the `length` bytes of `text`, taken from right to left without overlap.
std::vector<int> matchesFromTheRight(const char *text, int length, const std::string &wanted) {
    std::vector<int> positions;
    const std::int64_t size = static_cast<std::int64_t>(wanted.size());
    std::int64_t pos = length - size;
    while (pos >= 0) {
        const bool match = std::memcmp(text + pos, wanted.data(), wanted.size()) == 0;
        if (match) positions.push_back(static_cast<int>(pos));
        pos -= match ? std::max<std::int64_t>(size, 1) : 1;
    }
    return positions;
}

// Adds to `result` what shortening `text` match by match, each by `cut` bytes, leaves behind the
// result: every step ends its text with a NUL and leaves the bytes behind that as they were.
void appendLeftBehind(std::string &result, std::string_view text, const std::vector<int> &matches,
                      std::size_t size, std::size_t cut) {
    const std::size_t kept = result.size();
    result.resize(text.size());
    std::size_t length = text.size();
    for (const int match : matches) {
        const std::size_t behindMatch = static_cast<std::size_t>(match) + size;
        const std::size_t shorter = length - cut;
        for (std::size_t i = shorter + 1; i < length; ++i)
            result[i] = i < behindMatch ? text[i] : result[kept + i - length];
        result[shorter] = '\0';
        length = shorter;
    }
}

}  // namespace

int CStringBuffer::find(const char *s, int start, bool ignoreCase) const {
    if (start < 0 || start >= m_nLength) return -1;
    if (ignoreCase) {
        CStringBuffer folded(*this);
        CStringBuffer wanted(s);
        return folded.toUpperCase().find(wanted.toUpperCase().m_pBuffer, start, false);
    }
    const char *match = std::strstr(m_pBuffer + start, orEmpty(s));
    return match != nullptr ? static_cast<int>(match - m_pBuffer) : -1;
}

int CStringBuffer::find(char c, int start, bool ignoreCase) const {
    if (start < 0 || start >= m_nLength) return -1;
    if (ignoreCase) return CStringBuffer(*this).toUpperCase().find(upper(c), start, false);
    const char *match = std::strchr(m_pBuffer + start, c);
    return match != nullptr ? static_cast<int>(match - m_pBuffer) : -1;
}

int CStringBuffer::findReverse(char c, bool ignoreCase) const {
    if (m_nLength < 1) return -1;
    if (ignoreCase) return CStringBuffer(*this).toUpperCase().findReverse(upper(c), false);
    const char *match = std::strrchr(m_pBuffer, c);
    return match != nullptr ? static_cast<int>(match - m_pBuffer) : -1;
}

bool CStringBuffer::endsWith(const char *s, int n, bool ignoreCase) const {
    const char *wanted = orEmpty(s);
    const std::size_t size = n < 0 ? std::strlen(wanted) : static_cast<std::size_t>(n);
    if (size == 0) return true;
    if (s == nullptr || size > static_cast<std::size_t>(m_nLength)) return false;
    const char *tail = m_pBuffer + m_nLength - size;
    return (ignoreCase ? strncasecmp(tail, s, size) : std::memcmp(tail, s, size)) == 0;
}

int CStringBuffer::compareNoCase(const char *s) const {
    return strcasecmp(text(), orEmpty(s));
}

bool CStringBuffer::operator==(const CStringBuffer &other) const {
    if (m_nLength != other.m_nLength) return false;
    return std::memcmp(text(), other.text(), static_cast<std::size_t>(m_nLength)) == 0;
}

int CStringBuffer::copyTo(char *dst, int size) const {
    if (size < 1) return 0;
    const int count = std::min(m_nLength, size - 1);
    ZfxMemCopy(dst, m_pBuffer, static_cast<std::size_t>(count));
    dst[count] = '\0';
    return count;
}

void CStringBuffer::getSubStr(const CStringBuffer &src, int start, int count, bool append) {
    if (!append) clear();
    const int from = std::max(start, 0);
    if (src.m_nLength <= from) return;
    const int rest = src.m_nLength - from;
    const int taken = count < 0 ? rest : std::min(count, rest);
    if (append) {
        this->append(src.m_pBuffer + from, taken);
    } else {
        set(src.m_pBuffer + from, taken);
    }
}

void CStringBuffer::insert(const CStringBuffer &s, int pos) {
    if (m_nLength <= pos) {
        append(s);
        return;
    }
    const int before = std::max(pos, 0);
    CStringBuffer result(smallIncrement);
    if (before > 0) result.append(m_pBuffer, before);
    result.append(s);
    result.append(m_pBuffer + before, m_nLength - before);
    set(result);
}

// The temporaries are as small as they can be: a block of the default size is cleared first.
void CStringBuffer::insert(const char *s, int pos) {
    CStringBuffer inserted(smallIncrement);
    insert(inserted.set(s, -1), pos);
}

void CStringBuffer::insert(int value, int pos) {
    CStringBuffer number(smallIncrement);
    insert(number.set(value), pos);
}

// The result is put together in one pass: replacing match by match would move the tail for every
// one of them.
void CStringBuffer::replace(const char *find, const char *repl) {
    const std::string wanted = orEmpty(find);
    const std::string inserted = orEmpty(repl);
    const std::vector<int> matches = matchesFromTheRight(text(), m_nLength, wanted);
    if (matches.empty()) return;
    if (inserted.size() > wanted.size()) {
        assureReplaced(matches.size(), inserted.size(), inserted.size() - wanted.size());
    }

    std::string result;
    const char *rest = text();
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
        result.append(rest, text() + *match).append(inserted);
        rest = text() + *match + wanted.size();
    }
    result.append(rest, text() + m_nLength);

    // The end marker stays, and so does the byte behind a longer text: see the class comment.
    const auto length = static_cast<std::int32_t>(result.size());
    if (inserted.size() < wanted.size()) {
        const std::string_view whole(m_pBuffer, static_cast<std::size_t>(m_nLength));
        appendLeftBehind(result, whole, matches, wanted.size(), wanted.size() - inserted.size());
    }
    ZfxMemCopy(m_pBuffer, result.data(), result.size());
    m_nLength = length;
}

void CStringBuffer::trim() {
    if (m_nLength < 1) return;
    int leading = 0;
    while (leading < m_nLength && isSpace(m_pBuffer[leading]))
        ++leading;
    m_nLength -= leading;
    if (leading > 0) {
        const int moved = std::min(m_nLength, m_nBufLength - 1);
        ZfxMemCopy(m_pBuffer, m_pBuffer + leading, static_cast<std::size_t>(moved));
        m_pBuffer[moved] = '\0';
    }
    while (m_nLength > 0 && isSpace(m_pBuffer[m_nLength - 1]))
        m_pBuffer[--m_nLength] = '\0';
    // The end marker stays: see the class comment.
}

CStringBuffer &CStringBuffer::toUpperCase() {
    std::transform(m_pBuffer, m_pBuffer + m_nLength, m_pBuffer, upper);
    return *this;
}

CStringBuffer &CStringBuffer::toLowerCase() {
    std::transform(m_pBuffer, m_pBuffer + m_nLength, m_pBuffer, lower);
    return *this;
}

void CStringBuffer::convertLinebreaks() {
    std::replace(m_pBuffer, m_pBuffer + m_nLength, '\r', '\n');
}
