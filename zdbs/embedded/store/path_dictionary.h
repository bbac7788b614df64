/** The paths of a database while it is written. */
#ifndef ZDBS_EMBEDDED_STORE_PATH_DICTIONARY_H
#define ZDBS_EMBEDDED_STORE_PATH_DICTIONARY_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_summary.h"

namespace zdbs::embedded {

/** When nodes go to the irregular paths. */
struct PathLimits {
    std::uint32_t levels = 200;
    std::uint32_t paths = 65536;
};

/** Knows which path a node belongs to; makes new paths as they come. */
class PathDictionary {
public:
    explicit PathDictionary(const PathLimits &limits = {}) : limits_(limits), slots_(64) {}

    /** Takes over the next path of the database. */
    void addStored(const Path &path);

    /**
     * The path of the nodes of a kind and name below those of `parent`; noPath is the top
     * of a document, noName is of nodes without name.
     */
    PathId child(PathId parent, NodeKind kind, std::uint32_t name) {
        const Key key = keyOf(parent, kind, name);
        for (std::size_t place = placeOf(key);; place = (place + 1) & (slots_.size() - 1)) {
            if (slots_[place].key == key) return slots_[place].path;
            if (slots_[place].key == 0) return addChild(parent, kind, name);
        }
    }

    std::size_t size() const { return paths_.size(); }
    const Path &operator[](PathId path) const { return paths_[path]; }
    std::span<const Path> all() const { return paths_; }

    /** Forgets all paths from that number on. */
    void truncate(std::size_t size);

private:
    /** Parent, kind and name in one number; 0 is none. */
    using Key = std::uint64_t;
    struct Slot {
        Key key = 0;
        PathId path = noPath;
    };

    // A parent and 2, so that no key is 0; there are far fewer than 2^28 paths.
    static Key keyOf(PathId parent, NodeKind kind, std::uint32_t name) {
        return Key{parent + 2} << 35 | Key{static_cast<std::uint8_t>(kind)} << 32 | name;
    }
    std::size_t placeOf(Key key) const {
        return static_cast<std::size_t>(key * 0x9e3779b97f4a7c15 >> 32) & (slots_.size() - 1);
    }

    PathId addChild(PathId parent, NodeKind kind, std::uint32_t name);
    PathId irregular(NodeKind kind);
    void insert(Key key, PathId path);
    void rebuild(std::size_t slots);

    PathLimits limits_;
    std::vector<Path> paths_;
    std::array<PathId, 5> irregular_ = {noPath, noPath, noPath, noPath, noPath};
    std::vector<Slot> slots_;  ///< open addressing; a power of two, at most half full
    std::size_t used_ = 0;
};

}  // namespace zdbs::embedded

#endif
