#include "zdbs/embedded/positions/pair_reader.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/tree/membership.h"

namespace zdbs::embedded {
namespace {

using NodeSpan = std::span<const NodeId>;

/** The part of an ascending list between two numbers, both included. */
NodeSpan between(NodeSpan nodes, NodeId first, NodeId last) {
    if (first > last) return {};
    auto begin = std::lower_bound(nodes.begin(), nodes.end(), first);
    auto end = std::upper_bound(begin, nodes.end(), last);
    return {begin, end};
}

Stretches single(NodeSpan nodes, bool backwards) {
    if (nodes.empty()) return {};
    return {{nodes, backwards}};
}

/** Nodes arranged by parent, and in document order below each. */
class ParentGroups {
public:
    ParentGroups(const NodeTable &table, DocumentFinder &finder, NodeSpan nodes) {
        std::vector<std::pair<ParentKey, NodeId>> entries;
        entries.reserve(nodes.size());
        StopCounter stop;
        for (NodeId node : nodes) {
            stop.step();
            entries.emplace_back(parentKey(table, finder, node), node);
        }
        std::sort(entries.begin(), entries.end());
        for (const auto &[key, node] : entries) {
            keys_.push_back(key);
            nodes_.push_back(node);
        }
    }

    NodeSpan group(ParentKey key) const {
        auto [begin, end] = std::equal_range(keys_.begin(), keys_.end(), key);
        return NodeSpan(nodes_).subspan(static_cast<std::size_t>(begin - keys_.begin()),
                                        static_cast<std::size_t>(end - begin));
    }

    const std::vector<ParentKey> &keys() const { return keys_; }
    NodeSpan nodes() const { return nodes_; }

private:
    std::vector<ParentKey> keys_;
    NodeIds nodes_;
};

ParentKey keyOf(Context context) {
    return context.node != noNode ? context.node : rootKey(context.document);
}

/** What the readers of steps share: the contexts. */
class StepReader : public PairReader {
public:
    StepReader(const NodeTable &table, const PairStep &step)
        : table_(table), finder_(table), step_(step), isContext_(step.contexts.nodes->ids()) {}

    std::vector<Context> contexts() override {
        std::vector<Context> result;
        for (NodeId node : step_.contexts.nodes->ids())
            result.push_back({node, 0});
        for (DocumentIndex root : step_.contexts.operand().roots) {
            result.push_back({noNode, root});
        }
        return result;
    }

    Stretches nodesOf(Context context) override {
        if (context.node != noNode) {
            return isContext_.contains(context.node) ? belowNode(context.node) : Stretches{};
        }
        auto roots = step_.contexts.operand().roots;
        bool isRoot = std::binary_search(roots.begin(), roots.end(), context.document);
        return isRoot ? belowRoot(context.document) : Stretches{};
    }

    bool isReverse() const override { return axis().isReverse(); }

protected:
    virtual Stretches belowNode(NodeId context) = 0;

    /** From a root only downward steps lead to records. */
    virtual Stretches belowRoot(DocumentIndex) { return {}; }

    const NodeTable &table() const { return table_; }
    DocumentFinder &finder() { return finder_; }
    const AxisTraits &axis() const { return traitsOf(step_.axis); }
    bool isAttribute(NodeId node) const { return table_.kind(node) == NodeKind::attribute; }

private:
    const NodeTable &table_;
    DocumentFinder finder_;
    const PairStep step_;
    Membership isContext_;
};

/** Children, attributes, siblings: nodes with one parent. */
class GroupReader : public StepReader {
public:
    GroupReader(const NodeTable &table, const PairStep &step, NodeSpan nodes)
        : StepReader(table, step), groups_(table, finder(), nodes) {}

    NodeSpan arena() const override { return groups_.nodes(); }

protected:
    Stretches belowNode(NodeId context) override {
        if (!axis().isSibling()) return single(groups_.group(context), false);
        if (isAttribute(context)) return {};
        NodeSpan siblings = groups_.group(parentKey(table(), finder(), context));
        if (axis().isReverse()) return single(between(siblings, noNode, context - 1), true);
        return single(between(siblings, context + 1, lastNodeId), false);
    }

    Stretches belowRoot(DocumentIndex document) override {
        if (axis().region != Region::below || axis().toAttributes) return {};
        return single(groups_.group(rootKey(document)), false);
    }

private:
    ParentGroups groups_;
};

/** Descendants, and what follows or precedes: ranges of the document. */
class RangeReader : public StepReader {
public:
    RangeReader(const NodeTable &table, const PairStep &step, NodeSpan nodes)
        : StepReader(table, step), nodes_(nodes) {
        for (NodeId node : nodes) {
            if (!isAttribute(node)) tree_.push_back(node);
        }
    }

    NodeSpan arena() const override { return tree_; }

protected:
    Stretches belowNode(NodeId context) override {
        NodeId last = table().lastBelow(context);
        if (axis().region == Region::before) return beforeNode(context);
        if (axis().region == Region::after) {
            NodeId end = finder().documentOf(context).last;
            return single(between(tree_, last + 1, end), false);
        }
        if (!axis().withSelf) return single(between(tree_, context + 1, last), false);
        // An attribute is its own descendant-or-self, and nobody else's.
        NodeSpan list = isAttribute(context) ? nodes_ : NodeSpan(tree_);
        return single(between(list, context, last), false);
    }

