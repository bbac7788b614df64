#include "zdbs/embedded/joins/path_join.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "zdbs/embedded/joins/document_join.h"
#include "zdbs/embedded/joins/irregular_join.h"
#include "zdbs/embedded/joins/sibling_join.h"
#include "zdbs/embedded/joins/vertical_join.h"
#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

/** Of more irregular nodes the general joins' passes cost less than looking up each one. */
constexpr std::uint64_t mostIrregular = 100'000;

/** The joins over one table; nothing where irregular paths stand in the way. */
class PathJoins {
public:
    PathJoins(const NodeTable &nodes, const PathTable &table)
        : nodes_(nodes), table_(table), documents_(nodes, table) {}

    using MaybeNodes = std::optional<PathNodes>;
    using MaybeSelection = std::optional<PathSelection>;

    MaybeSelection keepFirst(Step step, const PathOperand &a, const PathOperand &b) const;
    MaybeNodes keepSecond(Step step, const PathOperand &a, const PathNodes &b) const;

private:
    const Path &path(const PathPart &part) const { return table_.summary()[part.path]; }

    template <typename Condition>
    PathNodes partsWhere(const PathNodes &nodes, Condition condition) const {
        PathNodes result;
        for (const PathPart &part : nodes) {
            if (condition(path(part))) result.push_back(part);
        }
        return result;
    }

    /** A set, of which a join takes the attributes, or what is none, or everything. */
    class Chosen {
    public:
        Chosen(const PathJoins &joins, const PathNodes &nodes, LowKinds kinds)
            : joins_(joins), nodes_(nodes), kinds_(kinds) {}
        Chosen(const Chosen &) = delete;
        Chosen &operator=(const Chosen &) = delete;

        /** The set with what is not taken, and the kinds that are. */
        const PathNodes &all() const { return nodes_; }
        LowKinds kinds() const { return kinds_; }

        /** What is taken; made when it is asked for. */
        const PathNodes &nodes() const {
            if (taken_) return *taken_;
            const auto isTakenPath = [this](const Path &path) {
                return isTaken(path.kind, kinds_);
            };
            const bool isAll = std::all_of(nodes_.begin(), nodes_.end(), [&](const PathPart &part) {
                return isTakenPath(joins_.path(part));
            });
            if (isAll) return nodes_;
            taken_ = joins_.partsWhere(nodes_, isTakenPath);
            return *taken_;
        }

    private:
        const PathJoins &joins_;
        const PathNodes &nodes_;
        LowKinds kinds_;
        mutable std::optional<PathNodes> taken_;
    };

    Chosen all(const PathNodes &nodes) const { return {*this, nodes, LowKinds::all}; }

    Chosen withoutAttributes(const PathNodes &nodes) const {
        return {*this, nodes, LowKinds::others};
    }

    /** The nodes that a step downwards can reach. */
    Chosen reachableBelow(Step step, const PathNodes &nodes) const {
        if (traitsOf(step.axis).toAttributes) return {*this, nodes, LowKinds::attributes};
        return {*this, nodes, step.attributesAreChildren ? LowKinds::all : LowKinds::others};
    }

    PathNodes atTop(const PathNodes &nodes) const {
        return partsWhere(nodes, [](const Path &path) { return path.parent == noPath; });
    }

    PathNodes regular(const PathNodes &nodes) const {
        return partsWhere(nodes, [](const Path &path) { return path.isRegular; });
    }

    PathNodes irregular(const PathNodes &nodes) const {
        return partsWhere(nodes, [](const Path &path) { return !path.isRegular; });
    }

    bool isRegular(const PathNodes &nodes) const {
        return table_.summary().irregular().empty() ||
               std::all_of(nodes.begin(), nodes.end(),
                           [this](const PathPart &part) { return path(part).isRegular; });
    }

