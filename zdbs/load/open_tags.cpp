#include "zdbs/load/open_tags.h"

#include <algorithm>

namespace zdbs {

void OpenTags::beginPiece(std::string_view piece) {
    piece_ = piece;
}

void OpenTags::passPiece() {
    std::size_t passed = 0;
    const auto passTo = [&](std::size_t end) {
        place_.pass(piece_.substr(passed, end - passed));
        passed = end;
    };
    for (; placed_ < tags_.size(); ++placed_) {
        Tag &tag = tags_[placed_];
        if (tag.offset >= begin_) passTo(static_cast<std::size_t>(tag.offset - begin_));
        tag.place = tag.offset < begin_ ? unfinished_ : place_;
    }
    // No tag has a `<` in it, so one that goes on in the next piece begins with the last one.
    const std::size_t last = piece_.rfind('<');
    if (last != std::string_view::npos) {
        passTo(std::max(last, passed));
        unfinished_ = place_;
    }
    passTo(piece_.size());
    begin_ += piece_.size();
    piece_ = {};
}

void OpenTags::close() {
    tags_.pop_back();
    placed_ = std::min(placed_, tags_.size());
}

std::string OpenTags::innermost() const {
    const Tag &tag = tags_.back();
    const TextPlace place = placed_ == tags_.size() ? tag.place : placeOf(tag.offset);
    const std::string_view prefix = tag.name->prefix;
    return '<' + std::string(prefix) + (prefix.empty() ? "" : ":") + std::string(tag.name->local) +
           "> of " + place.text();
}

TextPlace OpenTags::placeOf(std::uint64_t offset) const {
    if (offset < begin_) return unfinished_;
    TextPlace place = place_;
    place.pass(piece_.substr(0, static_cast<std::size_t>(offset - begin_)));
    return place;
}

}  // namespace zdbs
