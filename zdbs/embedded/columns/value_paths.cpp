#include "zdbs/embedded/columns/value_paths.h"

#include <bit>
#include <cassert>
#include <cstring>

namespace zdbs::embedded {
namespace {

constexpr std::size_t headerSize = 8;
constexpr std::uint32_t keyBits = 32;

/** One bucket holds between half as many entries and as many. */
constexpr std::size_t mostInBucket = 8;

/** In a bucket of six, one path too many is named every 40th time. */
constexpr std::uint32_t usualFingerprintBits = 8;

ValuePaths::Shape shapeIn(std::string_view bytes) {
    const auto byteAt = [&](std::size_t place) {
        return std::uint32_t{static_cast<unsigned char>(bytes[place])};
    };
    return {byteAt(0), byteAt(1), byteAt(2)};
}

/** The starts, and what is behind them. */
std::string_view behindHeader(std::string_view bytes) {
    return bytes.substr(headerSize);
}

std::uint32_t startsSize(std::string_view bytes) {
    std::uint32_t size = 0;
    std::memcpy(&size, bytes.data() + 4, sizeof size);
    return size;
}

/** Cuts keys into numbers of buckets and the rest. */
class KeyCutter {
public:
    explicit KeyCutter(const ValuePaths::Shape &shape)
        : bucketShift_(keyBits - shape.bucketBits),
          unusedBits_(keyBits - shape.bucketBits - shape.fingerprintBits),
          fingerprintMask_((std::uint64_t{1} << shape.fingerprintBits) - 1),
          pathBits_(shape.pathBits) {}

    std::uint32_t bucketOf(ValueKey key) const {
        return static_cast<std::uint32_t>(std::uint64_t{key} >> bucketShift_);
    }

    std::uint32_t entryOf(ValueKey key, std::uint32_t path) const {
        const std::uint64_t fingerprint = std::uint64_t{key} >> unusedBits_ & fingerprintMask_;
        return static_cast<std::uint32_t>(fingerprint << pathBits_ | path);
    }

private:
    std::uint32_t bucketShift_;
    std::uint32_t unusedBits_;
    std::uint64_t fingerprintMask_;
    std::uint32_t pathBits_;
};

/** Entries in order of their buckets, and where each bucket begins; then where the last one ends.
 */
struct Buckets {
    std::vector<std::uint32_t> starts;
    std::vector<std::uint32_t> entries;
};

Buckets distribute(std::span<const PathKeys> paths, const ValuePaths::Shape &shape) {
    const KeyCutter cutter(shape);
    Buckets buckets;
    buckets.starts.resize((std::size_t{1} << shape.bucketBits) + 1);
    for (const PathKeys &path : paths) {
        for (const ValueKey key : path.keys)
            ++buckets.starts[cutter.bucketOf(key)];
    }
    std::uint32_t count = 0;
    for (std::uint32_t &start : buckets.starts) {
        count += start;
        start = count;
    }
    // Filled from behind, each start ends where its bucket begins.
    buckets.entries.resize(count);
    for (const PathKeys &path : paths) {
        for (const ValueKey key : path.keys)
            buckets.entries[--buckets.starts[cutter.bucketOf(key)]] =
                cutter.entryOf(key, path.path);
    }
    return buckets;
}

/** Sorts each bucket and leaves every entry there once. */
void tidy(Buckets &buckets) {
    std::uint32_t kept = 0;
    for (std::size_t bucket = 0; bucket + 1 < buckets.starts.size(); ++bucket) {
        const auto at = [&](std::uint32_t place) { return buckets.entries.begin() + place; };
        const auto first = at(buckets.starts[bucket]);
        const auto end = at(buckets.starts[bucket + 1]);
        std::sort(first, end);
        const auto last = std::unique(first, end);
        buckets.starts[bucket] = kept;
        for (auto entry = first; entry != last; ++entry)
            buckets.entries[kept++] = *entry;
    }
    buckets.starts.back() = kept;
    buckets.entries.resize(kept);
}

}  // namespace

ValuePaths::Shape ValuePaths::shapeFor(std::size_t entries, std::size_t paths) {
    assert(entries > 0 && paths > 0);
    const auto bits = [](std::size_t number) {
        return static_cast<std::uint32_t>(std::bit_width(number));
    };
    Shape shape;
    shape.pathBits = std::min(bits(paths - 1), keyBits);
    shape.bucketBits = std::min(bits(entries / mostInBucket), keyBits);
    shape.fingerprintBits =
        std::min({usualFingerprintBits, keyBits - shape.bucketBits, keyBits - shape.pathBits});
    return shape;
}

ValuePaths::ValuePaths(std::string_view bytes) : shape_(shapeIn(bytes)) {
    assert(isWhole(bytes));
    starts_ = PackedColumn(behindHeader(bytes));
    entries_ = PackedColumn(behindHeader(bytes).substr(startsSize(bytes)));
}

bool ValuePaths::isWhole(std::string_view bytes) {
    if (bytes.size() < headerSize) return false;
    const Shape shape = shapeIn(bytes);
    if (shape.bucketBits + shape.fingerprintBits > keyBits) return false;
    if (shape.fingerprintBits + shape.pathBits > keyBits) return false;
    const std::string_view rest = behindHeader(bytes);
    if (startsSize(bytes) > rest.size()) return false;
    const std::string_view starts = rest.substr(0, startsSize(bytes));
    if (!PackedColumn::isWhole(starts)) return false;
    const bool isOfBuckets =
        PackedColumn(starts).size() == (std::uint64_t{1} << shape.bucketBits) + 1;
    return isOfBuckets && PackedColumn::isWhole(rest.substr(starts.size()));
}

std::vector<ValuePaths::Entry> ValuePaths::entries() const {
    std::vector<Entry> all;
    all.reserve(entries_.size());
    std::uint32_t place = 0;
    for (std::uint32_t bucket = 0; bucket + 1 < starts_.size(); ++bucket) {
        const std::uint32_t end = std::min(starts_.at(bucket + 1), entries_.size());
        for (; place < end; ++place) {
            const std::uint64_t entry = entries_.at(place);
            const auto fingerprint = static_cast<std::uint32_t>(entry >> shape_.pathBits);
            all.push_back({bucket, fingerprint, static_cast<std::uint32_t>(entry) & pathMask()});
        }
    }
    return all;
}

void packValuePaths(std::span<const PathKeys> paths, const ValuePaths::Shape &shape,
                    std::string &bytes) {
    Buckets buckets = distribute(paths, shape);
    tidy(buckets);
    std::string starts;
    pack(buckets.starts, starts);
    for (const std::uint32_t number : {shape.bucketBits, shape.fingerprintBits, shape.pathBits})
        bytes.push_back(static_cast<char>(number));
    bytes.push_back('\0');
    const auto size = static_cast<std::uint32_t>(starts.size());
    bytes.append(reinterpret_cast<const char *>(&size), sizeof size);
    bytes.append(starts);
    pack(buckets.entries, bytes);
}

}  // namespace zdbs::embedded
