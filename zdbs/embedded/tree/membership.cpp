#include "zdbs/embedded/tree/membership.h"

#include <algorithm>
#include <cstddef>

namespace zdbs::embedded {
namespace {

/** A list is thin when its bits would take more memory than the list itself does. */
constexpr std::size_t bitsWorthANumber = 8 * sizeof(NodeId);

}  // namespace

Membership::Membership(std::span<const NodeId> ascending) : list_(ascending) {
    if (list_.empty()) return;
    std::size_t range = std::size_t{list_.back()} - list_.front() + 1;
    if (range / bitsWorthANumber > list_.size()) return;
    bits_.resize(range / 64 + 1);
    for (NodeId node : list_) {
        std::size_t bit = node - list_.front();
        bits_[bit / 64] |= std::uint64_t{1} << (bit % 64);
    }
}

bool Membership::contains(NodeId node) const {
    if (list_.empty() || node < list_.front() || node > list_.back()) return false;
    if (bits_.empty()) return std::binary_search(list_.begin(), list_.end(), node);
    std::size_t bit = node - list_.front();
    return (bits_[bit / 64] >> (bit % 64) & 1U) != 0;
}

}  // namespace zdbs::embedded
