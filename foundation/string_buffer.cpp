// Construction, access, and what sets or extends the text.
#include "foundation/string_buffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

#include "foundation/memory.h"
#include "foundation/string_util.h"

namespace {

// The text and its NUL must fit a capacity of 31 bits.
constexpr std::size_t maxLength = INT32_MAX - 1;

constexpr std::size_t formatSize = 16384;
constexpr std::size_t numberSize = 33;

std::size_t checkedLength(std::size_t length) {
    if (length > maxLength) ZfxOutOfMemory();
    return length;
}

// The length of the argument pair (s, n), where n < 0 asks for strlen.
std::size_t textLength(const char *s, int n) {
    if (n >= 0) return checkedLength(static_cast<std::size_t>(n));
    return checkedLength(s != nullptr ? std::strlen(s) : 0);
}

}  // namespace

CStringBuffer::CStringBuffer()
    : m_pBuffer(allocString(4092)), m_nBufLength(4092), m_pEnd(m_pBuffer) {}

CStringBuffer::CStringBuffer(const char *s) {
    set(s, -1);
}

CStringBuffer::CStringBuffer(int increment) : m_nIncrement(std::max(increment, 1)) {
    set("", 0);
}

CStringBuffer::CStringBuffer(const CStringBuffer &other) {
    set(other);
}

CStringBuffer::~CStringBuffer() {
    freeString(m_pBuffer);
    freeString(m_pLockBuffer);
}

void CStringBuffer::print(std::FILE *file) const {
    std::fprintf(file, "%.*s", m_nLength, text());
}

CStringBuffer &CStringBuffer::set(const char *s, int n) {
    const std::size_t length = textLength(s, n);
    // The old block goes last, because `s` may point into it.
    char *old = nullptr;
    if (length >= static_cast<std::size_t>(m_nBufLength)) {
        const std::int32_t capacity = capacityFor(length);
        char *block = allocString(static_cast<std::size_t>(capacity) + 1);
        old = std::exchange(m_pBuffer, block);
        m_nBufLength = capacity;
    } else if (s == nullptr) {
        clear();
    }
    assert(m_pBuffer != nullptr);
    ZfxMemCopy(m_pBuffer, s, length);
    freeString(old);
    m_nLength = static_cast<std::int32_t>(length);
    m_pEnd = m_pBuffer + length;
    *m_pEnd = '\0';
    return *this;
}

CStringBuffer &CStringBuffer::set(const CStringBuffer &other) {
    return *this == other ? *this : set(other.m_pBuffer, other.m_nLength);
}

CStringBuffer &CStringBuffer::set(int value) {
    char number[numberSize];
    return set(itoa(value, number, 10), -1);
}

void CStringBuffer::clear() {
    if (m_nBufLength < 1) {
        set("", 0);
    } else if (m_nLength > 0) {
        m_nLength = 0;
        m_pEnd = m_pBuffer;
        *m_pEnd = '\0';
    }
}

CStringBuffer &CStringBuffer::append(const char *s, int n) {
    const std::size_t count = textLength(s, n);
    if (m_pBuffer == nullptr || m_nLength == 0) return set(s, static_cast<int>(count));
    // Behind the gap that trim() or replace() left, the old end marker can be too near to the end
    // of a block that would do for the text.
    const std::size_t place = std::max(endOffset(), static_cast<std::size_t>(m_nLength));
    char *old = nullptr;
    if (place + count >= static_cast<std::size_t>(m_nBufLength)) old = growToAppend(count);
    assert(m_pEnd != nullptr);
    ZfxMemCopy(m_pEnd, s, count);
    freeString(old);  // not earlier: `s` may point into it
    m_pEnd += count;
    m_nLength += static_cast<std::int32_t>(count);
    *m_pEnd = '\0';
    return *this;
}

CStringBuffer &CStringBuffer::append(const CStringBuffer &other) {
    return append(other.m_pBuffer, other.m_nLength);
}

CStringBuffer &CStringBuffer::append(int value) {
    char number[numberSize];
    return append(itoa(value, number, 10), -1);
}

void CStringBuffer::attach(char *p, int n, int capacity) {
    if (p == nullptr) {
        clear();
        return;
    }
    if (p != m_pBuffer) freeString(m_pBuffer);
    if (p == m_pLockBuffer) m_pLockBuffer = nullptr;
    m_pBuffer = p;
    m_nLength = static_cast<std::int32_t>(textLength(p, n < 1 ? -1 : n));
    m_nBufLength = capacity < 1 ? m_nLength + 1 : capacity;
    m_pEnd = m_pBuffer + m_nLength;
    if (m_nLength >= m_nBufLength) return;
    *m_pEnd = '\0';
    // What scans past the text, as it may after replace(), ends here at the latest.
    m_pBuffer[m_nBufLength - 1] = '\0';
}

