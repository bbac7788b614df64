/** Numbers for the distinct ones among texts. */
#ifndef ZDBS_EMBEDDED_COLUMNS_TEXT_NUMBERS_H
#define ZDBS_EMBEDDED_COLUMNS_TEXT_NUMBERS_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zdbs::embedded {

/** Gives texts numbers in the order in which they first come. The texts must outlive it. */
class TextNumbers {
public:
    TextNumbers() : table_(1024) {}

    std::uint32_t numberOf(std::string_view text);

    /** How many there are. */
    std::uint32_t size() const { return static_cast<std::uint32_t>(texts_.size()); }

    /** The texts by number. */
    const std::vector<std::string_view> &texts() const { return texts_; }

    /** Steps from slot to slot so far: many when texts were made to collide. */
    std::uint64_t steps() const { return steps_; }

private:
    /** Short texts are told by what is here alone. */
    struct Slot {
        std::uint64_t key = 0;     ///< the bytes of a short text, or the hash of a long one
        std::uint32_t size = 0;    ///< of the text, its lowest 32 bits
        std::uint32_t number = 0;  ///< from 1; 0 in a free slot

        explicit Slot(std::string_view text);
        Slot() = default;
        std::uint64_t hash() const;
    };

    Slot &find(const Slot &wanted, std::string_view text);
    void grow();

    std::vector<Slot> table_;
    std::vector<std::string_view> texts_;
    std::uint64_t steps_ = 0;
};

}  // namespace zdbs::embedded

#endif
