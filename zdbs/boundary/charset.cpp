#include "zdbs/boundary/charset.h"

#include <langinfo.h>
#include <unicode/ucnv.h>

#include <cstdint>
#include <memory>

#include "zdbs/base/utf8.h"

namespace zdbs {
namespace {

/** What locale "C" calls its character set. */
constexpr std::string_view plainCodeset = "ANSI_X3.4-1968";

/** The longest text that is converted: its length in any set can be counted by ICU. */
constexpr std::size_t longestText = INT32_MAX / 8;

/** One conversion between two named sets; the text as it is when ICU cannot. */
std::string converted(const char *to, const char *from, std::string_view text) {
    if (text.empty() || text.size() > longestText) return std::string(text);
    std::string result(4 * text.size() + 16, '\0');
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length =
        ucnv_convert(to, from, result.data(), static_cast<std::int32_t>(result.size()), text.data(),
                     static_cast<std::int32_t>(text.size()), &error);
    if (U_FAILURE(error)) return std::string(text);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

struct ConverterCloser {
    void operator()(UConverter *converter) const { ucnv_close(converter); }
};

/** Whether bytes go through as they are. */
bool goesThrough(const char *name) {
    if (ucnv_compareNames(name, "UTF-8") == 0) return true;
    UErrorCode error = U_ZERO_ERROR;
    std::unique_ptr<UConverter, ConverterCloser> converter(ucnv_open(name, &error));
    if (U_FAILURE(error)) return true;
    std::string_view known = ucnv_getName(converter.get(), &error);
    return known == "UTF-8" || known == "US-ASCII";
}

}  // namespace

Charset::Charset(const char *name) : name_(name), isTransparent_(goesThrough(name)) {}

// Asked at every call, for a program may set another locale; opening a converter each time would
// cost more than most calls do. What is known stays for good, as calls come from one thread: the C
// library ends a process that has no memory for a thread's destructors.
const Charset &Charset::ofProcess() {
    struct Known {
        std::string name;
        std::string codeset;
        Charset charset{"UTF-8"};
    };
    static thread_local Known *known = nullptr;
    if (known == nullptr) known = new Known;
    const char *name = ucnv_getDefaultName();
    const char *codeset = nl_langinfo(CODESET);
    if (known->name == name && known->codeset == codeset) return known->charset;
    bool asksLocale = ucnv_compareNames(name, "UTF-8") == 0 && codeset != plainCodeset;
    known->charset = Charset(asksLocale ? codeset : name);
    known->name = name;
    known->codeset = codeset;
    return known->charset;
}

std::string Charset::toUtf8(std::string_view text) const {
    if (isTransparent_) return std::string(text);
    return converted("UTF-8", name_.c_str(), text);
}

std::string Charset::fromUtf8(std::string_view text, std::size_t size) const {
    if (isTransparent_) return std::string(cutUtf8(text, size));
    std::string result = converted(name_.c_str(), "UTF-8", text);
    while (result.size() > size) {
        text = cutUtf8(text, text.size() - 1);
        result = converted(name_.c_str(), "UTF-8", text);
    }
    return result;
}

}  // namespace zdbs
