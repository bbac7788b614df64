#include "zdbs/embedded/fragments/path_fragments.h"

#include <iterator>

#include "zdbs/embedded/tree/ascending_numbers.h"

namespace zdbs::embedded {
namespace {

bool isDownwards(const AxisTraits &axis) {
    return axis.region == Region::below || (axis.region == Region::none && axis.withSelf);
}

}  // namespace

PathMatch::PathMatch(NodeReader &reader, NodeId match)
    : node(match), last(match), path(reader.pathOf(match)) {
    const Path &entry = reader.summary()[path];
    if (entry.kind == NodeKind::element) last = reader.lastBelow(path, match);
    isRegular = entry.isRegular && !reader.hasIrregular(match, last);
}

bool PathFragments::goesDown(const FragmentSpec &spec) {
    return std::all_of(spec.begin(), spec.end(), [](const FragmentPath &path) {
        return std::all_of(path.begin(), path.end(), [](const FragmentStep &step) {
            return isDownwards(traitsOf(step.axis)) && step.filters.empty();
        });
    });
}

const std::vector<PathId> &PathFragments::reachedFrom(PathId path) {
    if (path == lastFrom_) return *lastReached_;
    const auto known = reached_.find(path);
    lastReached_ = known != reached_.end()
                       ? &known->second
                       : &reached_.emplace(path, findReached(path)).first->second;
    lastFrom_ = path;
    return *lastReached_;
}

std::vector<PathId> PathFragments::findReached(PathId path) const {
    std::vector<PathId> all;
    for (const FragmentPath &alternative : spec_) {
        std::vector<PathId> paths{path};
        for (const FragmentStep &step : alternative) {
            std::vector<PathId> reached;
            for (const PathId from : paths)
                addStep(step, from, reached);
            sortUnique(reached);
            paths = std::move(reached);
        }
        all.insert(all.end(), paths.begin(), paths.end());
    }
    sortUnique(all);
    return all;
}

void PathFragments::addStep(const FragmentStep &step, PathId from,
                            std::vector<PathId> &reached) const {
    const AxisTraits &axis = traitsOf(step.axis);
    if (axis.withSelf && passes(step, from)) reached.push_back(from);
    if (axis.region != Region::below) return;
    if (!axis.isDirect) return addBelow(step, from, reached);
    for (const PathId child : reader_.summary().children(from)) {
        const bool isAttribute = reader_.summary()[child].kind == NodeKind::attribute;
        if (isAttribute == axis.toAttributes && passes(step, child)) reached.push_back(child);
    }
}

/** Attributes are on no axis but their own. */
void PathFragments::addBelow(const FragmentStep &step, PathId from,
                             std::vector<PathId> &reached) const {
    std::vector<PathId> ahead{from};
    while (!ahead.empty()) {
        const PathId above = ahead.back();
        ahead.pop_back();
        for (const PathId path : reader_.summary().children(above)) {
            if (reader_.summary()[path].kind == NodeKind::attribute) continue;
            if (passes(step, path)) reached.push_back(path);
            ahead.push_back(path);
        }
    }
}

bool PathFragments::passes(const FragmentStep &step, PathId path) const {
    const Path &entry = reader_.summary()[path];
    const auto kind = step.test.kindOn(traitsOf(step.axis));
    if (kind && entry.kind != *kind) return false;
    return !step.test.asksForName() || step.test.allows(reader_.table().nameOf(entry.name));
}

}  // namespace zdbs::embedded
