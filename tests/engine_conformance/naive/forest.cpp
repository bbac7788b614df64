#include "tests/engine_conformance/naive/forest.h"

#include <utility>

namespace zdbs::naive {

Forest::Forest(std::vector<DocumentPtr> documents) : documents_(std::move(documents)) {
    for (std::size_t number = 0; number < documents_.size(); ++number) {
        const Document &document = *documents_[number];
        const Place root = points_.size();
        for (const Node &node : document.nodes) {
            const bool isRoot = !node.kind;
            const RecordId record = isRoot ? 0 : document.first + (points_.size() - root - 1);
            points_.push_back(
                {&node, isRoot ? nowhere : root + node.parent, root + node.last, number, record});
        }
    }
}

Place Forest::find(RecordId record) const {
    for (Place place = 0; place < size(); ++place) {
        if (points_[place].record == record && !isRoot(place)) return place;
    }
    return nowhere;
}

Places Forest::records() const {
    Places result;
    for (Place place = 0; place < size(); ++place) {
        if (!isRoot(place)) result.push_back(place);
    }
    return result;
}

bool Forest::areSiblings(Place x, Place y) const {
    return !isRoot(x) && !isAttribute(x) && !isAttribute(y) && parent(x) == parent(y);
}

bool Forest::isOnAxis(Place x, Axis axis, Place y) const {
    if (documentOf(x) != documentOf(y)) return false;
    switch (axis) {
        case Axis::self:
            return x == y;
        case Axis::child:
            return parent(y) == x && !isAttribute(y);
        case Axis::attribute:
            return parent(y) == x && isAttribute(y);
        case Axis::parent:
            return parent(x) == y;
        case Axis::descendant:
            return isBelow(y, x) && !isAttribute(y);
        case Axis::descendantOrSelf:
            return x == y || (isBelow(y, x) && !isAttribute(y));
        case Axis::ancestor:
            return isBelow(x, y);
        case Axis::ancestorOrSelf:
            return x == y || isBelow(x, y);
        case Axis::followingSibling:
            return areSiblings(x, y) && x < y;
        case Axis::precedingSibling:
            return areSiblings(x, y) && y < x;
        case Axis::following:
            return x < y && !isBelow(y, x) && !isAttribute(y);
        case Axis::preceding:
            return y < x && !isBelow(x, y) && !isAttribute(y);
        case Axis::namespaceNode:
            break;  // namespace nodes are no records
    }
    return false;
}

}  // namespace zdbs::naive
