#ifndef FOUNDATION_STRING_BUFFER_H
#define FOUNDATION_STRING_BUFFER_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

// A growable, NUL-terminated byte buffer with an explicit length: the string type of the system.
//
// Ownership: the buffer owns its block and the block lent by getBufferSetLength(). A pointer into
// the block is valid until the next operation that changes the buffer.
// Sizes: lengths and capacities are in bytes, at most 2147483646 of text.
// Bytes: not interpreted beyond isspace, isalpha, toupper, tolower and strcasecmp (single bytes,
// current locale).
// Errors: none are reported, but that memory or the greatest length is exceeded: std::bad_alloc
// (ZfxOutOfMemory), and the buffer is as it was. Indexes given to operator[] are not checked.
// Null texts: with a negative length, or without one, a null text counts as ""; with an explicit
// length it copies nothing, but the length still counts.
// Arguments may point into the buffer itself, except those of format() and vformat().
// Threads: one at a time.
//
// Odd on purpose, callers rely on it:
// - set() and append() compute the new capacity by two different rules.
// - The copy of an empty buffer has no block at all: its operator char*() gives null.
// - trim() and replace() do not move the end marker, the place where append() writes next. An
//   append() that needs no new block writes at the old marker, behind a gap after trim() or
//   replace() by something shorter, over the tail after replace() by something longer. An append()
//   that takes a new block goes to the end of the text.
// - replace() by something longer writes no NUL behind the text: bytes of an earlier, longer text
//   can follow it there. replace() by something shorter writes one behind what each replacement
//   leaves; the other bytes there stay, and are in the gap of an append() that follows.
class CStringBuffer {
public:
    // An empty buffer with capacity 4092 and a growth increment of 4092.
    CStringBuffer();

    // A copy of the text `s`, growth increment 4092.
    CStringBuffer(const char *s);

    // An empty buffer with a growth increment, and capacity, of `increment` (at least 1).
    explicit CStringBuffer(int increment);

    // A copy of the text of `other`, growth increment 4092. No block when `other` is empty.
    CStringBuffer(const CStringBuffer &other);

    virtual ~CStringBuffer();

    // --- Access ---

    char &operator[](int i) { return m_pBuffer[i]; }
    char operator[](int i) const { return m_pBuffer[i]; }

    // The block; null for a buffer without one.
    operator char *() { return m_pBuffer; }
    operator const char *() const { return m_pBuffer; }
    char *getBufferPointer() { return m_pBuffer; }
    const char *getBufferPointer() const { return m_pBuffer; }

    int length() const { return m_nLength; }

    // The capacity: the text can take one byte less before a new block is needed.
    int bufLength() const { return m_nBufLength; }

    // Writes the text, as "%.*s" with its length.
    void print(std::FILE *file) const;

    // --- Setting and appending ---

    // Replaces the text by the first `n` bytes of `s`; n < 0: the whole of it.
    CStringBuffer &set(const char *s, int n = -1);

    // Replaces the text by that of `other`. Nothing at all happens when the texts are equal.
    CStringBuffer &set(const CStringBuffer &other);
    CStringBuffer &operator=(const CStringBuffer &other) { return set(other); }

    // Replaces the text by the decimal text of `value`.
    CStringBuffer &set(int value);

    // Makes the text empty. An empty buffer stays as it is.
    void clear();

    // Adds the first `n` bytes of `s` at the end marker; n < 0: the whole of it. On an empty
    // buffer this is set(s, n).
    CStringBuffer &append(const char *s, int n = -1);
    CStringBuffer &append(const CStringBuffer &other);
    CStringBuffer &operator+=(const CStringBuffer &other) { return append(other); }

    // Adds the decimal text of `value`.
    CStringBuffer &append(int value);

    // A character is no number: append(&c, 1) adds one.
    CStringBuffer &set(char value) = delete;
    CStringBuffer &append(char value) = delete;

    // Takes over the block `p` of the malloc family, which holds a text of `n` bytes (n < 1: its
    // strlen) in `capacity` bytes (below 1: n + 1). A NUL is written behind the text, and another
    // one into the last of the `capacity` bytes. A block lent by getBufferSetLength() may be taken
    // over, too: nothing is lent then any more. Null: clear().
    // REQUIRES: the block has more than `n` bytes, and `capacity` of them.
    void attach(char *p, int n = -1, int capacity = 0);

