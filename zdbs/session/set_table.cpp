#include "zdbs/session/set_table.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs {

std::int32_t SetTable::add(ResultSetPtr set) {
    if (sets_.size() == std::numeric_limits<std::int32_t>::max()) {
        throw Failure(Status::internalError, {"no set number is left; RENUMBER"});
    }
    const bool hasNoGap = firstGap_ == sets_.size();
    sets_.push_back(std::move(set));
    if (hasNoGap) firstGap_ = sets_.size();
    return newest();
}

const ResultSetPtr &SetTable::find(SetReference reference) const {
    const auto place = static_cast<std::size_t>(reference.number) - 1;
    if (place < sets_.size() && sets_[place]) return sets_[place];
    std::string column = reference.column > 0 ? std::to_string(reference.column) : std::string();
    throw Failure(Status::unknownSet, {std::to_string(reference.number), column});
}

void SetTable::remove(std::span<const SetReference> references) {
    for (const SetReference &reference : references)
        find(reference);
    for (const SetReference &reference : references) {
        const auto place = static_cast<std::size_t>(reference.number) - 1;
        sets_[place].reset();
        firstGap_ = std::min(firstGap_, place);
    }
    while (!sets_.empty() && !sets_.back())
        sets_.pop_back();
    firstGap_ = std::min(firstGap_, sets_.size());
}

void SetTable::renumber() {
    const auto gap = sets_.begin() + static_cast<std::ptrdiff_t>(firstGap_);
    sets_.erase(std::remove(gap, sets_.end(), nullptr), sets_.end());
    firstGap_ = sets_.size();
}

}  // namespace zdbs
