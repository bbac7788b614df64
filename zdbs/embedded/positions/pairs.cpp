#include "zdbs/embedded/positions/pairs.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/embedded/positions/pair_reader.h"
#include "zdbs/embedded/positions/path_positions.h"
#include "zdbs/embedded/positions/position_walks.h"
#include "zdbs/embedded/tree/ascending_numbers.h"
#include "zdbs/embedded/tree/membership.h"

namespace zdbs::embedded {
namespace {

std::size_t checkedWeight(std::size_t weight) {
    if (weight > maximalPairWeight) {
        throw Failure(Status::nestedTooDeep, {std::to_string(maximalPairWeight)});
    }
    return weight;
}

/** Each context with each of `nodes` on the axis. */
class AxisPairs : public PairSource {
public:
    AxisPairs(PairStep step, NodeListPtr nodes, NodeListPtr chosenFrom)
        : PairSource(1),
          step_(std::move(step)),
          nodes_(std::move(nodes)),
          chosenFrom_(std::move(chosenFrom)) {}

    std::unique_ptr<PairReader> open(const NodeTable &table) const override {
        return openAxisPairs(table, step_, nodes_->ids());
    }

    const PairStep *step() const override { return &step_; }
    bool isWholeStep() const override { return true; }
    const NodeList *chosenFrom() const override { return chosenFrom_.get(); }

    /** Whether a node stands in one pair at most, so that pairs follow from nodes. */
    bool hasOneContextEach() const {
        const AxisTraits &axis = traitsOf(step_.axis);
        return axis.region == Region::none || (axis.region == Region::below && axis.isDirect);
    }

private:
    PairStep step_;
    NodeListPtr nodes_;
    NodeListPtr chosenFrom_;
};

/** Keeps the pairs with a node from a list. */
class RestrictedReader : public PairReader {
public:
    RestrictedReader(std::unique_ptr<PairReader> inner, std::span<const NodeId> nodes)
        : inner_(std::move(inner)), isKept_(nodes) {}

    std::vector<Context> contexts() override { return inner_->contexts(); }
    bool isReverse() const override { return inner_->isReverse(); }

    Stretches nodesOf(Context context) override {
        nodes_ = flattened(inner_->nodesOf(context));
        std::erase_if(nodes_, [this](NodeId node) { return !isKept_.contains(node); });
        return {{nodes_, false}};
    }

private:
    std::unique_ptr<PairReader> inner_;
    Membership isKept_;
    NodeIds nodes_;
};

class RestrictedPairs : public PairSource {
public:
    RestrictedPairs(PairSourcePtr inner, NodeListPtr nodes)
        : PairSource(checkedWeight(inner->weight() + 1)),
          inner_(std::move(inner)),
          nodes_(std::move(nodes)) {}

    std::unique_ptr<PairReader> open(const NodeTable &table) const override {
        return std::make_unique<RestrictedReader>(inner_->open(table), nodes_->ids());
    }

    const PairStep *step() const override { return inner_->step(); }
    const PairSourcePtr &inner() const { return inner_; }

private:
    PairSourcePtr inner_;
    NodeListPtr nodes_;
};

/** Keeps the pairs at some positions. */
class PositionReader : public PairReader {
public:
    PositionReader(std::unique_ptr<PairReader> inner, PositionTest test)
        : inner_(std::move(inner)), test_(test) {}

    std::vector<Context> contexts() override { return inner_->contexts(); }
    bool isReverse() const override { return inner_->isReverse(); }
    std::span<const NodeId> arena() const override { return inner_->arena(); }
    Stretches nodesOf(Context context) override { return cut(inner_->nodesOf(context), test_); }

private:
    std::unique_ptr<PairReader> inner_;
    PositionTest test_;
};

class PositionPairs : public PairSource {
public:
    PositionPairs(PairSourcePtr inner, PositionTest test)
        : PairSource(checkedWeight(inner->weight() + 1)), inner_(std::move(inner)), test_(test) {}

    std::unique_ptr<PairReader> open(const NodeTable &table) const override {
        return std::make_unique<PositionReader>(inner_->open(table), test_);
    }

