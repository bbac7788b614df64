#include "zdbs/embedded/store/name_dictionary.h"

#include "zdbs/embedded/store/records.h"

namespace zdbs::embedded {

void NameDictionary::addStored(std::string_view record) {
    const auto number = static_cast<std::uint32_t>(records_.size());
    const auto [place, isNew] = numbers_.emplace(record, number);
    records_.push_back(&place->first);
}

std::uint32_t NameDictionary::numberOf(const NodeName &name) {
    encodeName(scratch_, name);
    const auto found = numbers_.find(scratch_);
    if (found != numbers_.end()) return found->second;
    addStored(scratch_);
    return static_cast<std::uint32_t>(records_.size() - 1);
}

void NameDictionary::truncate(std::size_t size) {
    while (records_.size() > size) {
        numbers_.erase(*records_.back());
        records_.pop_back();
    }
}

}  // namespace zdbs::embedded
