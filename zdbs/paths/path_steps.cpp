/** What the summary alone says of a step: which paths it can lead from and to. */
#include <algorithm>

#include "zdbs/paths/path_join.h"

namespace zdbs {
namespace {

using PathSpan = std::span<const PathId>;
using Marks = std::vector<bool>;  ///< by path

bool isDirect(Axis axis) {
    return axis == Axis::child || axis == Axis::attribute || axis == Axis::parent;
}

/** Decides for one summary. What is irregular may be anywhere below an element. */
class PathSteps {
public:
    explicit PathSteps(const PathSummary &summary) : summary_(summary) {}

    Marks marked(PathSpan paths) const {
        Marks result(summary_.size());
        for (PathId path : paths)
            result[path] = true;
        return result;
    }

    /** Paths below one of `high`, or of the roots. */
    Marks below(PathSpan high, bool roots, bool direct) const {
        Marks isHigh = marked(high);
        Marks result(summary_.size());
        const bool hasElement =
            std::any_of(high.begin(), high.end(), [this](PathId path) { return isElement(path); });
        for (PathId path = 0; path < result.size(); ++path) {
            const PathId parent = summary_[path].parent;
            if (!summary_[path].isRegular) {
                result[path] = roots || hasElement;
            } else if (parent == noPath) {
                result[path] = roots;
            } else {
                result[path] = isHigh[parent] || (!direct && result[parent]);
            }
        }
        return result;
    }

    /** Paths above one of `low`. */
    Marks above(PathSpan low, bool direct) const {
        Marks result(summary_.size());
        for (PathId path : low) {
            if (!summary_[path].isRegular) return elements();
            for (PathId up = summary_[path].parent; up != noPath; up = summary_[up].parent) {
                // What is above a marked path of this loop is marked too.
                if (!direct && result[up]) break;
                result[up] = true;
                if (direct) break;
            }
        }
        return result;
    }

    /** Paths whose nodes can be siblings of nodes of `paths`. */
    Marks besides(PathSpan paths) const {
        Marks isParent(summary_.size() + 1);
        bool hasIrregular = false;
        for (PathId path : paths) {
            if (isAttribute(path)) continue;
            isParent[parentPlace(path)] = true;
            hasIrregular = hasIrregular || !summary_[path].isRegular;
        }
        const bool hasAny = std::find(isParent.begin(), isParent.end(), true) != isParent.end();
        Marks result(summary_.size());
        for (PathId path = 0; path < result.size(); ++path) {
            const bool isLoose = hasIrregular || !summary_[path].isRegular;
            result[path] = !isAttribute(path) && (isLoose ? hasAny : isParent[parentPlace(path)]);
        }
        return result;
    }

    bool isAttribute(PathId path) const { return summary_[path].kind == NodeKind::attribute; }

    /** Whether a step can end at nodes of a path, wherever it begins. */
    bool canEndAt(Step step, PathId path) const {
        switch (step.axis) {
            case Axis::attribute:
                return isAttribute(path);
            case Axis::child:
                return step.attributesAreChildren || !isAttribute(path);
            case Axis::descendant:
            case Axis::following:
            case Axis::preceding:
                return !isAttribute(path);
            default:
                return true;
        }
    }

    std::vector<PathId> endsOf(Step step, PathSpan paths) const {
        std::vector<PathId> result;
        std::copy_if(paths.begin(), paths.end(), std::back_inserter(result),
                     [&](PathId path) { return canEndAt(step, path); });
        return result;
    }

private:
    bool isElement(PathId path) const { return summary_[path].kind == NodeKind::element; }

    Marks elements() const {
        Marks result(summary_.size());
        for (PathId path = 0; path < result.size(); ++path)
            result[path] = isElement(path);
        return result;
    }

    /** The top counts as one more path. */
    std::size_t parentPlace(PathId path) const {
        const PathId parent = summary_[path].parent;
        return parent == noPath ? summary_.size() : parent;
    }

    const PathSummary &summary_;
};

std::vector<PathId> chosen(PathSpan paths, const Marks &marks) {
    std::vector<PathId> result;
    std::copy_if(paths.begin(), paths.end(), std::back_inserter(result),
                 [&](PathId path) { return marks[path]; });
    return result;
}

void unite(Marks &marks, const Marks &others) {
    for (std::size_t i = 0; i < marks.size(); ++i)
        marks[i] = marks[i] || others[i];
}

}  // namespace

std::vector<PathId> pathsReached(const PathSummary &summary, Step step, PathSpan first, bool roots,
                                 PathSpan second) {
    const PathSteps steps(summary);
    if (first.empty() && !roots) return {};
    switch (step.axis) {
        case Axis::child:
        case Axis::attribute:
        case Axis::descendant:
            return chosen(steps.endsOf(step, second),
                          steps.below(first, roots, isDirect(step.axis)));
        case Axis::descendantOrSelf: {
            const Step down{Axis::descendant};
            Marks marks = steps.marked(pathsReached(summary, down, first, roots, second));
            unite(marks, steps.marked(first));
            return chosen(second, marks);
        }
        case Axis::self:
            return chosen(second, steps.marked(first));
        case Axis::parent:
        case Axis::ancestor:
            return chosen(second, steps.above(first, isDirect(step.axis)));
        case Axis::ancestorOrSelf: {
            Marks marks = steps.above(first, false);
            unite(marks, steps.marked(first));
            return chosen(second, marks);
        }
        case Axis::followingSibling:
        case Axis::precedingSibling:
            return chosen(second, steps.besides(first));
        case Axis::following:
        case Axis::preceding:
            return first.empty() ? std::vector<PathId>() : steps.endsOf(step, second);
        case Axis::namespaceNode:
            break;
    }
    return {};
}

std::vector<PathId> pathsReaching(const PathSummary &summary, Step step, PathSpan first,
                                  PathSpan second) {
    const PathSteps steps(summary);
    switch (step.axis) {
        case Axis::child:
        case Axis::attribute:
        case Axis::descendant:
            return chosen(first, steps.above(steps.endsOf(step, second), isDirect(step.axis)));
        case Axis::descendantOrSelf: {
            Marks marks = steps.above(steps.endsOf({Axis::descendant}, second), false);
            unite(marks, steps.marked(second));
            return chosen(first, marks);
        }
        case Axis::self:
            return chosen(first, steps.marked(second));
        case Axis::parent:
        case Axis::ancestor:
            return chosen(first, steps.below(second, false, isDirect(step.axis)));
        case Axis::ancestorOrSelf: {
            Marks marks = steps.below(second, false, false);
            unite(marks, steps.marked(second));
            return chosen(first, marks);
        }
        case Axis::followingSibling:
        case Axis::precedingSibling:
            return chosen(first, steps.besides(second));
        case Axis::following:
        case Axis::preceding:
            return steps.endsOf(step, second).empty()
                       ? std::vector<PathId>()
                       : std::vector<PathId>(first.begin(), first.end());
        case Axis::namespaceNode:
            break;
    }
    return {};
}

}  // namespace zdbs
