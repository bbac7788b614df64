#include "zdbs/embedded/store/path_dictionary.h"

#include <utility>

namespace zdbs::embedded {

void PathDictionary::addStored(const Path &path) {
    const auto id = static_cast<PathId>(paths_.size());
    paths_.push_back(path);
    if (path.isRegular)
        insert(keyOf(path.parent, path.kind, path.name), id);
    else
        irregular_[static_cast<std::size_t>(path.kind)] = id;
}

PathId PathDictionary::addChild(PathId parent, NodeKind kind, std::uint32_t name) {
    if (parent != noPath && !paths_[parent].isRegular) return irregular(kind);
    const std::uint32_t level = parent == noPath ? 1 : paths_[parent].level + 1;
    if (level > limits_.levels || paths_.size() >= limits_.paths) return irregular(kind);
    addStored({parent, kind, name, level, true});
    return static_cast<PathId>(paths_.size() - 1);
}

PathId PathDictionary::irregular(NodeKind kind) {
    const PathId &known = irregular_[static_cast<std::size_t>(kind)];
    if (known == noPath) addStored({noPath, kind, noName, 0, false});
    return known;
}

void PathDictionary::truncate(std::size_t size) {
    if (size >= paths_.size()) return;
    std::vector<Path> kept(paths_.begin(), paths_.begin() + static_cast<std::ptrdiff_t>(size));
    paths_.clear();
    irregular_.fill(noPath);
    slots_.assign(slots_.size(), {});
    used_ = 0;
    for (const Path &path : kept)
        addStored(path);
}

void PathDictionary::insert(Key key, PathId path) {
    if (2 * (used_ + 1) > slots_.size()) rebuild(2 * slots_.size());
    std::size_t place = placeOf(key);
    while (slots_[place].key != 0)
        place = (place + 1) & (slots_.size() - 1);
    slots_[place] = {key, path};
    ++used_;
}

void PathDictionary::rebuild(std::size_t slots) {
    const std::vector<Slot> before = std::exchange(slots_, std::vector<Slot>(slots));
    used_ = 0;
    for (const Slot &slot : before) {
        if (slot.key != 0) insert(slot.key, slot.path);
    }
}

}  // namespace zdbs::embedded
