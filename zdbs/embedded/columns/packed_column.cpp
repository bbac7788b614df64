#include "zdbs/embedded/columns/packed_column.h"

#include <array>
#include <utility>
#include <vector>

namespace zdbs::embedded {
namespace {

constexpr std::uint32_t frameSize = PackedColumn::frameSize;
constexpr std::uint32_t maxWidth = 32;

template <typename T>
T load(const char *bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename T>
void store(T value, char *bytes) {
    std::memcpy(bytes, &value, sizeof value);
}

constexpr std::size_t framesOf(std::size_t count) {
    return (count + frameSize - 1) / frameSize;
}

constexpr std::size_t wordsOf(std::size_t count, std::size_t width) {
    return (count * width + 63) / 64;
}

std::uint32_t widthOf(std::uint64_t entry) {
    return static_cast<std::uint32_t>(entry >> 32U) & 63U;
}

/** The number at `index` of a whole frame; all that depends on `width` and `index` is constant. */
template <std::uint32_t width, std::size_t index>
std::uint32_t unpackOne(const std::uint64_t *words) {
    constexpr std::size_t bit = index * width;
    constexpr std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    std::uint64_t rest = words[bit / 64] >> (bit % 64);
    if constexpr (bit % 64 + width > 64) rest |= words[bit / 64 + 1] << (64 - bit % 64);
    return static_cast<std::uint32_t>(rest & mask);
}

/** Unpacks the 64 numbers of a whole frame. */
template <std::uint32_t width>
void unpack(const char *bytes, std::uint32_t base, std::uint32_t *out) {
    std::array<std::uint64_t, width> words;
    std::memcpy(words.data(), bytes, sizeof words);
    [&]<std::size_t... index>(std::index_sequence<index...>) {
        ((out[index] = base + unpackOne<width, index>(words.data())), ...);
    }
    (std::make_index_sequence<frameSize>());
}

template <>
void unpack<0>(const char * /*bytes*/, std::uint32_t base, std::uint32_t *out) {
    std::fill_n(out, frameSize, base);
}

/** Puts the number at `index` of a whole frame, less `base`, into words that were 0. */
template <std::uint32_t width, std::size_t index>
void packOne(std::uint32_t number, std::uint32_t base, std::uint64_t *words) {
    constexpr std::size_t bit = index * width;
    std::uint64_t rest = number - base;
    words[bit / 64] |= rest << (bit % 64);
    if constexpr (bit % 64 + width > 64) words[bit / 64 + 1] |= rest >> (64 - bit % 64);
}

/** Packs the 64 numbers of a whole frame. */
template <std::uint32_t width>
void packWhole(const std::uint32_t *numbers, std::uint32_t base, char *bytes) {
    if constexpr (width > 0) {
        std::array<std::uint64_t, width> words{};
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            (packOne<width, index>(numbers[index], base, words.data()), ...);
        }
        (std::make_index_sequence<frameSize>());
        std::memcpy(bytes, words.data(), sizeof words);
    }
}

/** What handles whole frames of one width. */
struct Coder {
    void (*unpack)(const char *bytes, std::uint32_t base, std::uint32_t *numbers);
    void (*pack)(const std::uint32_t *numbers, std::uint32_t base, char *bytes);
};

constexpr auto coders = []<std::uint32_t... width>(std::integer_sequence<std::uint32_t, width...>) {
    return std::array<Coder, maxWidth + 1>{Coder{unpack<width>, packWhole<width>}...};
}
(std::make_integer_sequence<std::uint32_t, maxWidth + 1>());

/** Packs the fewer numbers of a column's last frame, width by width. */
void packPart(std::span<const std::uint32_t> numbers, std::uint32_t base, std::uint32_t width,
              char *bytes) {
    std::uint64_t word = 0;
    std::uint32_t used = 0;
    for (std::uint32_t number : numbers) {
        std::uint64_t rest = number - base;
        word |= rest << used;
        used += width;
        if (used < 64) continue;
        store(word, bytes);
        bytes += sizeof word;
        used -= 64;
        word = used == 0 ? 0 : rest >> (width - used);
    }
    if (used > 0) store(word, bytes);
}

/** The directory's entry for a frame whose words begin at `firstWord`. */
std::uint64_t entryOf(std::span<const std::uint32_t> frame, std::size_t firstWord) {
    std::uint32_t least = frame[0];
    std::uint32_t most = frame[0];
    for (std::uint32_t number : frame) {
        least = std::min(least, number);
        most = std::max(most, number);
    }
    auto width = static_cast<std::uint64_t>(std::bit_width(most - least));
    return least | width << 32U | std::uint64_t{firstWord} << 38U;
}

std::span<const std::uint32_t> frameAt(std::span<const std::uint32_t> numbers, std::size_t index) {
    auto rest = numbers.subspan(index * frameSize);
    return rest.first(std::min<std::size_t>(rest.size(), frameSize));
}

}  // namespace

bool PackedColumn::isWhole(std::string_view bytes) {
    if (bytes.size() < headerSize) return false;
    std::size_t frames = framesOf(load<std::uint32_t>(bytes.data()));
    std::size_t words = load<std::uint32_t>(bytes.data() + 4);
    return (bytes.size() - headerSize) / wordSize >= frames + words;
}

bool PackedColumn::isSound(std::string_view bytes) {
    if (!isWhole(bytes)) return false;
    PackedColumn column(bytes);
    if (column.size() > maxSize) return false;
    std::vector<std::uint32_t> numbers(column.size());
    column.read(0, numbers);
    std::string again;
    pack(numbers, again);
    return again == bytes;
}

std::uint32_t PackedColumn::base(std::uint32_t index) const {
    return load<std::uint32_t>(frames_ + std::size_t{index} * wordSize);
}

/** Whether a whole frame can be unpacked without reading past the words. */
bool PackedColumn::isInside(const Frame &frame) const {
    return frame.width <= maxWidth && frame.firstWord + frame.width <= wordCount_;
}

/** Reads a frame of 64 numbers. REQUIRES that the column has 64 from there on. */
void PackedColumn::readFrame(std::uint32_t index, std::uint32_t *out) const {
    Frame frame = this->frame(index);
    if (isInside(frame)) {
        coders[frame.width].unpack(words_ + frame.firstWord * wordSize, frame.base, out);
        return;
    }
    for (std::uint32_t i = 0; i < frameSize; ++i)
        out[i] = at(index * frameSize + i);
}

void PackedColumn::read(std::uint32_t first, std::span<std::uint32_t> out) const {
    assert(first + out.size() <= size_);
    std::size_t done = 0;
    while (done < out.size() && (first + done) % frameSize != 0) {
        out[done] = at(static_cast<std::uint32_t>(first + done));
        ++done;
    }
    for (; done + frameSize <= out.size(); done += frameSize)
        readFrame(static_cast<std::uint32_t>((first + done) / frameSize), out.data() + done);
    for (; done < out.size(); ++done)
        out[done] = at(static_cast<std::uint32_t>(first + done));
}

/** The last frame from `first` on whose base is less; REQUIRES that the first one's is. */
std::uint32_t PackedColumn::lastFrameBelow(std::uint32_t number, std::uint32_t first) const {
    auto frames = static_cast<std::uint32_t>(framesOf(size_));
    std::uint32_t step = 1;
    while (step < frames - first && base(first + step) < number) {
        first += step;
        step *= 2;
    }
    std::uint32_t end = first + std::min(step, frames - first);
    while (end - first > 1) {
        std::uint32_t middle = first + (end - first) / 2;
        (base(middle) < number ? first : end) = middle;
    }
    return first;
}

std::uint32_t PackedColumn::lowerBound(std::uint32_t number, std::uint32_t from) const {
    if (from >= size_) return size_;
    std::uint32_t index = from / frameSize;
    if (base(index) >= number) return from;
    index = lastFrameBelow(number, index);

    std::uint32_t low = std::max(from, index * frameSize);
    std::uint32_t high = std::min(index * frameSize + frameSize, size_);
    while (low < high) {
        std::uint32_t middle = low + (high - low) / 2;
        if (at(middle) < number)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

void pack(std::span<const std::uint32_t> numbers, std::string &bytes) {
    assert(numbers.size() <= PackedColumn::maxSize);
    std::size_t frames = framesOf(numbers.size());
    std::size_t directory = bytes.size() + 8;
    bytes.resize(directory + frames * 8);
    std::size_t words = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        auto frame = frameAt(numbers, i);
        std::uint64_t entry = entryOf(frame, words);
        store(entry, bytes.data() + directory + i * 8);
        words += wordsOf(frame.size(), widthOf(entry));
    }
    store(static_cast<std::uint32_t>(numbers.size()), bytes.data() + directory - 8);
    store(static_cast<std::uint32_t>(words), bytes.data() + directory - 4);

    bytes.resize(directory + (frames + words) * 8);
    char *out = bytes.data() + directory + frames * 8;
    for (std::size_t i = 0; i < frames; ++i) {
        auto frame = frameAt(numbers, i);
        auto entry = load<std::uint64_t>(bytes.data() + directory + i * 8);
        auto base = static_cast<std::uint32_t>(entry);
        std::uint32_t width = widthOf(entry);
        if (frame.size() == frameSize)
            coders[width].pack(frame.data(), base, out);
        else
            packPart(frame, base, width, out);
        out += wordsOf(frame.size(), width) * 8;
    }
}

}  // namespace zdbs::embedded