    const PairStep *step() const override { return inner_->step(); }

private:
    PairSourcePtr inner_;
    PositionTest test_;
};

/** Keeps the pairs that two sources have, in the order of the first. */
class IntersectedReader : public PairReader {
public:
    IntersectedReader(std::unique_ptr<PairReader> a, std::unique_ptr<PairReader> b)
        : a_(std::move(a)), b_(std::move(b)) {}

    std::vector<Context> contexts() override { return a_->contexts(); }
    bool isReverse() const override { return a_->isReverse(); }

    Stretches nodesOf(Context context) override {
        nodes_ = flattened(a_->nodesOf(context));
        if (nodes_.empty()) return {};
        NodeIds others = flattened(b_->nodesOf(context));
        std::sort(others.begin(), others.end());
        std::erase_if(nodes_, [&](NodeId node) {
            return !std::binary_search(others.begin(), others.end(), node);
        });
        return {{nodes_, false}};
    }

private:
    std::unique_ptr<PairReader> a_;
    std::unique_ptr<PairReader> b_;
    NodeIds nodes_;
};

class IntersectedPairs : public PairSource {
public:
    IntersectedPairs(PairSourcePtr a, PairSourcePtr b)
        : PairSource(checkedWeight(a->weight() + b->weight() + 1)),
          a_(std::move(a)),
          b_(std::move(b)) {}

    std::unique_ptr<PairReader> open(const NodeTable &table) const override {
        return std::make_unique<IntersectedReader>(a_->open(table), b_->open(table));
    }

    const PairStep *step() const override {
        const PairStep *first = a_->step();
        const PairStep *second = b_->step();
        return first != nullptr && second != nullptr && *first == *second ? first : nullptr;
    }

private:
    PairSourcePtr a_;
    PairSourcePtr b_;
};

/** Merges the pairs of sources over one step. */
class UnitedReader : public PairReader {
public:
    explicit UnitedReader(std::vector<std::unique_ptr<PairReader>> readers)
        : readers_(std::move(readers)) {}

    std::vector<Context> contexts() override { return readers_.front()->contexts(); }
    bool isReverse() const override { return readers_.front()->isReverse(); }

    Stretches nodesOf(Context context) override {
        nodes_.clear();
        for (const auto &reader : readers_) {
            NodeIds part = flattened(reader->nodesOf(context));
            nodes_.insert(nodes_.end(), part.begin(), part.end());
        }
        sortUnique(nodes_);
        return {{nodes_, isReverse()}};
    }

private:
    std::vector<std::unique_ptr<PairReader>> readers_;
    NodeIds nodes_;
};

class UnitedPairs : public PairSource {
public:
    explicit UnitedPairs(std::vector<PairSourcePtr> sources)
        : PairSource(checkedWeight(weightOf(sources))), sources_(std::move(sources)) {}

    std::unique_ptr<PairReader> open(const NodeTable &table) const override {
        std::vector<std::unique_ptr<PairReader>> readers;
        for (const PairSourcePtr &source : sources_)
            readers.push_back(source->open(table));
        return std::make_unique<UnitedReader>(std::move(readers));
    }

    const PairStep *step() const override { return sources_.front()->step(); }

private:
    static std::size_t weightOf(const std::vector<PairSourcePtr> &sources) {
        std::size_t weight = 1;
        for (const PairSourcePtr &source : sources)
            weight += source->weight();
        return weight;
    }

    std::vector<PairSourcePtr> sources_;
};

const AxisPairs *asAxisPairs(const PairSourcePtr &source) {
    return dynamic_cast<const AxisPairs *>(source.get());
}

bool overOneStep(const PairSourcePtr &a, const PairSourcePtr &b) {
    if (!a || !b || a->step() == nullptr || b->step() == nullptr) return false;
    return *a->step() == *b->step();
}

/** Collects nodes from stretches; those of the arena are counted by their ends. */
class Collector {
public:
    Collector(std::span<const NodeId> arena, std::span<const NodeId> nodes)
        : arena_(arena),
          nodes_(nodes),
          begun_(arena.size() + 1),
          isFound_(std::size_t{nodes.back()} - nodes.front() + 1) {}