    // Hands the block over to the caller (ZfxMemFree) and starts again with an empty one; null
    // when there is none. The increment stays. A block lent by getBufferSetLength() is let go
    // without being released: it is the caller's then, too.
    char *detach();

    // Lends a zero-filled block of `n` bytes (n < 1: of the increment) for direct writing, filled
    // with as much of the text as fits with a NUL. The text itself stays as it is until
    // releaseBuffer(); an earlier lent block is released.
    char *getBufferSetLength(int n);

    // Takes the lent block back. With `keep`, the text becomes the first `n` bytes of that block
    // (n < 0: up to its first NUL), at most what was asked for. Nothing happens without a lent
    // block.
    void releaseBuffer(bool keep = true, int n = -1);

    // --- Searching and comparing ---

    // The position of the first match at `start` or later, counted from the start of the text;
    // -1 when there is none, or when `start` is outside the text.
    int find(const char *s, int start = 0, bool ignoreCase = false) const;
    int find(char c, int start = 0, bool ignoreCase = false) const;

    // The position of the last `c`, or -1.
    int findReverse(char c, bool ignoreCase = false) const;

    // Whether the text ends with the first `n` bytes of `s` (n < 0: the whole of it).
    bool endsWith(const char *s, int n = -1, bool ignoreCase = false) const;

    // strcasecmp() of the text and `s`.
    int compareNoCase(const char *s) const;

    // Equal lengths and equal bytes. Two empty buffers are equal, with or without a block.
    bool operator==(const CStringBuffer &other) const;

    // Copies the text, cut to `size` - 1 bytes, and a NUL to `dst`. Returns the number of bytes
    // copied, without the NUL. size < 1: writes nothing and returns 0.
    int copyTo(char *dst, int size) const;

    // Sets this buffer to, or with `append` adds, `count` bytes of `src` from `start` on; a
    // negative count, or one too large, means the rest. A start outside `src` gives nothing;
    // without `append` the buffer has been cleared by then. A negative start counts as 0.
    void getSubStr(const CStringBuffer &src, int start, int count = -1, bool append = false);

    // --- Editing in place ---

    // Inserts before the byte at `pos`; a negative position counts as 0, one behind the last byte
    // appends.
    void insert(const CStringBuffer &s, int pos);
    void insert(const char *s, int pos);
    void insert(int value, int pos);

    // Replaces every occurrence of `find`, taken from right to left without overlap; what was
    // inserted is not searched again. An empty `find` matches before every byte and at the end.
    void replace(const char *find, const char *repl);

    // Removes leading and trailing white space.
    void trim();

    CStringBuffer &toUpperCase();
    CStringBuffer &toLowerCase();

    // Turns every carriage return into a line feed: a CR LF pair becomes two line feeds, and the
    // length stays, on purpose.
    void convertLinebreaks();

    // Replaces the text by a printf of the arguments, cut to 16383 bytes.
    // REQUIRES: no argument points into this buffer, which is cleared first.
    [[gnu::format(printf, 2, 3)]] void format(const char *fmt, ...);
    [[gnu::format(printf, 2, 0)]] void vformat(const char *fmt, std::va_list args);

private:
    static char *allocString(std::size_t n);
    static char *reallocString(char *p, std::size_t held, std::size_t n);
    static void freeString(char *p);

    std::int32_t capacityFor(std::size_t n) const;
    std::size_t endOffset() const;
    const char *text() const;
    char *growToAppend(std::size_t n);
    void assureBufSize(std::size_t n);
    void assureReplaced(std::size_t matches, std::size_t replLength, std::size_t growth);

    char *m_pBuffer = nullptr;         // the block
    std::int32_t m_nBufLength = 0;     // its capacity
    std::int32_t m_nLength = 0;        // bytes of text
    char *m_pEnd = nullptr;            // end marker: where append() writes next
    std::int32_t m_nIncrement = 4092;  // capacities are multiples of it
    char *m_pLockBuffer = nullptr;     // the lent block, or null
    std::int32_t m_nLockLength = 0;    // size asked for it
};

// Appends the whole of `s`.
CStringBuffer &operator<<(CStringBuffer &buffer, const char *s);

#endif