    Stretches belowRoot(DocumentIndex document) override {
        if (axis().region != Region::below) return {};
        const DocumentRange &range = finder().document(document);
        return single(between(tree_, range.first, range.last), false);
    }

private:
    /** What lies between the ancestors of a node, backwards. */
    Stretches beforeNode(NodeId context) {
        Stretches result;
        NodeId end = context;
        for (NodeId up = table().parent(context); up != noNode; up = table().parent(up)) {
            addBefore(result, up + 1, end);
            end = up;
        }
        addBefore(result, finder().documentOf(context).first, end);
        return result;
    }

    void addBefore(Stretches &stretches, NodeId first, NodeId end) const {
        NodeSpan nodes = between(tree_, first, end - 1);
        if (!nodes.empty()) stretches.push_back({nodes, true});
    }

    NodeSpan nodes_;
    NodeIds tree_;
};

/** Self, parent, ancestors: what lies on the way up. */
class UpReader : public StepReader {
public:
    UpReader(const NodeTable &table, const PairStep &step, NodeSpan nodes)
        : StepReader(table, step), isSelected_(nodes) {}

protected:
    Stretches belowNode(NodeId context) override {
        way_.clear();
        if (axis().withSelf) add(context);
        if (axis().region != Region::above) return single(way_, false);
        for (NodeId up = table().parent(context); up != noNode; up = table().parent(up)) {
            add(up);
            if (axis().isDirect) break;
        }
        return single(way_, false);
    }

private:
    void add(NodeId node) {
        if (isSelected_.contains(node)) way_.push_back(node);
    }

    Membership isSelected_;
    NodeIds way_;
};

/** Nodes with one parent, whatever step they came by. */
class SiblingReader : public PairReader {
public:
    SiblingReader(const NodeTable &table, NodeSpan nodes)
        : finder_(table), groups_(table, finder_, nodes) {}

    std::vector<Context> contexts() override {
        std::vector<Context> result;
        ParentKey before = noNode;
        for (ParentKey key : groups_.keys()) {
            if (key != before) result.push_back(contextOf(key));
            before = key;
        }
        return result;
    }

    Stretches nodesOf(Context context) override {
        return single(groups_.group(keyOf(context)), false);
    }

    bool isReverse() const override { return false; }
    NodeSpan arena() const override { return groups_.nodes(); }

private:
    static Context contextOf(ParentKey key) {
        if (key < rootKey(0)) return {static_cast<NodeId>(key), 0};
        return {noNode, static_cast<DocumentIndex>(key - rootKey(0))};
    }

    DocumentFinder finder_;
    ParentGroups groups_;
};

/** Appends the nodes at some positions. */
void appendSlice(Stretches &result, const Stretches &stretches, const Positions &positions) {
    std::size_t before = 0;
    for (const Stretch &stretch : stretches) {
        std::size_t length = stretch.nodes.size();
        std::size_t first = std::max(positions.first, before + 1);
        std::size_t last = std::min(positions.last, before + length);
        if (first <= last) {
            std::size_t count = last - first + 1;
            std::size_t skipped = first - before - 1;
            std::size_t begin = stretch.backwards ? length - skipped - count : skipped;
            result.push_back({stretch.nodes.subspan(begin, count), stretch.backwards});
        }
        before += length;
    }
}

}  // namespace

std::size_t lengthOf(const Stretches &stretches) {
    std::size_t length = 0;
    for (const Stretch &stretch : stretches)
        length += stretch.nodes.size();
    return length;
}

NodeIds flattened(const Stretches &stretches) {
    NodeIds result;
    for (const Stretch &stretch : stretches) {
        NodeSpan nodes = stretch.nodes;
        if (stretch.backwards) {
            result.insert(result.end(), nodes.rbegin(), nodes.rend());
        } else {
            result.insert(result.end(), nodes.begin(), nodes.end());
        }
    }
    return result;
}

Stretches cut(const Stretches &stretches, PositionTest test) {
    std::size_t length = lengthOf(stretches);
    Stretches result;
    for (const Positions &positions : SatisfyingPositions(test).of(length))
        appendSlice(result, stretches, positions);
    return result;
}

std::unique_ptr<PairReader> openAxisPairs(const NodeTable &table, const PairStep &step,
                                          std::span<const NodeId> nodes) {
    const AxisTraits &axis = traitsOf(step.axis);
    switch (axis.region) {
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return std::make_unique<GroupReader>(table, step, nodes);
        case Region::below:
            if (axis.isDirect) return std::make_unique<GroupReader>(table, step, nodes);
            return std::make_unique<RangeReader>(table, step, nodes);
        case Region::after:
        case Region::before:
            return std::make_unique<RangeReader>(table, step, nodes);
        case Region::above:
        case Region::none:
            break;
    }
    return std::make_unique<UpReader>(table, step, nodes);
}

std::unique_ptr<PairReader> openSiblingPairs(const NodeTable &table,
                                             std::span<const NodeId> nodes) {
    return std::make_unique<SiblingReader>(table, nodes);
}

}  // namespace zdbs::embedded
