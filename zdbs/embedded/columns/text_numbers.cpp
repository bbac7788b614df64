#include "zdbs/embedded/columns/text_numbers.h"

#include <bit>
#include <cstring>
#include <functional>
#include <utility>

namespace zdbs::embedded {
namespace {

constexpr std::size_t mostInKey = sizeof(std::uint64_t);

template <typename Number>
std::uint64_t numberAt(const char *place) {
    Number number;
    std::memcpy(&number, place, sizeof number);
    return number;
}

/** Different for different texts of one size, which is at most that of a key. */
std::uint64_t bytesOf(std::string_view text) {
    const char *const begin = text.data();
    const char *const end = begin + text.size();
    if (text.size() >= 4)
        return numberAt<std::uint32_t>(begin) | numberAt<std::uint32_t>(end - 4) << 32;
    if (text.size() >= 2)
        return numberAt<std::uint16_t>(begin) | numberAt<std::uint16_t>(end - 2) << 16;
    return text.empty() ? 0 : numberAt<std::uint8_t>(begin);
}

}  // namespace

TextNumbers::Slot::Slot(std::string_view text)
    : key(text.size() <= mostInKey ? bytesOf(text) : std::hash<std::string_view>()(text)),
      size(static_cast<std::uint32_t>(text.size())) {}

// Each bit of the key changes half of the hash's: the last steps of G. Steele, D. Lea, C. Flood,
// "Fast Splittable Pseudorandom Number Generators", OOPSLA 2014.
std::uint64_t TextNumbers::Slot::hash() const {
    std::uint64_t bits = key + size;
    bits = (bits ^ bits >> 30) * 0xbf58476d1ce4e5b9;
    bits = (bits ^ bits >> 27) * 0x94d049bb133111eb;
    return bits ^ bits >> 31;
}

std::uint32_t TextNumbers::numberOf(std::string_view text) {
    if ((texts_.size() + 1) * 2 > table_.size()) grow();
    const Slot wanted(text);
    Slot &slot = find(wanted, text);
    if (slot.number == 0) {
        texts_.push_back(text);
        slot = wanted;
        slot.number = size();
    }
    return slot.number - 1;
}

/** The slot that a text has or is to have. */
TextNumbers::Slot &TextNumbers::find(const Slot &wanted, std::string_view text) {
    const std::size_t mask = table_.size() - 1;
    for (std::size_t place = wanted.hash() & mask;; place = (place + 1) & mask, ++steps_) {
        Slot &slot = table_[place];
        if (slot.number == 0) return slot;
        if (slot.key == wanted.key && slot.size == wanted.size &&
            (text.size() <= mostInKey || texts_[slot.number - 1] == text))
            return slot;
    }
}

void TextNumbers::grow() {
    const std::vector<Slot> before = std::exchange(table_, std::vector<Slot>(table_.size() * 2));
    const std::size_t mask = table_.size() - 1;
    for (const Slot &slot : before) {
        std::size_t place = slot.hash() & mask;
        while (slot.number != 0 && table_[place].number != 0)
            place = (place + 1) & mask;
        if (slot.number != 0) table_[place] = slot;
    }
}

}  // namespace zdbs::embedded
