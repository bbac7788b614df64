#include "zdbs/embedded/check/findings.h"

namespace zdbs::embedded {

void Findings::add(const std::string &place, const std::string &structure, std::string text) {
    ++count_;
    const auto known = structures_.find({place, structure});
    if (known == structures_.end() && kept_.size() >= mostOfAll_) return;
    Structure &here = known != structures_.end() ? known->second : structures_[{place, structure}];
    if (++here.found > mostOfAStructure_) return;
    here.lastKept = kept_.size();
    kept_.push_back({place, structure, std::move(text)});
}

std::vector<Finding> Findings::take() {
    for (const auto &[name, structure] : structures_) {
        if (structure.found <= mostOfAStructure_) continue;
        const std::uint64_t more = structure.found - mostOfAStructure_;
        kept_[structure.lastKept].text += " (and " + std::to_string(more) + " more there)";
    }
    structures_.clear();
    return std::move(kept_);
}

std::string differs(std::uint64_t stored, std::uint64_t expected) {
    return std::to_string(stored) + " instead of " + std::to_string(expected);
}

}  // namespace zdbs::embedded
