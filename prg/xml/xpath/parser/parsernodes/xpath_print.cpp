#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "foundation/memory.h"

namespace {

/// Texts below this length grow as the buffer likes.
constexpr int doublingFrom = 64 * 1024;

void doubleCapacity(CStringBuffer &buffer, int64_t needed) {
    int64_t capacity = std::max<int64_t>(int64_t{2} * buffer.bufLength(), needed);
    capacity = std::min<int64_t>(capacity, INT_MAX);
    auto *block = static_cast<char *>(ZfxMemAlloc(static_cast<size_t>(capacity)));
    if (block == nullptr) return;  // append asks for less, and reports if that is too much as well
    std::memcpy(block, buffer.getBufferPointer(), static_cast<size_t>(buffer.length()));
    buffer.attach(block, buffer.length(), static_cast<int>(capacity));
}

}  // namespace

void appendText(CStringBuffer &buffer, const char *pszText, int nLength) {
    const int64_t whole = nLength >= 0         ? nLength
                          : pszText != nullptr ? static_cast<int64_t>(std::strlen(pszText))
                                               : 0;
    const int64_t length =
        std::min<int64_t>(whole, std::max(XPathPrintLimit::Length() - buffer.length(), 0));
    const int64_t needed = buffer.length() + length + 1;
    if (buffer.length() >= doublingFrom && needed > buffer.bufLength() && needed <= INT_MAX) {
        doubleCapacity(buffer, needed);
    }
    buffer.append(pszText, static_cast<int>(length));
}
