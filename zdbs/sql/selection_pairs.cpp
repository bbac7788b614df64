/** Pairs of contexts and nodes: part, c and k of each. */
#include <algorithm>

#include "zdbs/sql/axes.h"
#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

void append(std::string &text, const std::string &more) {
    if (!text.empty()) text += " union all ";
    text += more;
}

/** The same on the other side of the sign. */
Relation mirrored(Relation relation) {
    switch (relation) {
        case Relation::less:
            return Relation::greater;
        case Relation::lessEqual:
            return Relation::greaterEqual;
        case Relation::greater:
            return Relation::less;
        case Relation::greaterEqual:
            return Relation::lessEqual;
        case Relation::equal:
        case Relation::notEqual:
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return relation;
}

bool allWhole(const PathSet &set) {
    return std::all_of(set.begin(), set.end(), [](const auto &each) { return !each.second; });
}

constexpr const char *noPairs = "select n.part, n.id as c, n.id as k from node n where n.part < 0";

/** Paths of a group that have something at a level above them, and what. */
struct AtLevel {
    PathGroup group;
    PathSet above;
};

std::map<int, AtLevel> levelsOf(const Summary &summary, AxisStep step, const PathGroup &group,
                                const PathSet &others, bool othersAreContexts) {
    std::map<int, AtLevel> levels;
    for (const PathNumber path : group.paths) {
        for (PathNumber up = path; up != noPath; up = summary[up].key.parent) {
            const auto other = others.find(up);
            if (other == others.end()) continue;
            const bool isRelated = othersAreContexts ? canRelate(summary, step, up, path)
                                                     : canRelate(summary, step, path, up);
            if (!isRelated) continue;
            AtLevel &level = levels[summary[up].level];
            level.group.paths.push_back(path);
            level.above.emplace(*other);
        }
    }
    for (auto &[level, at] : levels) {
        at.group.predicate = group.predicate;
        at.group.level = group.level;
        at.group.isAttribute = group.isAttribute;
    }
    return levels;
}

}  // namespace

std::string Selection::placed(const PlaceTest &test) {
    return "select z.part, z.k from (" + positions(*test.pairs, test.relation, test.place) + ") z";
}

/** From the end it is counted backwards. */
std::string Selection::positions(const Pairs &pairs_, Relation relation, double place) {
    const bool fromEnd = place < 0;
    const bool isDescending = pairs_.isReverse != fromEnd;
    return "select y.part, y.c, y.k from (select w.part, w.c, w.k, row_number() over (partition by "
           "w.part, w.c order by w.k" +
           std::string(isDescending ? " desc" : "") + ") as r from (" +
           pairs(pairs_, *pairs_.nodes) + ") w) y where y.r " +
           signOf(fromEnd ? mirrored(relation) : relation) + " " +
           statement_.bind(fromEnd ? -place : place);
}

std::string Selection::pairs(const Pairs &pairs_, const PathSet &nodes) {
    if (const auto *step = std::get_if<StepPairs>(&pairs_.made)) return pairs(*step, nodes);
    if (const auto *common = std::get_if<CommonPairs>(&pairs_.made))
        return pairsOfBoth(*common, nodes);
    if (const auto *merged = std::get_if<MergedPairs>(&pairs_.made))
        return "select u.part, u.c, u.k from (" +
               pairs(*merged->a, intersection(*merged->a->nodes, nodes)) + " union all " +
               pairs(*merged->b, intersection(*merged->b->nodes, nodes)) +
               ") u group by u.part, u.c, u.k";
    const auto among = [&] {
        const std::string rows = rowsOf(nodes);
        return rows.empty() ? "select n.part, n.id from node n where n.part < 0" : rows;
    };
    if (const auto *kept = std::get_if<KeptPairs>(&pairs_.made))
        return "select x.part, x.path as c, x.id as k from setnode x where x.number = " +
               statement_.bind(kept->rows->number()) + " and (x.part, x.id) in (" + among() + ")";
    if (const auto *at = std::get_if<PairsAtPlace>(&pairs_.made)) {
        return "select x.part, x.c, x.k from (" + positions(*at->pairs, at->relation, at->place) +
               ") x where (x.part, x.k) in (" + among() + ")";
    }
    return siblings(nodes);
}

