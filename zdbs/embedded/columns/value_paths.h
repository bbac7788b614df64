/** An index from values to the paths that have them. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_PATHS_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_PATHS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/checked_blocks.h"
#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/values/value_key.h"

namespace zdbs::embedded {

/**
 * A view of an index over the values of many columns, one a path: it says which paths can have
 * a value of some key. Each pair of a key and a path is an entry of a few bits, a fingerprint of
 * the key and the number of the path. The entries lie in buckets by the first bits of their
 * keys, so that it is one bucket that is looked at, of about six entries. Every 40th time or so
 * it names a path that has no such value; one that has is never left out.
 *
 * The bytes must outlive the view and need no alignment. Damaged bytes give wrong paths, and
 * numbers of paths that there are not, but nothing outside the bytes is ever read. Any thread
 * may read.
 *
 * The bytes, all integers little-endian:
 *
 *     0   1   B, bits of the number of a bucket: the highest of a key
 *     1   1   F, bits of a fingerprint: the next ones of the key. B + F is at most 32
 *     2   1   P, bits of the number of a path. F + P is at most 32
 *     3   1   0
 *     4   4   S, bytes of the starts
 *     8   S   starts: packed column, for each bucket how many entries are in lesser ones; then
 *             how many there are
 *         ..  entries: packed column, by bucket, then ascending, none twice: the fingerprint,
 *             and in the lowest P bits the number of the path
 */
class ValuePaths {
public:
    /** How keys and paths are cut into bits. */
    struct Shape {
        std::uint32_t bucketBits = 0;
        std::uint32_t fingerprintBits = 0;
        std::uint32_t pathBits = 0;

        friend bool operator==(const Shape &, const Shape &) = default;
    };

    /** What suits so many entries of so many paths; of at least one. */
    static Shape shapeFor(std::size_t entries, std::size_t paths);

    /** An index of no values. */
    ValuePaths() = default;

    /** REQUIRES isWhole(bytes). Bytes behind the index are not looked at. */
    explicit ValuePaths(std::string_view bytes);

    /**
     * The same of bytes that `check` watches, and outlives this: they are verified when a key is
     * looked for, which then throws Failure: homeDamaged.
     */
    ValuePaths(std::string_view bytes, PartCheck &check) : ValuePaths(bytes) { check_ = &check; }

    /** Whether the bytes can be an index: its parts fit into it. Constant time. */
    static bool isWhole(std::string_view bytes);

    const Shape &shape() const { return shape_; }
    std::uint32_t size() const { return entries_.size(); }

    /** Calls `take` with each path that can have a value of this key, ascending. */
    template <typename Take>
    void forPathsOf(ValueKey key, Take take) const;

    /** Whether a path can have a value of this key. */
    bool has(ValueKey key, std::uint32_t path) const;

    /** An entry taken apart; of its key only the bits that are kept. */
    struct Entry {
        std::uint32_t bucket;
        std::uint32_t fingerprint;
        std::uint32_t path;

        friend auto operator<=>(const Entry &, const Entry &) = default;
    };

    /** All entries as they stand, each once; of a damaged index perhaps not all. */
    std::vector<Entry> entries() const;

private:
    /** Places of entries: `first` … `end` - 1. */
    struct Bucket {
        std::uint32_t first;
        std::uint32_t end;
    };

    Bucket bucket(std::uint32_t number) const;
    std::uint32_t bucketOf(ValueKey key) const;

    /** The fingerprint where it stands in an entry. */
    std::uint32_t fingerprintOf(ValueKey key) const;
    std::uint32_t pathMask() const { return lowBits(shape_.pathBits); }
    static std::uint32_t lowBits(std::uint32_t count) {
        return static_cast<std::uint32_t>((std::uint64_t{1} << count) - 1);
    }

    Shape shape_;
    PackedColumn starts_;
    PackedColumn entries_;
    PartCheck *check_ = nullptr;
};

/** Keys of the values that one path has, in any order; they may repeat. */
struct PathKeys {
    std::uint32_t path;
    std::span<const ValueKey> keys;
};

/** Appends the index of these. REQUIRES numbers of paths of at most shape.pathBits bits. */
void packValuePaths(std::span<const PathKeys> paths, const ValuePaths::Shape &shape,
                    std::string &bytes);

inline std::uint32_t ValuePaths::bucketOf(ValueKey key) const {
    return static_cast<std::uint32_t>(std::uint64_t{key} >> (32U - shape_.bucketBits));
}

inline std::uint32_t ValuePaths::fingerprintOf(ValueKey key) const {
    const std::uint32_t unused = 32U - shape_.bucketBits - shape_.fingerprintBits;
    const auto kept = static_cast<std::uint32_t>(std::uint64_t{key} >> unused);
    return static_cast<std::uint32_t>(std::uint64_t{kept & lowBits(shape_.fingerprintBits)}
                                      << shape_.pathBits);
}

inline ValuePaths::Bucket ValuePaths::bucket(std::uint32_t number) const {
    const std::uint32_t first = std::min(starts_.at(number), entries_.size());
    return {first, std::clamp(starts_.at(number + 1), first, entries_.size())};
}

template <typename Take>
void ValuePaths::forPathsOf(ValueKey key, Take take) const {
    if (check_ != nullptr) check_->requireAll();
    if (entries_.empty()) return;
    const std::uint32_t fingerprint = fingerprintOf(key);
    const Bucket places = bucket(bucketOf(key));
    for (std::uint32_t place = places.first; place < places.end; ++place) {
        const std::uint32_t entry = entries_.at(place);
        if ((entry & ~pathMask()) == fingerprint) take(entry & pathMask());
    }
}

inline bool ValuePaths::has(ValueKey key, std::uint32_t path) const {
    bool isThere = false;
    forPathsOf(key, [&](std::uint32_t candidate) { isThere = isThere || candidate == path; });
    return isThere;
}

}  // namespace zdbs::embedded

#endif
