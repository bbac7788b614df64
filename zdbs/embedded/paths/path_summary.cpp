#include "zdbs/embedded/paths/path_summary.h"

#include <cassert>

namespace zdbs::embedded {

void PathSummary::add(const Path &path) {
    const auto id = static_cast<PathId>(paths_.size());
    assert(path.parent == noPath || path.parent < id);
    paths_.push_back(path);
    children_.emplace_back();
    if (!path.isRegular) {
        irregular_.push_back(id);
    } else if (path.parent == noPath) {
        top_.push_back(id);
    } else {
        children_[path.parent].push_back(id);
    }
}

bool PathSummary::isBelow(PathId below, PathId above) const {
    if (paths_[below].level <= paths_[above].level) return false;
    while (paths_[below].level > paths_[above].level)
        below = paths_[below].parent;
    return below == above;
}

}  // namespace zdbs::embedded
