#include "prg/xml/xpath/processor/raise_exception.h"

#include <algorithm>
#include <cassert>

#include "kernel/zdbs.h"
#include "prg/xml/xpath/parser/xpath_exception.h"

void RaiseXPathException(const char *message) {
    throw new XPathException(message);
}

void RaiseXPathException(const std::string &message) {
    RaiseXPathException(message.c_str());
}

void RaiseXPathException(std::string_view pattern, std::string_view text) {
    const std::size_t place = pattern.find("%s");
    assert(place != std::string_view::npos);
    std::string message(pattern);
    RaiseXPathException(message.replace(place, 2, text));
}

void RaiseKernelError(std::int32_t status) {
    constexpr std::int32_t capacity = 256;
    char text[capacity + 1] = {};
    std::int32_t length = capacity;
    ZdbMessage(status, text, &length);
    text[std::clamp(length, 0, capacity)] = '\0';
    RaiseXPathException(text);
}
