/** What makers of documents and requests decide by: a seed, or bytes that somebody else thought of.
 */
#ifndef TESTS_SUPPORT_CHOICES_H
#define TESTS_SUPPORT_CHOICES_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <span>

namespace support {

/** A number that the environment may give. */
inline long numberIn(const char *variable, long otherwise) {
    const char *const text = std::getenv(variable);
    return text != nullptr ? std::atol(text) : otherwise;
}

/**
 * A generator of random numbers for the standard library's distributions and for `choices() % n`.
 * Of a seed it is std::mt19937. Of bytes each number is made of the next two, so that a byte that
 * changes is one decision that changes; where they end it goes on as of a seed, so that whoever
 * rolls until something comes up is not left rolling.
 */
class Choices {
public:
    using result_type = std::uint32_t;

    Choices(std::uint32_t seed)
        : random_(seed) {}  // not explicit: a seed is as good as its choices
    /** The bytes must outlive it. */
    explicit Choices(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

    result_type operator()() {
        if (bytes_.size() < 2) return static_cast<result_type>(random_());
        const std::uint32_t number = bytes_[0] + std::uint32_t{256} * bytes_[1];
        bytes_ = bytes_.subspan(2);
        return number * 0x10001U;  // in the lower half and in the upper one
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::mt19937 random_;
};

}  // namespace support

#endif
