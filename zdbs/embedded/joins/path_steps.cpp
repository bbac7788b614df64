/** What the summary alone says of a step: which paths it can lead from and to. */
#include <algorithm>
#include <iterator>

#include "zdbs/embedded/joins/path_join.h"
#include "zdbs/embedded/paths/path_numbers.h"
#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

using PathSpan = std::span<const PathId>;

/** Decides for one summary. What is irregular may be anywhere below an element. */
class PathSteps {
public:
    explicit PathSteps(const PathSummary &summary) : summary_(summary) {}

    /** The paths of `low` below one of `high`, or of the roots. */
    std::vector<PathId> below(PathSpan high, bool roots, bool direct, PathSpan low) const {
        PathMarks isHigh(summary_.size());
        bool hasElement = false;
        for (PathId path : high) {
            isHigh.add(path);
            hasElement = hasElement || isElement(path);
        }
        return chosen(low, [&](PathId path) {
            if (!summary_[path].isRegular) return roots || hasElement;
            PathId up = summary_[path].parent;
            if (up == noPath) return roots;
            if (!direct && roots) return true;
            while (!direct && up != noPath && !isHigh.has(up))
                up = summary_[up].parent;
            return up != noPath && isHigh.has(up);
        });
    }

    /** The paths of `high` above one of `low`. */
    std::vector<PathId> above(PathSpan low, bool direct, PathSpan high) const {
        PathMarks isAbove(summary_.size());
        for (PathId path : low) {
            if (!summary_[path].isRegular)
                return chosen(high, [this](PathId other) { return isElement(other); });
            // What is above a marked path of this loop is marked too.
            for (PathId up = summary_[path].parent; up != noPath && isAbove.add(up);
                 up = summary_[up].parent) {
                if (direct) break;
            }
        }
        return chosen(high, [&](PathId path) { return isAbove.has(path); });
    }

    /** The paths of `others` whose nodes can be siblings of nodes of `paths`. */
    std::vector<PathId> besides(PathSpan paths, PathSpan others) const {
        PathMarks isParent(summary_.size() + 1);
        bool hasIrregular = false;
        for (PathId path : paths) {
            if (isAttribute(path)) continue;
            isParent.add(parentPlace(path));
            hasIrregular = hasIrregular || !summary_[path].isRegular;
        }
        return chosen(others, [&](PathId path) {
            if (isAttribute(path)) return false;
            const bool isLoose = hasIrregular || !summary_[path].isRegular;
            return isLoose ? !isParent.paths().empty() : isParent.has(parentPlace(path));
        });
    }

    bool isAttribute(PathId path) const { return summary_[path].kind == NodeKind::attribute; }

    /** Whether a step down, forwards or backwards can end at nodes of a path. */
    bool canEndAt(Step step, PathId path) const {
        if (traitsOf(step.axis).toAttributes) return isAttribute(path);
        return step.attributesAreChildren || !isAttribute(path);
    }

    std::vector<PathId> endsOf(Step step, PathSpan paths) const {
        return chosen(paths, [&](PathId path) { return canEndAt(step, path); });
    }

private:
    template <typename Condition>
    static std::vector<PathId> chosen(PathSpan paths, Condition condition) {
        std::vector<PathId> result;
        std::copy_if(paths.begin(), paths.end(), std::back_inserter(result), condition);
        return result;
    }

    bool isElement(PathId path) const { return summary_[path].kind == NodeKind::element; }

    /** The top counts as one more path. */
    PathId parentPlace(PathId path) const {
        const PathId parent = summary_[path].parent;
        return parent == noPath ? static_cast<PathId>(summary_.size()) : parent;
    }

    const PathSummary &summary_;
};

/** pathsReached() without the nodes that are on both sides themselves. */
std::vector<PathId> reachedInRegion(const PathSummary &summary, Step step, PathSpan first,
                                    bool roots, PathSpan second) {
    const PathSteps steps(summary);
    const AxisTraits &axis = traitsOf(step.axis);
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return steps.below(first, roots, axis.isDirect, steps.endsOf(step, second));
        case Region::above:
            return steps.above(first, axis.isDirect, second);
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return steps.besides(first, second);
        case Region::after:
        case Region::before:
            return first.empty() ? std::vector<PathId>() : steps.endsOf(step, second);
    }
    return {};
}

/** pathsReaching() likewise. */
std::vector<PathId> reachingRegion(const PathSummary &summary, Step step, PathSpan first,
                                   PathSpan second) {
    const PathSteps steps(summary);
    const AxisTraits &axis = traitsOf(step.axis);
    switch (axis.region) {
        case Region::none:
            break;
        case Region::below:
            return steps.above(steps.endsOf(step, second), axis.isDirect, first);
        case Region::above:
            return steps.below(second, false, axis.isDirect, first);
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return steps.besides(second, first);
        case Region::after:
        case Region::before:
            return steps.endsOf(step, second).empty()
                       ? std::vector<PathId>()
                       : std::vector<PathId>(first.begin(), first.end());
    }
    return {};
}

std::vector<PathId> withSelf(Step step, std::vector<PathId> paths, PathSpan first,
                             PathSpan second) {
    if (!traitsOf(step.axis).withSelf) return paths;
    return merged(paths, common(first, second));
}

}  // namespace

std::vector<PathId> pathsReached(const PathSummary &summary, Step step, PathSpan first, bool roots,
                                 PathSpan second) {
    if (first.empty() && !roots) return {};
    return withSelf(step, reachedInRegion(summary, step, first, roots, second), first, second);
}

std::vector<PathId> pathsReaching(const PathSummary &summary, Step step, PathSpan first,
                                  PathSpan second) {
    return withSelf(step, reachingRegion(summary, step, first, second), first, second);
}

}  // namespace zdbs::embedded