    void add(const Stretches &stretches) {
        for (const Stretch &stretch : stretches) {
            std::span<const NodeId> nodes = stretch.nodes;
            if (nodes.empty()) continue;
            if (isInArena(nodes)) {
                auto begin = static_cast<std::size_t>(nodes.data() - arena_.data());
                ++begun_[begin];
                --begun_[begin + nodes.size()];
            } else {
                for (NodeId node : nodes)
                    find(node);
            }
        }
    }

    NodeIds result() {
        std::int64_t open = 0;
        for (std::size_t i = 0; i < arena_.size(); ++i) {
            open += begun_[i];
            if (open > 0) find(arena_[i]);
        }
        NodeIds result;
        for (NodeId node : nodes_) {
            if (isFound_[node - nodes_.front()]) result.push_back(node);
        }
        return result;
    }

private:
    bool isInArena(std::span<const NodeId> nodes) const {
        std::less_equal<const NodeId *> notAfter;
        return notAfter(arena_.data(), nodes.data()) &&
               notAfter(nodes.data() + nodes.size(), arena_.data() + arena_.size());
    }

    void find(NodeId node) {
        if (node < nodes_.front() || node > nodes_.back()) return;
        isFound_[node - nodes_.front()] = true;
    }

    std::span<const NodeId> arena_;
    std::span<const NodeId> nodes_;
    std::vector<std::int64_t> begun_;
    std::vector<bool> isFound_;
};

/**
 * Whether the pairs are those of siblings: nodes that a step down came to have their
 * parent, or their document's root, for their only context.
 */
bool countsAmongSiblings(const PairSource *source) {
    if (source == nullptr) return true;
    if (!source->isWholeStep()) return false;
    const AxisTraits &axis = traitsOf(source->step()->axis);
    return axis.region == Region::below && axis.isDirect;
}

/** Whether a context reaches one node at most: its parent, or itself. */
bool hasOneNodeEach(Axis axis) {
    const AxisTraits &traits = traitsOf(axis);
    return traits.region == Region::none || (traits.region == Region::above && traits.isDirect);
}

/**
 * Null where positions of the step are not counted by path. Above a context there is no node
 * of the list that was chosen from but those of the step.
 */
NodeListPtr selectByRows(const NodeTable &table, const PairSource &source, const NodeListPtr &nodes,
                         PositionTest test) {
    const PathTable *paths = table.paths();
    const ContextList &list = source.step()->contexts;
    const NodeList &contexts = *list.nodes;
    const NodeList &members = source.chosenFrom() != nullptr ? *source.chosenFrom() : *nodes;
    if (paths == nullptr || contexts.table() == nullptr || members.table() == nullptr) return {};
    const PathOperand first{contexts.byPath(*paths),
                            list.roots ? std::span(*list.roots) : std::span<const DocumentIndex>()};
    auto byRows = selectAxisPositions(table, *paths,
                                      {source.step()->axis, first, members.byPath(*paths)}, test);
    return byRows ? makeList(*paths, std::move(*byRows)) : nullptr;
}

/** Context by context. */
NodeIds selectInGeneral(const NodeTable &table, const PairSource *source,
                        std::span<const NodeId> nodes, PositionTest test) {
    std::unique_ptr<PairReader> reader =
        source != nullptr ? source->open(table) : openSiblingPairs(table, nodes);
    Collector collector(reader->arena(), nodes);
    for (Context context : reader->contexts()) {
        heedStop();
        collector.add(cut(reader->nodesOf(context), test));
    }
    return collector.result();
}

}  // namespace

Operand ContextList::operand() const {
    Operand result{nodes->ids(), {}};
    if (roots) result.roots = *roots;
    return result;
}

// Kept only where it is asked for, and costs nothing.
PairSourcePtr axisPairs(ContextList contexts, Axis axis, NodeListPtr nodes,
                        NodeListPtr chosenFrom) {
    const bool isByPath = chosenFrom && chosenFrom->table() != nullptr && !chosenFrom->isPending();
    const AxisTraits &traits = traitsOf(axis);
    if (!isByPath || traits.region != Region::above || traits.isDirect) chosenFrom = nullptr;
    return std::make_shared<AxisPairs>(PairStep{std::move(contexts), axis}, std::move(nodes),
                                       std::move(chosenFrom));
}

PairSourcePtr restrictedPairs(const PairSourcePtr &source, const NodeListPtr &nodes) {
    if (!source) return nullptr;
    if (const AxisPairs *axis = asAxisPairs(source)) {
        return std::make_shared<AxisPairs>(*axis->step(), nodes, nullptr);
    }
    if (const auto *restricted = dynamic_cast<const RestrictedPairs *>(source.get())) {
        return std::make_shared<RestrictedPairs>(restricted->inner(), nodes);
    }
    return std::make_shared<RestrictedPairs>(source, nodes);
}

PairSourcePtr positionPairs(const PairSourcePtr &source, PositionTest test,
                            const NodeListPtr &nodes) {
    if (!source) return nullptr;
    const AxisPairs *axis = asAxisPairs(source);
    if (axis != nullptr && axis->hasOneContextEach()) return restrictedPairs(source, nodes);
    return std::make_shared<PositionPairs>(source, test);
}

PairSourcePtr intersectedPairs(const PairSourcePtr &a, const PairSourcePtr &b,
                               const NodeListPtr &nodes) {
    if (!a) return restrictedPairs(b, nodes);
    if (!b || a == b) return restrictedPairs(a, nodes);
    // A step's own pairs hold all that is left of them for these nodes.
    if (asAxisPairs(b) != nullptr && overOneStep(a, b)) return restrictedPairs(a, nodes);
    if (asAxisPairs(a) != nullptr && overOneStep(a, b)) return restrictedPairs(b, nodes);
    return std::make_shared<IntersectedPairs>(a, b);
}

PairSourcePtr unitedPairs(std::span<const PairSourcePtr> sources, const NodeListPtr &nodes) {
    std::vector<PairSourcePtr> different;
    bool allAxisPairs = true;
    for (const PairSourcePtr &source : sources) {
        if (!overOneStep(source, sources.front())) return nullptr;
        allAxisPairs = allAxisPairs && asAxisPairs(source) != nullptr;
        bool isKnown = std::find(different.begin(), different.end(), source) != different.end();
        if (!isKnown) different.push_back(source);
    }
    if (different.empty()) return nullptr;
    if (allAxisPairs) return restrictedPairs(different.front(), nodes);
    if (different.size() == 1) return different.front();
    return std::make_shared<UnitedPairs>(std::move(different));
}

NodeListPtr selectByPosition(const NodeTable &table, const PairSource *source,
                             const NodeListPtr &nodes, PositionTest test, Plan *plan) {
    if (nodes->empty()) return nodes;
    const PathTable *paths = table.paths();
    if (paths != nullptr && countsAmongSiblings(source)) {
        std::optional<PathNodes> byRows =
            selectSiblingPositions(table, *paths, nodes->byPath(*paths), test);
        if (byRows) {
            note(plan, PlanStep::siblingPositions);
            return makeList(*paths, std::move(*byRows));
        }
    }
    if (source != nullptr && source->isWholeStep()) {
        if (hasOneNodeEach(source->step()->axis)) {
            note(plan, PlanStep::siblingPositions);
            return SatisfyingPositions(test).hold(1, 1) ? nodes : makeList(NodeIds());
        }
        if (NodeListPtr byRows = selectByRows(table, *source, nodes, test)) {
            note(plan, PlanStep::positionsByRows);
            return byRows;
        }
        const PairStep &step = *source->step();
        if (isWalked(step.axis)) {
            note(plan, PlanStep::walkedPositions);
            const SpannedNodes members = spannedNodes(table, step.axis, nodes->ids());
            return makeList(
                selectOnWalk(table, step.axis, step.contexts.nodes->ids(), members, test));
        }
    }
    note(plan, PlanStep::generalPositions);
    return makeList(selectInGeneral(table, source, nodes->ids(), test));
}

}  // namespace zdbs::embedded