char *CStringBuffer::detach() {
    char *block = m_pBuffer;
    m_pBuffer = nullptr;
    m_nBufLength = 0;
    m_nLength = 0;
    m_pEnd = nullptr;
    m_pLockBuffer = nullptr;
    m_nLockLength = 0;
    set("", 0);
    return block;
}

char *CStringBuffer::getBufferSetLength(int n) {
    const int size = n < 1 ? m_nIncrement : n;
    freeString(std::exchange(m_pLockBuffer, allocString(static_cast<std::size_t>(size))));
    m_nLockLength = size;
    const int count = std::min(m_nLength, m_nLockLength - 1);
    ZfxMemCopy(m_pLockBuffer, m_pBuffer, static_cast<std::size_t>(count));
    return m_pLockBuffer;
}

void CStringBuffer::releaseBuffer(bool keep, int n) {
    if (m_pLockBuffer == nullptr) return;
    if (keep) {
        const auto size = static_cast<std::size_t>(m_nLockLength);
        const int held = static_cast<int>(strnlen(m_pLockBuffer, size));
        set(m_pLockBuffer, n < 0 ? held : std::min(n, m_nLockLength));
    }
    freeString(m_pLockBuffer);
    m_pLockBuffer = nullptr;
    m_nLockLength = 0;
}

void CStringBuffer::format(const char *fmt, ...) {
    std::va_list args;
    va_start(args, fmt);
    vformat(fmt, args);
    va_end(args);
}

void CStringBuffer::vformat(const char *fmt, std::va_list args) {
    char printed[formatSize];
    printed[0] = '\0';
    clear();
    const int n = std::vsnprintf(printed, sizeof printed, fmt, args);
    set(printed, std::clamp(n, 0, static_cast<int>(formatSize) - 1));
}

CStringBuffer &operator<<(CStringBuffer &buffer, const char *s) {
    return buffer.append(s, -1);
}

char *CStringBuffer::allocString(std::size_t n) {
    void *block = ZfxMemAlloc(n);
    if (block == nullptr) ZfxOutOfMemory();
    return static_cast<char *>(block);
}

// Moves the `held` bytes of `p`, or as many as fit, to a new block of `n` bytes.
char *CStringBuffer::reallocString(char *p, std::size_t held, std::size_t n) {
    char *block = allocString(n);
    ZfxMemCopy(block, p, std::min(held, n));
    freeString(p);
    return block;
}

void CStringBuffer::freeString(char *p) {
    ZfxMemFree(p);
}

// The smallest multiple of the increment above `n`, or the greatest capacity there is.
std::int32_t CStringBuffer::capacityFor(std::size_t n) const {
    const auto increment = static_cast<std::size_t>(m_nIncrement);
    const std::size_t capacity = increment * (n / increment + 1);
    return static_cast<std::int32_t>(std::min(capacity, maxLength + 1));
}

std::size_t CStringBuffer::endOffset() const {
    return m_pBuffer == nullptr ? 0 : static_cast<std::size_t>(m_pEnd - m_pBuffer);
}

const char *CStringBuffer::text() const {
    return m_pBuffer != nullptr ? m_pBuffer : "";
}

// Makes room for `n` more bytes in a new block, with the end marker at the end of the text.
// Returns the old block, which the caller releases.
char *CStringBuffer::growToAppend(std::size_t n) {
    const auto held = static_cast<std::size_t>(m_nLength);
    const std::int32_t capacity = std::max(m_nBufLength, capacityFor(checkedLength(held + n) + 1));
    char *block = allocString(static_cast<std::size_t>(capacity));
    char *old = std::exchange(m_pBuffer, block);
    m_nBufLength = capacity;
    ZfxMemCopy(m_pBuffer, old, held);
    m_pEnd = m_pBuffer + held;
    return old;
}

void CStringBuffer::assureBufSize(std::size_t n) {
    if (static_cast<std::size_t>(m_nBufLength) >= n) return;
    const std::size_t end = endOffset();
    const auto held = static_cast<std::size_t>(std::max(m_nBufLength, m_nLength));
    const std::int32_t capacity = capacityFor(n);
    m_pBuffer = reallocString(m_pBuffer, held, static_cast<std::size_t>(capacity));
    m_nBufLength = capacity;
    m_pEnd = m_pBuffer + end;
}

// Makes room for `matches` replacements of `replLength` bytes each, every one longer by `growth`
// than what it replaces. The capacity grows as if they were made one at a time.
void CStringBuffer::assureReplaced(std::size_t matches, std::size_t replLength,
                                   std::size_t growth) {
    auto length = static_cast<std::size_t>(m_nLength);
    auto capacity = static_cast<std::size_t>(m_nBufLength);
    for (; matches > 0; --matches) {
        if (capacity <= length + growth) {
            const std::size_t wanted = std::max(capacity, length + 1) + replLength;
            capacity = static_cast<std::size_t>(capacityFor(wanted));
        }
        length = checkedLength(length + growth);
    }
    assureBufSize(capacity - 1);
}
