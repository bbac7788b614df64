#include "tests/exhaustive/mask_forest.h"

#include <map>
#include <stdexcept>

namespace exhaustive {

using zdbs::NodeKind;
using zdbs::embedded::noNode;
using zdbs::embedded::Step;
using zdbs::testing::Point;

MaskForest::MaskForest(const zdbs::embedded::NodeTable &table)
    : points_(zdbs::testing::nodesOf(table)) {
    nodeCount_ = points_.size();
    std::map<Point, Mask> byParent;
    for (std::size_t i = 0; i < nodeCount_; ++i) {
        const Point point = points_[i];
        const Mask bit = Mask{1} << i;
        bits_.resize(point.node + 1);
        bits_[point.node] = bit;
        if (table.kind(point.node) == NodeKind::attribute) attributes_ |= bit;
        byParent[{table.parent(point.node), point.document}] |= bit;
    }
    for (const auto &[parent, nodes] : byParent)
        families_.push_back(nodes);
    for (Point root : zdbs::testing::rootsOf(table))
        points_.push_back(root);
    if (points_.size() > 32) throw std::length_error("too large a forest for masks");

    for (std::size_t axis = 0; axis < axisCount; ++axis) {
        for (const bool attributesAreChildren : {false, true}) {
            const Step step{axisAt(axis), attributesAreChildren};
            Rows &rows = rows_[axis][attributesAreChildren ? 1 : 0];
            for (std::size_t x = 0; x < points_.size(); ++x) {
                for (std::size_t y = 0; y < points_.size(); ++y) {
                    if (related(table, step, points_[x], points_[y])) rows[x] |= Mask{1} << y;
                }
            }
        }
    }
}

Mask MaskForest::everyContext() const {
    const Mask everyPoint = static_cast<Mask>((std::uint64_t{1} << points_.size()) - 1);
    return everyPoint & ~attributes_;
}

Mask MaskForest::keepFirst(Step step, Mask first, Mask second) const {
    const Rows &rows = this->rows(step);
    Mask kept = 0;
    for (std::size_t x = 0; x < points_.size(); ++x) {
        if ((rows[x] & second) != 0) kept |= Mask{1} << x;
    }
    return kept & first;
}

Mask MaskForest::keepSecond(Step step, Mask first, Mask second) const {
    const Rows &rows = this->rows(step);
    Mask reached = 0;
    for (std::size_t x = 0; x < points_.size(); ++x) {
        if ((first >> x & 1U) != 0) reached |= rows[x];
    }
    return reached & second;
}

Step MaskForest::stepTo(zdbs::Axis axis, Mask second) const {
    const bool onlyAttributes = second != 0 && (second & ~attributes_) == 0;
    return {axis, axis == zdbs::Axis::child && onlyAttributes};
}

std::string MaskForest::shown(Mask nodes) const {
    std::string text;
    for (std::size_t place = 0; place < nodeCount_; ++place) {
        if ((nodes >> place & 1U) != 0)
            text += (text.empty() ? "" : " ") + std::to_string(points_[place].node);
    }
    return "{" + text + "}";
}

}  // namespace exhaustive
