#include "prg/xml/xpath/utils/vexa/nls_conversion.h"

#include <langinfo.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

struct Closer {
    void operator()(UConverter *converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, Closer>;

/** Null when there is none of that name. */
Converter openConverter(const char *name) {
    UErrorCode error = U_ZERO_ERROR;
    return Converter(ucnv_open(name, &error));
}

/**
 * ICU can be built to take UTF-8 for the default whatever the locale says. The locale is right
 * then, unless it is the plain one, which knows ASCII only: UTF-8 has that and more.
 */
const char *defaultCharacterSet() {
    constexpr std::string_view plain = "ANSI_X3.4-1968";
    const char *name = ucnv_getDefaultName();
    const char *locale = nl_langinfo(CODESET);
    return std::string_view(name) != "UTF-8" || locale == plain ? name : locale;
}

UConverter *defaultConverter() {
    static const Converter converter = openConverter(defaultCharacterSet());
    return converter.get();
}

UConverter *utf8Converter() {
    static const Converter converter = openConverter("UTF-8");
    return converter.get();
}

/** ICU tells what it would have written, had there been room. */
int32_t written(int32_t told, int32_t capacity, int32_t length) {
    return std::clamp(told, 0, capacity) + (length == -1 ? 1 : 0);
}

}  // namespace

int32_t nls2ucs(char16_t *out, int32_t capacity, const char *text, int32_t length) {
    UErrorCode error = U_ZERO_ERROR;
    const int32_t told = ucnv_toUChars(defaultConverter(), out, capacity, text, length, &error);
    return written(told, capacity, length);
}

int32_t ucs2utf(char *out, int32_t capacity, const char16_t *text, int32_t length) {
    UErrorCode error = U_ZERO_ERROR;
    const int32_t told = ucnv_fromUChars(utf8Converter(), out, capacity, text, length, &error);
    return written(told, capacity, length);
}

std::string utf2nls(const std::string &text) {
    UErrorCode error = U_ZERO_ERROR;
    std::vector<char16_t> wide(text.size() + 1);
    std::string result(4 * text.size() + 1, '\0');
    const int32_t m = ucnv_toUChars(utf8Converter(), wide.data(), static_cast<int32_t>(wide.size()),
                                    text.data(), static_cast<int32_t>(text.size()), &error);
    const int32_t n = ucnv_fromUChars(defaultConverter(), result.data(),
                                      static_cast<int32_t>(result.size()), wide.data(), m, &error);
    if (U_FAILURE(error)) return "";
    result.resize(static_cast<size_t>(n));
    return result;
}

std::unique_ptr<char[]> Vexa::nls2utf(const char *text, int32_t length, int32_t * /*lengthOut*/) {
    // What is longer than the areas below can be counted for is cut.
    constexpr size_t longest = std::numeric_limits<int32_t>::max() / 8 - 1;
    const size_t given = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
    const auto n = static_cast<int32_t>(std::min(given, longest));
    const auto ucs = std::make_unique<char16_t[]>(static_cast<size_t>(n) * 2);
    const int32_t m = nls2ucs(ucs.get(), 2 * n, text, n);
    auto utf = std::make_unique<char[]>(static_cast<size_t>(m) * 4 + 1);
    ucs2utf(utf.get(), 4 * m, ucs.get(), m);
    return utf;
}
