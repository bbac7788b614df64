#include "zdbs/embedded/columns/text_numbers.h"

#include <functional>

namespace zdbs::embedded {

std::uint32_t TextNumbers::numberOf(std::string_view text) {
    if ((texts_.size() + 1) * 2 > table_.size()) grow();
    const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>()(text));
    Slot &slot = find(text, hash);
    if (slot.number == 0) {
        texts_.push_back(text);
        hashes_.push_back(hash);
        slot = {hash, size()};
    }
    return slot.number - 1;
}

/** The slot that a text has or is to have. */
TextNumbers::Slot &TextNumbers::find(std::string_view text, std::uint32_t hash) {
    const std::size_t mask = table_.size() - 1;
    for (std::size_t place = hash & mask;; place = (place + 1) & mask, ++steps_) {
        Slot &slot = table_[place];
        if (slot.number == 0) return slot;
        if (slot.hash == hash && texts_[slot.number - 1] == text) return slot;
    }
}

void TextNumbers::grow() {
    const std::size_t size = table_.size() * 2;
    table_.assign(size, {});
    for (std::size_t i = 0; i < hashes_.size(); ++i) {
        std::size_t place = hashes_[i] & (size - 1);
        while (table_[place].number != 0)
            place = (place + 1) & (size - 1);
        table_[place] = {hashes_[i], static_cast<std::uint32_t>(i + 1)};
    }
}

}  // namespace zdbs::embedded
