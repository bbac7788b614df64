/**
 * Sets, chains and positions by definition, as masks: what zdbs::testing::NaiveSets
 * does, quick enough for millions of sequences. A test holds the two together.
 */
#ifndef TESTS_EXHAUSTIVE_MASK_SETS_H
#define TESTS_EXHAUSTIVE_MASK_SETS_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "tests/exhaustive/mask_forest.h"

namespace exhaustive {

/** Makes sets of one forest. Set 0 is every node there is; the others get the next number. */
class MaskSets {
public:
    explicit MaskSets(const MaskForest &forest);

    std::size_t plain(Mask nodes);
    std::size_t join(zdbs::Axis axis, std::size_t a, std::size_t b,
                     zdbs::embedded::Direction direction);
    std::size_t select(std::size_t set, zdbs::embedded::PositionTest test);
    std::size_t intersect(std::size_t a, std::size_t b);
    std::size_t subtract(std::size_t a, std::size_t b);
    std::size_t unite(std::size_t a, std::size_t b);

    Mask nodes(std::size_t set) const { return sets_[set].nodes; }
    std::size_t size() const { return sets_.size(); }

    /** Forgets all sets from a number on. */
    void truncate(std::size_t size) { sets_.resize(size); }

private:
    /** The nodes of each context: of point i at i. */
    using Pairs = std::array<Mask, 32>;

    /** One step down: from a set, on an axis, by a certain join. */
    struct Link {
        std::size_t from;
        zdbs::embedded::Step step;
        int join;
    };

    struct Set {
        Mask nodes = 0;
        std::vector<Link> chain{};  ///< the first step first
        bool hasPairs = false;
        Pairs pairs{};
        bool hasStep = false;  ///< that all pairs come from
        std::size_t stepFrom = 0;
        zdbs::Axis stepAxis = zdbs::Axis::self;

        bool sharesStep(const Set &other) const;
    };

    std::size_t add(Set set);
    Mask firstSide(std::size_t set) const;
    static void restrictPairs(Set &set);
    bool isInChain(std::size_t set, std::size_t end) const;
    Set joinFirst(zdbs::Axis axis, std::size_t a, std::size_t b) const;
    Set joinSecond(zdbs::Axis axis, std::size_t a, std::size_t b);

    const MaskForest &forest_;
    std::vector<Set> sets_;
    int joins_ = 0;
};

/** Of the nodes of one context, those whose position satisfies a test. */
Mask satisfying(Mask nodes, bool backwards, zdbs::embedded::PositionTest test);

}  // namespace exhaustive

#endif
