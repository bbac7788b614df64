#include "zdbs/xpath/characters.h"

#include <algorithm>
#include <array>

namespace zdbs::xpath {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

/** NameStartChar of XML 1.0 without the colon. */
constexpr std::array startRanges{
    Range{'A', 'Z'},       Range{'_', '_'},       Range{'a', 'z'},         Range{0xC0, 0xD6},
    Range{0xD8, 0xF6},     Range{0xF8, 0x2FF},    Range{0x370, 0x37D},     Range{0x37F, 0x1FFF},
    Range{0x200C, 0x200D}, Range{0x2070, 0x218F}, Range{0x2C00, 0x2FEF},   Range{0x3001, 0xD7FF},
    Range{0xF900, 0xFDCF}, Range{0xFDF0, 0xFFFD}, Range{0x10000, 0xEFFFF},
};

/** What NameChar has besides. */
constexpr std::array moreRanges{
    Range{'-', '.'}, Range{'0', '9'}, Range{0xB7, 0xB7}, Range{0x300, 0x36F}, Range{0x203F, 0x2040},
};

template <std::size_t Size>
bool isIn(const std::array<Range, Size> &ranges, char32_t point) {
    return std::any_of(ranges.begin(), ranges.end(), [point](Range range) {
        return range.first <= point && point <= range.last;
    });
}

}  // namespace

Character characterAt(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return {};
    const auto byte = [&](std::size_t place) {
        return static_cast<unsigned char>(text[offset + place]);
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t bytes = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (offset + bytes > text.size()) return {0xFFFD, 1};
    char32_t point = lead & (0x7FU >> bytes);
    for (std::size_t place = 1; place < bytes; ++place)
        point = point << 6U | (byte(place) & 0x3FU);
    return {point, bytes};
}

std::size_t nameLength(std::string_view text) {
    std::size_t length = 0;
    for (Character next = characterAt(text, 0); next.bytes > 0; next = characterAt(text, length)) {
        const bool fits =
            isIn(startRanges, next.point) || (length > 0 && isIn(moreRanges, next.point));
        if (!fits) break;
        length += next.bytes;
    }
    return length;
}

}  // namespace zdbs::xpath