std::string Selection::pairsOfBoth(const CommonPairs &common, const PathSet &nodes) {
    return "select u.part, u.c, u.k from (select s.part, s.c, s.k, 1 as b from (" +
           pairs(*common.a, nodes) + ") s union all select s.part, s.c, s.k, 2 from (" +
           pairs(*common.b, nodes) + ") s) u group by u.part, u.c, u.k having bit_or(u.b) = 3";
}

std::string Selection::pairs(const StepPairs &step, const PathSet &nodes) {
    std::string text;
    switch (traitsOf(step.axis).region) {
        case Region::none:
        case Region::below:
            text = pairsDown(step, nodes);
            break;
        case Region::above:
            text = pairsUp(step, nodes);
            break;
        case Region::siblingsAfter:
        case Region::siblingsBefore:
        case Region::after:
        case Region::before:
            text = pairsBeside(step, nodes);
            break;
    }
    return text.empty() ? noPairs : text;
}

std::string Selection::pairsDown(const StepPairs &step, const PathSet &nodes) {
    std::string text;
    for (const PathGroup &group : groupsOf(nodes, summary_, Levels::apart)) {
        const AxisStep on{step.axis, step.withAttributes};
        for (const auto &[level, at] : levelsOf(summary_, on, group, *step.from, true)) {
            std::string where = condition(group.predicate, at.group);
            if (!allWhole(at.above))
                where += (where.empty() ? "(n.part, " : " and (n.part, ") +
                         keyOf(group.level, level) + ") in (" + keys(at.above, level) + ")";
            append(text, "select n.part, " + keyOf(group.level, level) + " as c, n.id as k" +
                             base(at.group, false, where));
        }
    }
    return text;
}

std::string Selection::pairsUp(const StepPairs &step, const PathSet &nodes) {
    std::string text;
    for (const PathGroup &group : groupsOf(*step.from, summary_, Levels::apart)) {
        const AxisStep on{step.axis, step.withAttributes};
        for (const auto &[level, at] : levelsOf(summary_, on, group, nodes, false)) {
            std::string where = condition(group.predicate, at.group);
            if (!allWhole(at.above))
                where += (where.empty() ? "(n.part, " : " and (n.part, ") +
                         keyOf(group.level, level) + ") in (" + keys(at.above, level) + ")";
            append(text, "select n.part, n.id as c, " + keyOf(group.level, level) + " as k" +
                             base(at.group, false, where));
        }
    }
    return text;
}

std::string Selection::besideRows(const PathSet &set, const std::string &around,
                                  const std::string &own, bool withAttributes) {
    std::string text;
    for (const PathGroup &group : groupsOf(set, summary_, Levels::apart)) {
        if (group.level == 0 || (group.isAttribute && !withAttributes)) continue;
        append(text, "select n.part, n." + around + " as g, n." + own + " as i, n.id as k" +
                         base(group, false, condition(group.predicate, group)));
    }
    return text;
}

std::string Selection::pairsBeside(const StepPairs &step, const PathSet &nodes) {
    const AxisTraits &axis = traitsOf(step.axis);
    const bool goesOn = axis.region == Region::siblingsAfter || axis.region == Region::after;
    const std::string around = axis.isSibling() ? "parent" : "doc";
    const std::string end = axis.isSibling() ? "id" : "last";
    const std::string contexts =
        besideRows(*step.from, around, goesOn ? end : "id", !axis.isSibling());
    const std::string targets = besideRows(nodes, around, goesOn ? "id" : end, false);
    if (contexts.empty() || targets.empty()) return {};
    return "select s.part, s.k as c, t.k from (" + contexts + ") s inner join (" + targets +
           ") t on s.part = t.part and s.g = t.g where t.i " + (goesOn ? "> s.i" : "< s.i");
}

std::string Selection::siblings(const PathSet &nodes) {
    std::string text;
    for (const PathGroup &group : groupsOf(nodes, summary_, Levels::whereNeeded))
        append(text, "select n.part, n.parent as c, n.id as k" +
                         base(group, false, condition(group.predicate, group)));
    return text.empty() ? noPairs : text;
}

}  // namespace zdbs::sql
