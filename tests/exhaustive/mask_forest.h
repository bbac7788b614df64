/** The axes of a small forest as bit masks: who is related to whom, by definition. */
#ifndef TESTS_EXHAUSTIVE_MASK_FOREST_H
#define TESTS_EXHAUSTIVE_MASK_FOREST_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/zdbs/embedded/joins/naive_axes.h"
#include "zdbs/embedded/evaluate/set_algebra.h"
#include "zdbs/embedded/joins/join.h"

namespace exhaustive {

/**
 * A set of points of one forest: bit i is its i-th node in document order, and behind
 * the nodes stand the roots of the documents, in order.
 */
using Mask = std::uint32_t;

constexpr std::size_t axisCount = 13;

inline zdbs::Axis axisAt(std::size_t place) {
    return static_cast<zdbs::Axis>(place);
}

/**
 * The relation of every axis, asked of zdbs::testing::related() for each two points and
 * kept; what is related to a set of points is then a few ors. Forests of at most 16
 * nodes and 16 documents.
 */
class MaskForest {
public:
    explicit MaskForest(const zdbs::embedded::NodeTable &table);

    std::size_t nodeCount() const { return nodeCount_; }
    std::size_t pointCount() const { return points_.size(); }
    Mask everyNode() const { return (Mask{1} << nodeCount_) - 1; }
    Mask attributes() const { return attributes_; }

    /** Set 0 as the first side of a step: the roots and every node but the attributes. */
    Mask everyContext() const;

    zdbs::embedded::NodeId nodeAt(std::size_t place) const { return points_[place].node; }

    /** The bit of a node; 0 for a number that is none of the forest's. */
    Mask bitOf(zdbs::embedded::NodeId node) const { return node < bits_.size() ? bits_[node] : 0; }

    /** Whether the point is a node, and not a root. */
    bool isNode(std::size_t place) const { return place < nodeCount_; }

    /** The points on the axis of a point. */
    Mask from(zdbs::embedded::Step step, std::size_t place) const { return rows(step)[place]; }

    /** The points of `first` that have a point of `second` on their axis. */
    Mask keepFirst(zdbs::embedded::Step step, Mask first, Mask second) const;

    /** The points of `second` that are on the axis of a point of `first`. */
    Mask keepSecond(zdbs::embedded::Step step, Mask first, Mask second) const;

    /** A step to nodes: to attributes alone, they are children. */
    zdbs::embedded::Step stepTo(zdbs::Axis axis, Mask second) const;

    /** The numbers of the nodes of a set: "{1 2 5}". */
    std::string shown(Mask nodes) const;

    /** Siblings, and the nodes at the top of one document: by parent. Bits are nodes. */
    const std::vector<Mask> &families() const { return families_; }

private:
    using Rows = std::array<Mask, 32>;

    const Rows &rows(zdbs::embedded::Step step) const {
        return rows_[static_cast<std::size_t>(step.axis)][step.attributesAreChildren ? 1 : 0];
    }

    std::vector<zdbs::testing::Point> points_;
    std::size_t nodeCount_ = 0;
    Mask attributes_ = 0;
    std::vector<Mask> bits_;
    std::vector<Mask> families_;
    std::array<std::array<Rows, 2>, axisCount> rows_{};
};

}  // namespace exhaustive

#endif
