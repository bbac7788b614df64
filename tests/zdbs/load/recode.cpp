#include "tests/zdbs/load/recode.h"

#include <iconv.h>

#include <stdexcept>

namespace zdbs {

std::string recode(const std::string &text, const std::string &encoding) {
    const iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
    if (converter == iconv_t(-1)) throw std::runtime_error("no such encoding: " + encoding);
    std::string from = text;
    std::string to(8 * text.size() + 64, '\0');
    char *in = from.data();
    char *out = to.data();
    std::size_t inLeft = from.size();
    std::size_t outLeft = to.size();
    const bool isDone = iconv(converter, &in, &inLeft, &out, &outLeft) != std::size_t(-1) &&
                        iconv(converter, nullptr, nullptr, &out, &outLeft) != std::size_t(-1);
    iconv_close(converter);
    if (!isDone) throw std::runtime_error("not in " + encoding + ": " + text);
    to.resize(to.size() - outLeft);
    return to;
}

}  // namespace zdbs
