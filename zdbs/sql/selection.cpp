#include "zdbs/sql/selection.h"

#include <algorithm>
#include <map>

namespace zdbs::sql {
namespace {

const MeetsTest *ownMeets(const PathGroup &group) {
    if (!group.predicate) return nullptr;
    const auto *meets = std::get_if<MeetsTest>(&group.predicate->test);
    return meets && meets->level == group.level ? meets : nullptr;
}

bool isOperation(const Predicate &predicate) {
    return std::holds_alternative<Both>(predicate.test) ||
           std::holds_alternative<Either>(predicate.test) ||
           std::holds_alternative<Neither>(predicate.test);
}

/** Conjunctions of what is local and one question that is not. */
struct Simple {
    std::vector<PredicatePtr> local;
    PredicatePtr other = nullptr;
};

bool split(const PredicatePtr &predicate, Simple &simple) {
    const auto *all = std::get_if<Both>(&predicate->test);
    const std::vector<PredicatePtr> sides = all ? all->sides : std::vector{predicate};
    for (const PredicatePtr &each : sides) {
        if (each->isLocal) {
            simple.local.push_back(each);
            continue;
        }
        if (simple.other || isOperation(*each)) return false;
        simple.other = each;
    }
    return true;
}

/** Whether a row passes that no question is answered with yes for. */
bool passesUnasked(const Predicate &predicate) {
    const auto unasked = [](const PredicatePtr &each) { return passesUnasked(*each); };
    if (predicate.isLocal) return false;
    if (const auto *all = std::get_if<Both>(&predicate.test))
        return std::all_of(all->sides.begin(), all->sides.end(), unasked);
    if (const auto *any = std::get_if<Either>(&predicate.test))
        return std::any_of(any->sides.begin(), any->sides.end(), unasked);
    const auto *none = std::get_if<Neither>(&predicate.test);
    return none && !passesUnasked(*none->side);
}

void append(std::string &text, const std::string &word, const std::string &more) {
    if (more.empty()) return;
    if (!text.empty()) text += word;
    text += more;
}

/** The paths of a set that are, or are below, some paths of a level. */
PathSet below(const Summary &summary, const PathSet &set, const PathGroup &group) {
    PathSet result;
    for (const auto &[path, predicate] : set) {
        if (summary[path].level < group.level) continue;
        const PathNumber above = summary.above(path, group.level);
        if (std::binary_search(group.paths.begin(), group.paths.end(), above))
            result.emplace(path, predicate);
    }
    return result;
}

}  // namespace

std::string signOf(Relation relation) {
    for (const ComparisonWords &each : comparisonTable) {
        if (each.relation == relation) return std::string(each.sign);
    }
    return {};
}

std::string Selection::keyOf(int nodeLevel, int level) const {
    if (level == nodeLevel) return "n.id";
    if (level == 0) return "n.doc";
    if (level == nodeLevel - 1) return "n.parent";
    return "n.a" + std::to_string(level);
}

/** Neighbours make a range: a database has thousands of paths. */
std::string Selection::inPaths(const std::vector<PathNumber> &paths) const {
    std::string single;
    std::string ranges;
    for (std::size_t first = 0; first < paths.size();) {
        std::size_t last = first;
        while (last + 1 < paths.size() && paths[last + 1] == paths[last] + 1)
            ++last;
        if (last - first < 4)
            for (; first <= last; ++first)
                append(single, ", ", std::to_string(paths[first]));
        else
            append(ranges, " or ",
                   "n.path between " + std::to_string(paths[first]) + " and " +
                       std::to_string(paths[last]));
        first = last + 1;
    }
    if (ranges.empty()) return "n.path in (" + single + ")";
    if (!single.empty()) ranges += " or n.path in (" + single + ")";
    return "(" + ranges + ")";
}

std::string Selection::limited(const std::string &alias, bool isLast) {
    if (!isLast || !limits_) return {};
    std::string text;
    for (const RowRange &each : *limits_)
        append(text, " or ",
               "(" + alias + ".part = " + std::to_string(each.part) + " and " + alias +
                   ".id between " + std::to_string(each.first) + " and " +
                   std::to_string(each.last) + ")");
    return text.empty() ? alias + ".part < 0" : "(" + text + ")";
}

std::string Selection::base(const PathGroup &group, bool isLast, const std::string &more) {
    std::string where = inPaths(group.paths);
    append(where, " and ", more);
    append(where, " and ", limited("n", isLast));
    return " from node n where " + where;
}

std::string Selection::fromGroup(const PathGroup &group) {
    return base(group, true, condition(group.predicate, group));
}

std::string Selection::rowsOf(const PathSet &set) {
    std::string text;
    for (const PathGroup &group : groupsOf(set, summary_, Levels::whereNeeded))
        append(text, " union all ", own(group, true));
    return text;
}

std::string Selection::rowsOf(const PathGroup &group) {
    return own(group, true);
}

/** A node that was met is told for each that meets it. */
std::string Selection::countOf(const PathGroup &group, int code) {
    const std::string count = "select " + std::to_string(code) + " as c, count(*) as n";
    if (!group.predicate || group.predicate->isLocal) return count + fromGroup(group);
    std::string rows = own(group, true);
    if (ownMeets(group)) rows = "select u.part, u.k from (" + rows + ") u group by u.part, u.k";
    return count + " from (" + rows + ") v";
}

/** Levels that have the key in one column are asked together, where the question is the same. */
std::string Selection::keys(const PathSet &set, int level, bool isLast) {
    std::map<std::pair<PredicatePtr, std::string>, PathGroup> together;
    std::string text;
    for (const PathGroup &group : groupsOf(set, summary_, Levels::apart)) {
        if (group.predicate && group.predicate->hasLevel) {
            append(text, " union all ", keys(group, level, isLast));
            continue;
        }
        PathGroup &joined =
            together.try_emplace({group.predicate, keyOf(group.level, level)}, group).first->second;
        if (joined.paths.front() != group.paths.front())
            joined.paths.insert(joined.paths.end(), group.paths.begin(), group.paths.end());
    }
    for (auto &[key, group] : together) {
        std::sort(group.paths.begin(), group.paths.end());
        append(text, " union all ", keys(group, level, isLast));
    }
    return text.empty() ? "select n.part, n.id as k from node n where n.part < 0" : text;
}

/** Who meets nodes at a level meets what these met there, and no row between is looked at. */
std::string Selection::keys(const PathGroup &group, int level, bool isLast) {
    if (group.level == level) return own(group, isLast);
    if (const MeetsTest *meets = ownMeets(group))
        return keys(below(summary_, *meets->set, group), level, isLast);
    return "select n.part, " + keyOf(group.level, level) + " as k" +
           base(group, isLast, condition(group.predicate, group));
}

std::string Selection::own(const PathGroup &group, bool isLast) {
    if (const MeetsTest *meets = ownMeets(group))
        return keys(below(summary_, *meets->set, group), group.level, isLast);
    Simple simple;
    if (group.predicate && !split(group.predicate, simple))
        return pass(group.predicate, group, isLast);
    if (simple.other && simple.local.empty()) return rowsOfAtom(*simple.other, group, isLast);
    return "select n.part, n.id as k" + base(group, isLast, condition(group.predicate, group));
}

std::string Selection::condition(const PredicatePtr &predicate, const PathGroup &group) {
    if (!predicate) return {};
    if (predicate->isLocal) return local(*predicate);
    Simple simple;
    if (!split(predicate, simple))
        return "(n.part, n.id) in (" + pass(predicate, group, false) + ")";
    std::string text;
    for (const PredicatePtr &each : simple.local)
        append(text, " and ", local(*each));
    append(text, " and ", member(*simple.other, group));
    return text;
}

/** REQUIRES a predicate that is neither local nor an operation. */
std::string Selection::member(const Predicate &predicate, const PathGroup &group) {
    if (const auto *meets = std::get_if<MeetsTest>(&predicate.test))
        return "(n.part, " + keyOf(group.level, meets->level) + ") in (" +
               keys(meets->level == group.level ? below(summary_, *meets->set, group) : *meets->set,
                    meets->level) +
               ")";
    if (const auto *place = std::get_if<PlaceTest>(&predicate.test))
        return "(n.part, n.id) in (" + placed(*place) + ")";
    return "(n.part, n.id) in (" + rowsOfAtom(predicate, group, false) + ")";
}

std::string Selection::rowsOfAtom(const Predicate &predicate, const PathGroup &group, bool isLast) {
    if (const auto *bound = std::get_if<BoundTest>(&predicate.test))
        return rowsInBounds(*bound, group, isLast);
    if (const auto *kept = std::get_if<KeptTest>(&predicate.test)) {
        std::string text = "select n.part, n.id as k from setnode n where n.number = " +
                           statement_.bind(kept->rows->number()) + " and " + inPaths(group.paths);
        append(text, " and ", limited("n", isLast));
        return text;
    }
    return "select n.part, n.id as k" + base(group, isLast, member(predicate, group));
}

std::string Selection::rowsInBounds(const BoundTest &test, const PathGroup &group, bool isLast) {
    const std::string around = test.inParent ? "parent" : "doc";
    const std::string other = test.otherLast ? "last" : "id";
    std::string others;
    for (const PathGroup &each : groupsOf(*test.set, summary_, Levels::whereNeeded))
        append(others, " union all ",
               "select n.part, n." + around + " as g, n." + other + " as b" +
                   base(each, false, condition(each.predicate, each)));
    std::string where = inPaths(group.paths);
    append(where, " and ", limited("n", isLast));
    return "select n.part, n.id as k from node n inner join (select u.part, u.g, " +
           std::string(test.isBelow ? "max" : "min") + "(u.b) as b from (" + others +
           ") u group by u.part, u.g) q on n.part = q.part and n." + around + " = q.g where " +
           (test.ownLast ? "n.last" : "n.id") + (test.isBelow ? " < q.b" : " > q.b") + " and " +
           where;
}

/**
 * Several questions about one node: each yields its rows with a bit, and what bits came together
 * answers whatever is made of them by and, or, not. It is one pass, whatever the planner believes.
 */
std::string Selection::pass(const PredicatePtr &predicate, const PathGroup &group, bool isLast) {
    std::vector<Branch> branches;
    const std::string test = having(predicate, branches);
    std::string text;
    if (passesUnasked(*predicate))
        text = "select n.part, n.id as k, 0 as b" + base(group, isLast, {});
    for (const Branch &branch : branches) {
        PathGroup asked = group;
        asked.predicate = branch.predicate;
        append(text, " union all ",
               "select w.part, w.k, " + branch.bit + " as b from (" + own(asked, isLast) + ") w");
    }
    return "select u.part, u.k from (" + text + ") u group by u.part, u.k having " + test;
}

std::string Selection::having(const PredicatePtr &predicate, std::vector<Branch> &branches) {
    const auto joined = [&](const std::vector<PredicatePtr> &sides, const std::string &word) {
        std::string text;
        for (const PredicatePtr &each : sides)
            append(text, word, having(each, branches));
        return "(" + text + ")";
    };
    if (!predicate->isLocal) {
        if (const auto *all = std::get_if<Both>(&predicate->test))
            return joined(all->sides, " and ");
        if (const auto *any = std::get_if<Either>(&predicate->test))
            return joined(any->sides, " or ");
        if (const auto *none = std::get_if<Neither>(&predicate->test))
            return "not " + having(none->side, branches);
    }
    const auto known = std::find_if(branches.begin(), branches.end(), [&](const Branch &each) {
        return each.predicate == predicate;
    });
    const std::string bit =
        known != branches.end() ? known->bit : std::to_string(std::int64_t{1} << branches.size());
    if (known == branches.end()) branches.push_back({predicate, bit});
    return "bit_or(u.b) & " + bit + " <> 0";
}

}  // namespace zdbs::sql
