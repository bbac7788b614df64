#include "zdbs/sql/axes.h"

#include <functional>
#include <tuple>

namespace zdbs::sql {
namespace {

/** One side of a step answers, and the other one is met. */
class VerticalJoin {
public:
    VerticalJoin(const Summary &summary, AxisStep step, const PathSet &answers,
                 const PathSet &others, bool ofTargets)
        : summary_(summary),
          step_(step),
          answers_(answers),
          others_(others),
          ofTargets_(ofTargets),
          othersAreAbove_(ofTargets == (traitsOf(step.axis).region != Region::above)) {}

    PathSet result() {
        findPartners();
        for (const auto &[path, partners] : partners_)
            group(path, partners);
        for (const auto &[key, group] : groups_)
            finish(key, group);
        return std::move(result_);
    }

private:
    struct Key {
        int level;
        bool isAttribute;  ///< which are below nothing but themselves on some axes
        PredicatePtr own;
        bool hasSelf;
        PredicatePtr self;  ///< of the same path on the other side

        auto tie() const { return std::tie(level, isAttribute, own, hasSelf, self); }
        bool operator<(const Key &other) const { return tie() < other.tie(); }
    };
    struct Group {
        std::vector<PathNumber> paths;
        PathSet partners;  ///< above or below
    };

    void offer(PathNumber answer, PathNumber other) {
        const bool isRelated = ofTargets_ ? canRelate(summary_, step_, other, answer)
                                          : canRelate(summary_, step_, answer, other);
        if (isRelated) partners_[answer].push_back(other);
    }

    /** Goes up from whatever is below. */
    void findPartners() {
        const PathSet &below = othersAreAbove_ ? answers_ : others_;
        const PathSet &above = othersAreAbove_ ? others_ : answers_;
        for (const auto &[path, predicate] : below) {
            for (PathNumber up = path; up != noPath; up = summary_[up].key.parent) {
                if (!above.contains(up)) continue;
                if (othersAreAbove_)
                    offer(path, up);
                else
                    offer(up, path);
            }
        }
    }

    /** What is below a whole path has a node of it above. */
    bool isCertain(PathNumber path, PathNumber partner) const {
        return (othersAreAbove_ || partner == path) && !others_.at(partner);
    }

    void group(PathNumber path, const std::vector<PathNumber> &partners) {
        const PredicatePtr &own = answers_.at(path);
        Key key{summary_[path].level, summary_[path].isAttribute(), own, false, nullptr};
        for (const PathNumber partner : partners) {
            if (isCertain(path, partner)) {
                result_.emplace(path, own);
                return;
            }
            if (partner != path) continue;
            key.hasSelf = true;
            key.self = others_.at(partner);
        }
        Group &group = groups_[key];
        group.paths.push_back(path);
        for (const PathNumber partner : partners) {
            if (partner != path) group.partners.emplace(partner, others_.at(partner));
        }
    }

    void finish(const Key &key, const Group &group) {
        std::vector<PredicatePtr> met;
        if (key.hasSelf) met.push_back(key.self);
        std::map<int, PathSet> levels;
        for (const auto &[path, predicate] : group.partners)
            levels[othersAreAbove_ ? summary_[path].level : key.level].emplace(path, predicate);
        for (auto &[level, set] : levels)
            met.push_back(predicate(MeetsTest{level, std::make_shared<PathSet>(std::move(set))}));
        PredicatePtr any = met.front();
        for (const PredicatePtr &each : met)
            any = either(any, each);
        const PredicatePtr made = both(key.own, any);
        for (const PathNumber path : group.paths)
            result_.emplace(path, made);
    }

