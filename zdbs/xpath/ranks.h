/** Places of nodes among others, found in constant time. */
#ifndef ZDBS_XPATH_RANKS_H
#define ZDBS_XPATH_RANKS_H

#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/xpath/nodes.h"

namespace zdbs::xpath {

/** How many of some ascending nodes stand before another. */
class Ranks {
public:
    /** The nodes must outlive it. */
    explicit Ranks(std::span<const Node> ascending);

    std::uint64_t of(Node node) const;

    bool has(Node node) const { return of(nodeAfter(node)) > of(node); }

private:
    struct Word {
        std::uint64_t bits = 0;    ///< one for each number that a node has
        std::uint64_t before = 0;  ///< bits in the words before
    };

    std::span<const Node> nodes_;
    std::vector<Word> words_;  ///< none: few nodes among many numbers, which are searched
};

}  // namespace zdbs::xpath

#endif
