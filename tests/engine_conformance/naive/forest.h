/** Documents as plain trees in memory, and the axes by definition. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_FOREST_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_FOREST_H

#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/base/node.h"

namespace zdbs::naive {

/** Where a node stands among others in document order. */
using Place = std::size_t;
using Places = std::vector<Place>;  ///< ascending, unless told otherwise

constexpr Place nowhere = std::numeric_limits<Place>::max();

struct Declaration {
    std::string prefix;
    std::string uri;
};

struct Node {
    std::optional<NodeKind> kind;  ///< none: the root of a document
    std::string local;
    std::string prefix;
    std::string uri;
    std::string value;
    Place parent = nowhere;  ///< in its document
    Place last = 0;          ///< the last one below it; itself where there is none
    std::vector<Declaration> declarations;

    bool is(NodeKind wanted) const { return kind == wanted; }
    NodeName name() const { return {local, prefix, uri}; }
};

/** Its root comes first and is no record; record number `first` is the node behind it. */
struct Document {
    std::string name;
    RecordId first = 0;
    std::uint64_t xmlBytes = 0;
    std::vector<Node> nodes;

    std::uint64_t records() const { return nodes.size() - 1; }
};

using DocumentPtr = std::shared_ptr<const Document>;

/** Documents one after the other: one state of a database. */
class Forest {
public:
    explicit Forest(std::vector<DocumentPtr> documents);

    const std::vector<DocumentPtr> &documents() const { return documents_; }
    /** No other one has this number. */
    std::uint64_t state() const { return state_; }

    Place size() const { return points_.size(); }
    const Node &operator[](Place place) const { return *points_[place].node; }

    Place parent(Place place) const { return points_[place].parent; }
    Place last(Place place) const { return points_[place].last; }
    std::size_t documentOf(Place place) const { return points_[place].document; }
    RecordId record(Place place) const { return points_[place].record; }  ///< 0 of a root

    /** The place of a record; nowhere when it is gone. */
    Place find(RecordId record) const;

    bool isRoot(Place place) const { return !points_[place].node->kind; }
    bool isAttribute(Place place) const { return points_[place].node->is(NodeKind::attribute); }

    /** Every place but the roots. */
    Places records() const;

    /** Whether y is on the axis of x, as XPath 1.0, section 2.2, has it. */
    bool isOnAxis(Place x, Axis axis, Place y) const;

private:
    struct Point {
        const Node *node;
        Place parent;
        Place last;
        std::size_t document;
        RecordId record;
    };

    bool isBelow(Place y, Place x) const { return x < y && y <= last(x); }
    bool areSiblings(Place x, Place y) const;

    inline static std::atomic<std::uint64_t> lastState_ = 0;

    std::uint64_t state_ = ++lastState_;
    std::vector<DocumentPtr> documents_;
    std::vector<Point> points_;
};

using ForestPtr = std::shared_ptr<const Forest>;

}  // namespace zdbs::naive

#endif
