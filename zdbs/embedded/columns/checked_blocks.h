/** Bytes of a file that are verified when somebody comes to read them. */
#ifndef ZDBS_EMBEDDED_COLUMNS_CHECKED_BLOCKS_H
#define ZDBS_EMBEDDED_COLUMNS_CHECKED_BLOCKS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::embedded {

/** CRC-32 as zlib and Ethernet have it, of `bytes` after what has `checksum`. */
std::uint32_t crc32Of(std::string_view bytes, std::uint32_t checksum = 0);

/**
 * Has the system read bytes of a mapped file that are looked at next, in one piece and in the order
 * of the file. Where it does not want to they are read when they are looked at, page by page.
 */
void readAhead(std::string_view bytes);

/** Bytes with a checksum for each block of them, verified block by block and each only once. */
class CheckedBlocks {
public:
    static constexpr std::size_t blockSize = std::size_t{1} << 16;

    static constexpr std::uint64_t countFor(std::uint64_t bytes) {
        return (bytes + blockSize - 1) / blockSize;
    }

    CheckedBlocks() = default;

    /** REQUIRES countFor(bytes.size()) checksums. `file` is for messages. */
    CheckedBlocks(std::string_view bytes, std::vector<std::uint32_t> checksums, std::string file);

    /** Verifies the blocks that a part of the bytes is in. Throws Failure: homeDamaged. */
    void require(std::string_view part) const;

    /** Whether the blocks that a part is in were verified already. */
    bool areKnown(std::string_view part) const;

    /** Whether they are as they were written; verifies those that were not. */
    bool areSound(std::string_view part) const;

private:
    static constexpr std::size_t wordBits = 64;
    static constexpr std::size_t blocksAhead = 64;  ///< that the system is told of at a time

    struct Range {
        std::size_t first;
        std::size_t end;
    };

    Range blocksOf(std::string_view part) const;
    std::size_t firstDamaged(Range blocks) const;
    bool isKnown(std::size_t block) const {
        const std::uint64_t word = known_[block / wordBits].load(std::memory_order_relaxed);
        return (word >> block % wordBits & 1) != 0;
    }
    bool verify(std::size_t block) const;

    std::string_view bytes_;
    std::vector<std::uint32_t> checksums_;
    std::string file_;
    std::unique_ptr<std::atomic<std::uint64_t>[]> known_;  ///< a bit for each block
};

/** The checksums of blocks of what is added piece by piece. */
class BlockChecksums {
public:
    void add(std::string_view bytes);

    const std::vector<std::uint32_t> &checksums() const { return checksums_; }

private:
    std::vector<std::uint32_t> checksums_;
    std::size_t lastSize_ = CheckedBlocks::blockSize;  ///< bytes of the last block so far
};

/** What is known of one part of checked bytes; shared by all who read it. Any thread may ask. */
class PartCheck {
public:
    PartCheck() = default;
    PartCheck(const PartCheck &) = delete;
    PartCheck &operator=(const PartCheck &) = delete;

    /** Of this part of the bytes; called once, before others see the object. */
    void watch(const CheckedBlocks &blocks, std::string_view part) {
        blocks_ = &blocks;
        part_ = part;
    }

    /** Whether all of it is verified. */
    bool isSound() const { return state_.load(std::memory_order_relaxed) == State::sound; }

    /** Verify what is not verified yet. Throw Failure: homeDamaged. */
    void requireAll() {
        if (!isSound()) requireWhole();
    }
    void require(std::string_view bytes);

    /** The same of its first bytes, which are always the same ones. */
    void requireFront(std::string_view front) {
        if (state_.load(std::memory_order_relaxed) == State::unknown) requireFirst(front);
    }

private:
    enum class State : std::uint8_t { unknown, frontIsSound, sound };

    void requireWhole();
    void requireFirst(std::string_view front);
    void settle(State state);

    const CheckedBlocks *blocks_ = nullptr;
    std::string_view part_;
    std::atomic<State> state_ = State::unknown;
};

}  // namespace zdbs::embedded

#endif
