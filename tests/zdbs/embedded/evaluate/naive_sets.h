/** Sets, chains and positions by definition, with every pair written out. */
#ifndef TESTS_ZDBS_EMBEDDED_EVALUATE_NAIVE_SETS_H
#define TESTS_ZDBS_EMBEDDED_EVALUATE_NAIVE_SETS_H

#include <optional>
#include <set>
#include <vector>

#include "tests/zdbs/embedded/joins/naive_axes.h"
#include "zdbs/embedded/evaluate/set_algebra.h"
#include "zdbs/embedded/positions/pairs.h"

namespace zdbs::testing {

/** Makes sets of one table; a set is named by its place, and set 0 is every node. */
class NaiveSets {
public:
    explicit NaiveSets(const NodeTable &table);

    std::size_t plain(const NodeIds &nodes);
    std::size_t join(Axis axis, std::size_t a, std::size_t b, Direction direction);
    std::size_t select(std::size_t set, PositionTest test);
    std::size_t intersect(std::size_t a, std::size_t b);
    std::size_t subtract(std::size_t a, std::size_t b);
    std::size_t unite(std::size_t a, std::size_t b);

    NodeIds nodes(std::size_t set) const;

private:
    /** The nodes of one context, in the order in which they are counted. */
    struct Counted {
        Point context;
        NodeIds nodes;
    };
    using Pairs = std::vector<Counted>;

    /** One step down: from a set, on an axis, by a certain join. */
    struct Link {
        std::size_t from;
        Step step;
        int join;
    };

    struct Set {
        std::set<Point> nodes;
        std::vector<Link> chain;  ///< the first step first
        std::optional<Pairs> pairs;
        std::optional<std::pair<std::size_t, Axis>> step;  ///< that all pairs come from
    };

    std::size_t add(Set set);
    std::vector<Point> firstSide(std::size_t set) const;
    std::vector<Point> secondSide(std::size_t set) const;
    Pairs pairsOf(std::size_t set) const;
    static std::optional<Pairs> restricted(const std::optional<Pairs> &pairs,
                                           const std::set<Point> &nodes);
    bool isInChain(std::size_t set, std::size_t end) const;
    bool reaches(Point point, const std::vector<Link> &chain, std::size_t place,
                 std::size_t end) const;
    Set joinFirst(Axis axis, std::size_t a, std::size_t b) const;
    Set joinSecond(Axis axis, std::size_t a, std::size_t b);
    Step stepTo(Axis axis, const std::vector<Point> &second) const;

    const NodeTable &table_;
    std::vector<Set> sets_;
    int joins_ = 0;
};

}  // namespace zdbs::testing

#endif