    bool isEverythingAbove(const PathOperand &high) const;
    MaybeNodes below(const PathOperand &high, const Chosen &low, Depth depth) const;
    MaybeNodes belowIrregular(const PathOperand &high, const PathNodes &low, Depth depth) const;
    MaybeSelection aboveIrregular(const PathOperand &high, const PathNodes &low, Depth depth) const;
    MaybeSelection above(const PathOperand &high, const PathNodes &low, Depth depth) const;
    MaybeNodes besides(const PathNodes &candidates, const PathNodes &partners, bool after) const;
    MaybeSelection firstOfRegion(Step step, const PathOperand &a, const PathOperand &b) const;
    MaybeNodes secondOfRegion(Step step, const PathOperand &a, const PathNodes &b) const;

    const NodeTable &nodes_;
    const PathTable &table_;
    DocumentJoin documents_;
};

/** Whether every root and every element is there. */
bool PathJoins::isEverythingAbove(const PathOperand &high) const {
    if (high.roots.size() != nodes_.documents().size()) return false;
    const PathSummary &summary = table_.summary();
    for (PathId each = 0; each < summary.size(); ++each) {
        if (summary[each].kind != NodeKind::element || table_.liveRows(each)->isEmpty()) continue;
        const PathPart *part = partOf(high.nodes, each);
        if (part == nullptr || !isWhole(table_, *part)) return false;
    }
    return true;
}

/** The nodes of `low` that are below a node or a root of `high`. */
PathJoins::MaybeNodes PathJoins::below(const PathOperand &high, const Chosen &low,
                                       Depth depth) const {
    const bool isBelowRoots = high.roots.size() == nodes_.documents().size();
    if (depth == Depth::any && isBelowRoots) return low.nodes();
    if (!isRegular(low.all())) return belowIrregular(high, low.nodes(), depth);
    // What is above a regular node is regular.
    PathNodes result = nodesBelow(table_, high.nodes, low.all(), depth, {}, low.kinds());
    if (high.roots.empty()) return result;
    const PathNodes reached = depth == Depth::any ? low.nodes() : atTop(low.nodes());
    return united(table_, std::move(result), documents_.inDocuments(reached, high.roots));
}

/** The same where some of `low` is irregular: that by its nodes, when they are few. */
PathJoins::MaybeNodes PathJoins::belowIrregular(const PathOperand &high, const PathNodes &low,
                                                Depth depth) const {
    if (high.nodes.empty() && high.roots.empty()) return PathNodes();
    if (isEverythingAbove(high)) return low;
    const PathNodes loose = irregular(low);
    if (sizeOf(loose) > mostIrregular) return std::nullopt;
    const PathNodes tight = regular(low);
    return united(table_, *below(high, all(tight), depth),
                  IrregularJoin(nodes_, table_).below(high, loose, depth));
}

/** What of `high` is above a node of `low`. */
PathJoins::MaybeSelection PathJoins::above(const PathOperand &high, const PathNodes &low,
                                           Depth depth) const {
    if (!isRegular(low)) return aboveIrregular(high, low, depth);
    PathSelection result;
    result.nodes = nodesAbove(table_, high.nodes, low, depth);
    if (high.roots.empty()) return result;
    const PathNodes reached = depth == Depth::any ? low : atTop(low);
    result.roots = common(high.roots, documents_.documentsOf(reached));
    return result;
}

/** The same where some of `low` is irregular: that by its nodes, when they are few. */
PathJoins::MaybeSelection PathJoins::aboveIrregular(const PathOperand &high, const PathNodes &low,
                                                    Depth depth) const {
    if (high.nodes.empty() && high.roots.empty()) return PathSelection();
    const PathNodes loose = irregular(low);
    if (sizeOf(loose) > mostIrregular) return std::nullopt;
    MaybeSelection result = above(high, regular(low), depth);
    const PathSelection other = IrregularJoin(nodes_, table_).above(high, loose, depth);
    result->nodes = united(table_, std::move(result->nodes), other.nodes);
    result->roots = merged(result->roots, other.roots);
    return result;
}