    const Summary &summary_;
    AxisStep step_;
    const PathSet &answers_;
    const PathSet &others_;
    bool ofTargets_;
    bool othersAreAbove_;
    std::map<PathNumber, std::vector<PathNumber>> partners_;
    std::map<Key, Group> groups_;
    PathSet result_;
};

/** Beside each other: the lowest or the highest number on the other side decides. */
PathSet beside(const Summary &summary, AxisStep step, const PathSet &answers, const PathSet &others,
               bool ofTargets) {
    const AxisTraits &axis = traitsOf(step.axis);
    const bool goesOn = axis.region == Region::siblingsAfter || axis.region == Region::after;
    BoundTest test;
    test.inParent = axis.isSibling();
    test.isBelow = goesOn != ofTargets;
    // Of two nodes that follow each other the first one's end counts, but for siblings.
    test.ownLast = !test.inParent && test.isBelow;
    test.otherLast = !test.inParent && !test.isBelow;
    std::map<PredicatePtr, std::pair<std::vector<PathNumber>, PathSet>> groups;
    std::map<PathNumber, PathSet> byParent;
    for (const auto &[path, predicate] : others)
        byParent[test.inParent ? summary[path].key.parent : noPath].emplace(path, predicate);
    for (const auto &[path, predicate] : answers) {
        const auto found = byParent.find(test.inParent ? summary[path].key.parent : noPath);
        if (found == byParent.end()) continue;
        bool isRelated = false;
        auto &[paths, partners] = groups[predicate];
        for (const auto &[other, otherPredicate] : found->second) {
            const bool can = ofTargets ? canRelate(summary, step, other, path)
                                       : canRelate(summary, step, path, other);
            if (can) partners.emplace(other, otherPredicate);
            isRelated = isRelated || can;
        }
        if (isRelated) paths.push_back(path);
    }
    PathSet result;
    for (auto &[own, group] : groups) {
        if (group.first.empty()) continue;
        test.set = std::make_shared<PathSet>(std::move(group.second));
        const PredicatePtr made = both(own, predicate(test));
        for (const PathNumber path : group.first)
            result.emplace(path, made);
    }
    return result;
}

PathSet related(const Summary &summary, AxisStep step, const PathSet &answers,
                const PathSet &others, bool ofTargets) {
    switch (traitsOf(step.axis).region) {
        case Region::none:
            return traitsOf(step.axis).withSelf ? intersection(answers, others) : PathSet();
        case Region::below:
        case Region::above:
            return VerticalJoin(summary, step, answers, others, ofTargets).result();
        case Region::siblingsAfter:
        case Region::siblingsBefore:
        case Region::after:
        case Region::before:
            return beside(summary, step, answers, others, ofTargets);
    }
    return {};
}

bool isAbove(const Summary &summary, PathNumber upper, PathNumber lower, bool isDirect) {
    if (isDirect) return summary[lower].key.parent == upper;
    return upper != lower && summary[upper].level < summary[lower].level &&
           summary.above(lower, summary[upper].level) == upper;
}

}  // namespace

PathSet leadingTo(const Summary &summary, AxisStep step, const PathSet &contexts,
                  const PathSet &targets) {
    return related(summary, step, contexts, targets, false);
}

PathSet reachedFrom(const Summary &summary, AxisStep step, const PathSet &contexts,
                    const PathSet &targets) {
    return related(summary, step, targets, contexts, true);
}

bool canRelate(const Summary &summary, AxisStep step, PathNumber context, PathNumber target) {
    const AxisTraits &axis = traitsOf(step.axis);
    const Path &from = summary[context];
    const Path &to = summary[target];
    if (axis.withSelf && context == target) return true;
    switch (axis.region) {
        case Region::none:
            return false;
        case Region::below: {
            const bool isKind = step.withAttributes || to.isAttribute() == axis.toAttributes;
            return isKind && isAbove(summary, context, target, axis.isDirect);
        }
        case Region::above:
            return isAbove(summary, target, context, axis.isDirect);
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return !from.isRoot() && !from.isAttribute() && !to.isAttribute() &&
                   from.key.parent == to.key.parent;
        case Region::after:
        case Region::before:
            return !from.isRoot() && !to.isRoot() && !to.isAttribute();
    }
    return false;
}

}  // namespace zdbs::sql
