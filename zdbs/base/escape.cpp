#include "zdbs/base/escape.h"

#include <emmintrin.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace zdbs {
namespace {

std::string_view replacement(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        default:
            return "&#13;";
    }
}

/** For every byte whether it must be replaced. */
using ByteSet = std::array<bool, 256>;

constexpr ByteSet bytes(std::string_view members) {
    ByteSet set{};
    for (const char c : members)
        set[static_cast<unsigned char>(c)] = true;
    return set;
}

constexpr std::string_view inText = "&<>\r";
// ">" too: some readers that are no parsers look for the end of a tag by it.
constexpr std::string_view inAttribute = "&<>\"\t\n\r";

/** Finds the bytes that must be replaced, sixteen at a time. */
template <const std::string_view &members>
class SpecialBytes {
public:
    /** The first one at or after `at`, or `end`. */
    static const char *find(const char *at, const char *end) {
        for (; end - at >= 16; at += 16) {
            const std::uint32_t found = among16(blockAt(at));
            if (found != 0) return at + std::countr_zero(found);
        }
        if (among16(shortBlock(at, static_cast<std::size_t>(end - at))) == 0) return end;
        while (!set[static_cast<unsigned char>(*at)])
            ++at;
        return at;
    }

private:
    static constexpr ByteSet set = bytes(members);

    static std::uint32_t among16(__m128i block) {
        __m128i found = _mm_setzero_si128();
        for (const char c : members)
            found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8(c)));
        return static_cast<std::uint32_t>(_mm_movemask_epi8(found));
    }

    static __m128i blockAt(const char *at) {
        __m128i block;
        std::memcpy(&block, at, sizeof block);
        return block;
    }

    /** All of less than sixteen bytes, some of them twice and in any order; the rest are 0. */
    static __m128i shortBlock(const char *at, std::size_t size) {
        std::uint64_t front = 0;
        std::uint64_t back = 0;
        if (size >= 8) {
            std::memcpy(&front, at, 8);
            std::memcpy(&back, at + size - 8, 8);
        } else if (size >= 4) {
            std::memcpy(&front, at, 4);
            std::memcpy(&back, at + size - 4, 4);
        } else {
            for (; size > 0; --size)
                front = front << 8U | static_cast<unsigned char>(at[size - 1]);
        }
        return _mm_set_epi64x(static_cast<long long>(back), static_cast<long long>(front));
    }
};

template <const std::string_view &members>
void writeReplacing(XmlSink &sink, std::string_view text) {
    const char *from = text.data();
    const char *const end = from + text.size();
    while (from != end) {
        const char *const special = SpecialBytes<members>::find(from, end);
        if (special != from) sink.write({from, static_cast<std::size_t>(special - from)});
        if (special == end) return;
        sink.write(replacement(*special));
        from = special + 1;
    }
}

}  // namespace

void writeEscapedText(XmlSink &sink, std::string_view text) {
    writeReplacing<inText>(sink, text);
}

void writeEscapedAttribute(XmlSink &sink, std::string_view value) {
    writeReplacing<inAttribute>(sink, value);
}

std::string escapedText(std::string_view text) {
    std::string result;
    StringSink sink(result);
    writeEscapedText(sink, text);
    return result;
}

std::string escapedAttribute(std::string_view value) {
    std::string result;
    StringSink sink(result);
    writeEscapedAttribute(sink, value);
    return result;
}

}  // namespace zdbs