PathJoins::MaybeNodes PathJoins::besides(const PathNodes &candidates, const PathNodes &partners,
                                         bool after) const {
    const Chosen chosenNodes = withoutAttributes(candidates);
    const Chosen chosenOthers = withoutAttributes(partners);
    const PathNodes &nodes = chosenNodes.nodes();
    const PathNodes &others = chosenOthers.nodes();
    if (nodes.empty() || others.empty()) return PathNodes();
    if (!isRegular(nodes) || !isRegular(others)) return std::nullopt;
    return embedded::besides(nodes_, table_, nodes, others, after);
}

/** keepFirst() without the nodes that are on both sides themselves. */
PathJoins::MaybeSelection PathJoins::firstOfRegion(Step step, const PathOperand &a,
                                                   const PathOperand &b) const {
    const auto only = [](MaybeNodes nodes) -> MaybeSelection {
        if (!nodes) return std::nullopt;
        return PathSelection{std::move(*nodes), {}};
    };
    const AxisTraits &axis = traitsOf(step.axis);
    const Depth depth = axis.isDirect ? Depth::direct : Depth::any;
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return above(a, reachableBelow(step, b.nodes).nodes(), depth);
        case Region::above:
            return only(below(b, all(a.nodes), depth));
        case Region::siblingsAfter:
            return only(besides(a.nodes, b.nodes, true));
        case Region::siblingsBefore:
            return only(besides(a.nodes, b.nodes, false));
        case Region::after:
            return only(documents_.endingBefore(a.nodes, withoutAttributes(b.nodes).nodes()));
        case Region::before:
            return only(documents_.beginningAfter(a.nodes, withoutAttributes(b.nodes).nodes()));
    }
    return PathSelection();
}

/** keepSecond() likewise. */
PathJoins::MaybeNodes PathJoins::secondOfRegion(Step step, const PathOperand &a,
                                                const PathNodes &b) const {
    const auto nodesOf = [](MaybeSelection selection) -> MaybeNodes {
        if (!selection) return std::nullopt;
        return std::move(selection->nodes);
    };
    const AxisTraits &axis = traitsOf(step.axis);
    const Depth depth = axis.isDirect ? Depth::direct : Depth::any;
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return below(a, reachableBelow(step, b), depth);
        case Region::above:
            return nodesOf(above({b, {}}, a.nodes, depth));
        case Region::siblingsAfter:
            return besides(b, a.nodes, false);
        case Region::siblingsBefore:
            return besides(b, a.nodes, true);
        case Region::after:
            return documents_.beginningAfter(withoutAttributes(b).nodes(), a.nodes);
        case Region::before:
            return documents_.endingBefore(withoutAttributes(b).nodes(), a.nodes);
    }
    return PathNodes();
}

PathJoins::MaybeSelection PathJoins::keepFirst(Step step, const PathOperand &a,
                                               const PathOperand &b) const {
    MaybeSelection found = firstOfRegion(step, a, b);
    if (!found || !traitsOf(step.axis).withSelf) return found;
    return PathSelection{united(table_, std::move(found->nodes), intersected(a.nodes, b.nodes)),
                         merged(found->roots, common(a.roots, b.roots))};
}

PathJoins::MaybeNodes PathJoins::keepSecond(Step step, const PathOperand &a,
                                            const PathNodes &b) const {
    MaybeNodes found = secondOfRegion(step, a, b);
    if (!found || !traitsOf(step.axis).withSelf) return found;
    return united(table_, std::move(*found), intersected(a.nodes, b));
}

}  // namespace

std::optional<PathSelection> keepFirst(const NodeTable &nodes, const PathTable &table, Step step,
                                       const PathOperand &first, const PathOperand &second) {
    return PathJoins(nodes, table).keepFirst(step, first, second);
}

std::optional<PathNodes> keepSecond(const NodeTable &nodes, const PathTable &table, Step step,
                                    const PathOperand &first, const PathNodes &second) {
    return PathJoins(nodes, table).keepSecond(step, first, second);
}

}  // namespace zdbs::embedded
