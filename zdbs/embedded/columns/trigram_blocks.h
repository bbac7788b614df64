/** Signatures of blocks of text: which can hold a searched text, and which cannot. */
#ifndef ZDBS_EMBEDDED_COLUMNS_TRIGRAM_BLOCKS_H
#define ZDBS_EMBEDDED_COLUMNS_TRIGRAM_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::embedded {

/**
 * A text is cut into blocks of 64 KiB; each has a signature of 16384 bits, one set for
 * each hash of three consecutive bytes in the block (superimposed coding). A text of
 * three bytes or more stands only in blocks that have the bits of all its trigrams. A
 * block's signature also covers the beginning of the next block, so that a searched
 * text which crosses over is found in the block in which it begins.
 *
 * The bits lie hash by hash: those of hash h for all B blocks are the bits h*B to
 * h*B + B - 1 of the bytes, each byte's lowest first; 2048*B bytes in all. Damaged bytes give
 * wrong blocks; nothing outside is read.
 */
class TrigramBlocks {
public:
    static constexpr std::size_t blockSize = std::size_t{64} * 1024;
    static constexpr std::size_t hashes = 16384;
    static constexpr std::size_t shortestNeedle = 3;

    static constexpr std::size_t blocksOf(std::size_t textSize) {
        return (textSize + blockSize - 1) / blockSize;
    }
    static constexpr std::size_t bytesFor(std::size_t textSize) {
        return blocksOf(textSize) * (hashes / 8);
    }

    /** REQUIRES bytes.size() == bytesFor(textSize). */
    TrigramBlocks(std::string_view bytes, std::size_t textSize);

    /** A stretch of the text. */
    struct Stretch {
        std::size_t begin;
        std::size_t end;
    };

    /** Stretches of whole blocks, ascending, in which the needle may begin. REQUIRES a
     *  needle of at least three bytes. */
    std::vector<Stretch> candidates(std::string_view needle) const;

    /** The first block whose signature lacks a trigram of `text`, or blocksOf(text.size()). */
    std::size_t firstWrong(std::string_view text) const;

private:
    bool has(std::size_t hash, std::size_t block) const;
    void keep(std::size_t hash, std::vector<std::uint64_t> &blocks) const;

    std::string_view bytes_;
    std::size_t textSize_;
    std::size_t blocks_;
};

/**
 * Appends the signatures of a text to `bytes`. Appends nothing, and answers false, when
 * most bits would be set, as with encoded data: such signatures rule nothing out.
 */
bool packTrigrams(std::string_view text, std::string &bytes);

}  // namespace zdbs::embedded

#endif
