#include "zdbs/base/document_name.h"

#include <algorithm>
#include <cstdint>

namespace zdbs {

namespace {

bool isControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7f;
}

bool isValidStep(std::string_view step) {
    return !step.empty() && step != "." && step != "..";
}

// Bytes of the sequence that begins with this byte; 0 when none does.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xc2) return 0;
    if (lead < 0xe0) return 2;
    if (lead < 0xf0) return 3;
    return lead < 0xf5 ? 4 : 0;
}

// U+FFFE, U+FFFF and the surrogates are no characters of XML.
bool isXmlCharacter(std::uint32_t code, std::size_t length) {
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10ffff) return false;
    return (code < 0xd800 || code > 0xdfff) && code != 0xfffe && code != 0xffff;
}

}  // namespace

bool isXmlText(std::string_view text) {
    while (!text.empty()) {
        const auto lead = static_cast<unsigned char>(text.front());
        const std::size_t length = sequenceLength(lead);
        if (length == 0 || length > text.size()) return false;
        std::uint32_t code = length == 1 ? lead : lead & (0x7fU >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if ((byte & 0xc0) != 0x80) return false;
            code = code << 6 | (byte & 0x3fU);
        }
        if (!isXmlCharacter(code, length)) return false;
        text.remove_prefix(length);
    }
    return true;
}

bool isValidDocumentName(std::string_view name) {
    if (name.size() > maxDocumentNameLength || !isXmlText(name)) return false;
    if (std::any_of(name.begin(), name.end(), isControl)) return false;
    for (;;) {
        const std::size_t slash = name.find('/');
        if (!isValidStep(name.substr(0, slash))) return false;
        if (slash == std::string_view::npos) return true;
        name.remove_prefix(slash + 1);
    }
}

}  // namespace zdbs
