#include "zdbs/api/charset.h"

#include <unicode/ucnv.h>

#include <climits>
#include <memory>

#include "zdbs/values/utf8.h"

namespace zdbs {
namespace {

/** Whether bytes go through as they are. */
bool isTransparent(const char *charset) {
    return charset == nullptr || ucnv_compareNames(charset, "UTF-8") == 0 ||
           ucnv_compareNames(charset, "US-ASCII") == 0;
}

/** One conversion between two named sets; the text as it is when ICU cannot. */
std::string converted(const char *to, const char *from, std::string_view text) {
    if (text.empty() || text.size() > INT32_MAX / 8) return std::string(text);
    std::string result(4 * text.size() + 16, '\0');
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length =
        ucnv_convert(to, from, result.data(), static_cast<std::int32_t>(result.size()), text.data(),
                     static_cast<std::int32_t>(text.size()), &error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        result.resize(static_cast<std::size_t>(length));
        error = U_ZERO_ERROR;
        length = ucnv_convert(to, from, result.data(), length, text.data(),
                              static_cast<std::int32_t>(text.size()), &error);
    }
    if (U_FAILURE(error)) return std::string(text);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

}  // namespace

std::string fromProcess(std::string_view text) {
    const char *charset = ucnv_getDefaultName();
    if (isTransparent(charset)) return std::string(text);
    return converted("UTF-8", charset, text);
}

std::string toProcess(std::string_view text, std::size_t size) {
    const char *charset = ucnv_getDefaultName();
    if (isTransparent(charset)) return std::string(cutUtf8(text, size));
    std::string result = converted(charset, "UTF-8", text);
    while (result.size() > size) {
        text = cutUtf8(text, text.size() - 1);
        result = converted(charset, "UTF-8", text);
    }
    return result;
}

}  // namespace zdbs
