#include "zdbs/embedded/positions/path_positions.h"

#include <algorithm>
#include <array>
#include <utility>

#include "zdbs/embedded/positions/group_edges.h"
#include "zdbs/embedded/positions/position_walks.h"
#include "zdbs/embedded/positions/range_positions.h"
#include "zdbs/embedded/positions/sibling_families.h"

namespace zdbs::embedded {
namespace {

void sortByPath(PathNodes &nodes) {
    std::sort(nodes.begin(), nodes.end(),
              [](const PathPart &a, const PathPart &b) { return a.path < b.path; });
}

/**
 * The places that the contexts of one group select, each once. A later context selects none
 * in front of what one before it does.
 */
class GroupPlaces {
public:
    /** The places in the group that one context selects. */
    void add(const std::array<PlaceRange, 2> &selected) {
        for (std::size_t i = 0; i < selected.size(); ++i)
            append(ranges_[i], selected[i]);
    }

    /** Hands them on, ascending, as places of the family; nothing is left. */
    template <typename Collector>
    void finish(std::uint64_t begin, Collector &kept) {
        auto &[first, second] = ranges_;
        if (!second.empty()) unite();
        for (const PlaceRange &range : first)
            kept.add(begin + range.first, begin + range.end);
        first.clear();
        second.clear();
    }

private:
    using Ranges = std::vector<PlaceRange>;

    static void append(Ranges &ranges, PlaceRange range) {
        if (range.first >= range.end) return;
        if (!ranges.empty() && range.first <= ranges.back().end)
            ranges.back().end = std::max(ranges.back().end, range.end);
        else
            ranges.push_back(range);
    }

    void unite() {
        Ranges both;
        std::merge(ranges_[0].begin(), ranges_[0].end(), ranges_[1].begin(), ranges_[1].end(),
                   std::back_inserter(both),
                   [](const PlaceRange &a, const PlaceRange &b) { return a.first < b.first; });
        ranges_[0].clear();
        for (const PlaceRange &range : both)
            append(ranges_[0], range);
    }

    std::array<Ranges, 2> ranges_;
};

/** Positions on a sibling axis, from the contexts below one path to the members below it. */
class SiblingStep {
public:
    SiblingStep(const SiblingFamily &contexts, const SiblingFamily &members, bool isReverse,
                PositionTest test)
        : contexts_(contexts), members_(members), isReverse_(isReverse), satisfying_(test) {}

    void select(PathNodes &result) {
        members_.select(
            [this](auto &kept) { areTheSame() ? chooseOfItself(kept) : chooseOfTwo(kept); },
            result);
    }

private:
    /** Whether each node of one path is a context and a member. */
    bool areTheSame() const {
        const PathNodes &a = contexts_.parts();
        const PathNodes &b = members_.parts();
        return a.size() == 1 && b.size() == 1 && a.front().path == b.front().path &&
               a.front().rows == b.front().rows;
    }

    template <typename Collector>
    void chooseOfItself(Collector &kept) {
        members_.forGroups([&](std::uint64_t begin, std::uint64_t end) {
            for (std::uint64_t place = 0; place < end - begin; ++place)
                places_.add(selectedBy(place, place + 1, end - begin));
            places_.finish(begin, kept);
        });
    }

    template <typename Collector>
    void chooseOfTwo(Collector &kept) {
        const NodeIds contexts = contexts_.numbers();
        const NodeIds members = members_.numbers();
        const std::vector<SiblingGroup> groups = contexts_.groups();
        auto group = groups.begin();
        auto context = contexts.begin();
        std::uint64_t begin = 0;
        for (const SiblingGroup &own : members_.groups()) {
            for (; group != groups.end() && group->key < own.key; ++group)
                context += group->length;
            if (group == groups.end()) return;
            if (group->key == own.key && own.length > 0) {
                add({context, context + group->length},
                    std::span(members).subspan(begin, own.length));
                places_.finish(begin, kept);
            }
            begin += own.length;
        }
    }

