#include "zdbs/session/set_table.h"

#include <limits>
#include <string>
#include <utility>

#include "zdbs/status/status.h"

namespace zdbs {

std::int32_t SetTable::add(ResultSetPtr set) {
    std::int32_t highest = sets_.empty() ? 0 : newest();
    if (highest == std::numeric_limits<std::int32_t>::max()) {
        throw Failure(Status::internalError, {"no set number is left; RENUMBER"});
    }
    sets_.emplace(highest + 1, std::move(set));
    return highest + 1;
}

const ResultSetPtr &SetTable::find(SetReference reference) const {
    auto place = sets_.find(reference.number);
    if (place != sets_.end()) return place->second;
    std::string column = reference.column > 0 ? std::to_string(reference.column) : std::string();
    throw Failure(Status::unknownSet, {std::to_string(reference.number), column});
}

void SetTable::remove(std::span<const SetReference> references) {
    for (const SetReference &reference : references)
        find(reference);
    for (const SetReference &reference : references)
        sets_.erase(reference.number);
}

void SetTable::renumber() {
    std::map<std::int32_t, ResultSetPtr> renumbered;
    std::int32_t number = 0;
    for (auto &[before, set] : sets_) {
        renumbered.emplace_hint(renumbered.end(), ++number, std::move(set));
    }
    sets_ = std::move(renumbered);
}

void SetTable::replaceEach(const std::function<ResultSetPtr(const ResultSetPtr &)> &replacement) {
    for (auto &[number, set] : sets_)
        set = replacement(set);
}

}  // namespace zdbs
