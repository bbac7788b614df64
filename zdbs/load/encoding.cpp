#include "zdbs/load/encoding.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <memory>

namespace zdbs {

namespace {

struct ConverterCloser {
    void operator()(UConverter *converter) const { ::ucnv_close(converter); }
};

using Converter = std::unique_ptr<UConverter, ConverterCloser>;

int toCodePoint(UConverter *converter, char byte) {
    UErrorCode error = U_ZERO_ERROR;
    const char *source = &byte;
    const UChar32 code = ::ucnv_getNextUChar(converter, &source, &byte + 1, &error);
    ::ucnv_resetToUnicode(converter);
    // Expat takes characters of the first plane only from such a map.
    return U_SUCCESS(error) && code <= 0xffff ? static_cast<int>(code) : -1;
}

void append(std::string &text, UChar32 code) {
    char bytes[U8_MAX_LENGTH];
    int length = 0;
    UBool isError = false;
    U8_APPEND(bytes, length, U8_MAX_LENGTH, code, isError);
    if (!isError) text.append(bytes, static_cast<std::size_t>(length));
}

// Of a text that begins with a character of ASCII.
bool isUtf16(std::string_view text) {
    return text.size() >= 2 && (text[0] == '\0' || text[1] == '\0');
}

std::string utf16ToUtf8(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    std::string text;
    for (std::size_t i = 0; i < units.size();) {
        UChar32 code = 0;
        U16_NEXT(units, i, units.size(), code);
        append(text, code);
    }
    return text;
}

}  // namespace

std::optional<ByteMap> singleByteEncoding(const std::string &name) {
    UErrorCode error = U_ZERO_ERROR;
    const Converter converter(::ucnv_open(name.c_str(), &error));
    if (U_FAILURE(error) || ::ucnv_getMaxCharSize(converter.get()) != 1) return std::nullopt;
    ::ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    if (U_FAILURE(error)) return std::nullopt;
    ByteMap map;
    for (std::size_t byte = 0; byte < map.size(); ++byte)
        map[byte] = toCodePoint(converter.get(), static_cast<char>(byte));
    return map;
}

std::string_view quotedLiteral(std::string_view markup) {
    const bool wide = isUtf16(markup);
    const std::string_view quote = markup.substr(0, wide ? 2 : 1);
    const std::size_t mark = wide && markup[0] == '\0' ? 1 : 0;
    if (quote.empty() || (quote[mark] != '"' && quote[mark] != '\'')) return {};
    for (std::size_t at = quote.size(); at < markup.size(); at += quote.size()) {
        if (markup.substr(at, quote.size()) == quote) return markup.substr(0, at + quote.size());
    }
    return {};
}

std::string markupToUtf8(std::string_view markup, const ByteMap *map) {
    if (isUtf16(markup)) return utf16ToUtf8(markup, markup[0] == '\0');
    if (!map) return std::string(markup);
    std::string text;
    for (const char byte : markup) {
        const int code = (*map)[static_cast<unsigned char>(byte)];
        if (code >= 0) append(text, code);
    }
    return text;
}

}  // namespace zdbs