    /** One group: both ascending. */
    void add(std::span<const NodeId> contexts, std::span<const NodeId> members) {
        std::uint64_t before = 0;
        for (NodeId context : contexts) {
            while (before < members.size() && members[before] < context)
                ++before;
            const bool isMember = before < members.size() && members[before] == context;
            places_.add(selectedBy(before, before + (isMember ? 1 : 0), members.size()));
        }
    }

    /**
     * The places that a context selects.
     * @param before members in front of it
     * @param behind place of the first one behind it
     */
    std::array<PlaceRange, 2> selectedBy(std::uint64_t before, std::uint64_t behind,
                                         std::uint64_t length) const {
        const auto positions = satisfying_.of(isReverse_ ? before : length - behind);
        std::array<PlaceRange, 2> places{};
        for (std::size_t i = 0; i < places.size(); ++i) {
            const auto [first, last] = positions[i];
            if (first > last) continue;
            places[i] = isReverse_ ? PlaceRange{before - last, before - first + 1}
                                   : PlaceRange{behind + first - 1, behind + last};
        }
        return places;
    }

    const SiblingFamily &contexts_;
    const SiblingFamily &members_;
    const bool isReverse_;
    const SatisfyingPositions satisfying_;
    GroupPlaces places_;
};

/** Attributes have no siblings and are nobody's. */
PathNodes withoutAttributes(const PathTable &table, const PathNodes &nodes) {
    PathNodes result = nodes;
    std::erase_if(result, [&](const PathPart &part) {
        return table.summary()[part.path].kind == NodeKind::attribute;
    });
    return result;
}

std::optional<PathNodes> selectAmongSiblings(const NodeTable &nodes, const PathTable &table,
                                             const PositionStep &step, PositionTest test) {
    const auto contexts = familiesOf(nodes, table, withoutAttributes(table, step.contexts.nodes));
    const auto members = familiesOf(nodes, table, withoutAttributes(table, step.members));
    if (!contexts || !members) return std::nullopt;
    PathNodes result;
    for (const auto &[parent, family] : *members) {
        const auto place = contexts->find(parent);
        if (place == contexts->end()) continue;
        SiblingStep(place->second, family, traitsOf(step.axis).isReverse(), test).select(result);
    }
    sortByPath(result);
    return result;
}

/** The paths on the way up from a path that the members have whole, the nearest first. */
std::optional<std::vector<PathId>> wholeAbove(const PathTable &table, PathId path,
                                              const PositionStep &step) {
    const PathSummary &summary = table.summary();
    if (!summary[path].isRegular) return std::nullopt;
    std::vector<PathId> whole;
    PathId above = traitsOf(step.axis).withSelf ? path : summary[path].parent;
    for (; above != noPath; above = summary[above].parent) {
        const PathPart *part = partOf(step.members, above);
        if (part == nullptr) continue;
        if (!isWhole(table, *part)) return std::nullopt;
        whole.push_back(above);
    }
    return whole;
}

/** Where members are whole paths, the path of a context says which of them each position is. */
std::optional<PathNodes> selectAbove(const NodeTable &nodes, const PathTable &table,
                                     const PositionStep &step, PositionTest test) {
    const SatisfyingPositions satisfying(test);
    std::map<PathId, PathNodes> contextsOf;  // by the path that is selected
    for (const PathPart &part : step.contexts.nodes) {
        const auto whole = wholeAbove(table, part.path, step);
        if (!whole) return std::nullopt;
        for (const Positions &positions : satisfying.of(whole->size())) {
            for (std::uint64_t i = positions.first; i <= positions.last; ++i)
                contextsOf[(*whole)[i - 1]].push_back(part);
        }
    }
    PathNodes result;
    for (const auto &[path, contexts] : contextsOf) {
        const auto reached =
            keepSecond(nodes, table, {step.axis}, {contexts, {}}, {*partOf(step.members, path)});
        if (!reached) return std::nullopt;
        result.insert(result.end(), reached->begin(), reached->end());
    }
    return result;
}

/** Of each group the node at a position, from its end when negative. */
template <typename Collector>
void keepOnly(const SiblingFamily &family, std::int64_t position, Collector &kept) {
    const auto distance = static_cast<std::uint64_t>(position > 0 ? position : -position);
    family.forGroups([&](std::uint64_t begin, std::uint64_t end) {
        if (end - begin < distance) return;
        kept.addOne(position > 0 ? begin + distance - 1 : end - distance);
    });
}

template <typename Collector>
void keepSatisfying(const SiblingFamily &family, const SatisfyingPositions &satisfying,
                    Collector &kept) {
    const std::int64_t only = satisfying.only();
    if (only != 0) return keepOnly(family, only, kept);
    family.forGroups([&](std::uint64_t begin, std::uint64_t end) {
        for (const Positions &positions : satisfying.of(end - begin)) {
            if (positions.first <= positions.last)
                kept.add(begin + positions.first - 1, begin + positions.last);
        }
    });
}

/** The last node below each of them, in their order. */
NodeIds lastBelowEach(const PathTable &table, const MergedParts &nodes) {
    NodeIds result = nodes.numbers();
    const NumberIndex places(nodes.numbers());
    std::array<NodeId, RowReader::batchSize> numbers;
    for (const PathPart &part : nodes.parts()) {
        if (table.summary()[part.path].kind != NodeKind::element) continue;
        RowReader reader(table, part.path, *part.rows);
        for (RowBatch batch; reader.next(batch);) {
            readNodes(batch, numbers);
            for (std::size_t i = 0; i < batch.rows.size(); ++i) {
                const std::size_t place = places.placeOf(numbers[i]);
                if (place >= result.size()) continue;  // in damaged files only
                result[place] = table.lastBelow({part.path, batch.rows[i]});
            }
        }
    }
    return result;
}

/** By one walk over the nodes, whose ends are read path by path. REQUIRES isWalked(axis). */
PathNodes selectOnWalkByPath(const NodeTable &nodes, const PathTable &table,
                             const PositionStep &step, PositionTest test) {
    const bool isPreceding = traitsOf(step.axis).region == Region::before;
    const MergedParts members(table,
                              isPreceding ? withoutAttributes(table, step.members) : step.members);
    if (members.parts().empty()) return {};
    const SpannedNodes spanned{members.numbers(), lastBelowEach(table, members)};
    const NodeIds contexts = nodeIdsOf(table, step.contexts.nodes);
    PathNodes result;
    members.addChosen(selectOnWalk(nodes, step.axis, contexts, spanned, test), result);
    return result;
}

}  // namespace

std::optional<PathNodes> selectSiblingPositions(const NodeTable &nodes, const PathTable &table,
                                                const PathNodes &set, PositionTest test) {
    const auto families = familiesOf(nodes, table, set);
    if (!families) return std::nullopt;
    const SatisfyingPositions satisfying(test);
    PathNodes result;
    for (const auto &each : *families) {
        const auto &family = each.second;  // clang 14 cannot capture a part of a pair
        if (hasEdge(family, satisfying.only()))
            selectEdge(family, satisfying.only(), result);
        else
            family.select([&](auto &kept) { keepSatisfying(family, satisfying, kept); }, result);
    }
    sortByPath(result);
    return result;
}

std::optional<PathNodes> selectAxisPositions(const NodeTable &nodes, const PathTable &table,
                                             const PositionStep &step, PositionTest test) {
    const AxisTraits &axis = traitsOf(step.axis);
    if (axis.isSibling()) return selectAmongSiblings(nodes, table, step, test);
    std::optional<PathNodes> result;
    if (reachesRange(step.axis)) result = selectRangePositions(nodes, table, step, test);
    if (axis.region == Region::above && !axis.isDirect)
        result = selectAbove(nodes, table, step, test);
    if (result || !isWalked(step.axis)) return result;
    return selectOnWalkByPath(nodes, table, step, test);
}

}  // namespace zdbs::embedded
