#include "zdbs/embedded/columns/checked_blocks.h"

#include <libdeflate.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::embedded {

void readAhead(std::string_view bytes) {
    static const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(bytes.data());
    const std::uintptr_t page = begin / pageSize * pageSize;
    static_cast<void>(
        ::madvise(reinterpret_cast<void *>(page), begin + bytes.size() - page, MADV_WILLNEED));
}

std::uint32_t crc32Of(std::string_view bytes, std::uint32_t checksum) {
    if (bytes.empty()) return checksum;
    return ::libdeflate_crc32(checksum, bytes.data(), bytes.size());
}

CheckedBlocks::CheckedBlocks(std::string_view bytes, std::vector<std::uint32_t> checksums,
                             std::string file)
    : bytes_(bytes),
      checksums_(std::move(checksums)),
      file_(std::move(file)),
      known_(std::make_unique<std::atomic<std::uint64_t>[]>(checksums_.size() / wordBits + 1)) {
    assert(checksums_.size() == countFor(bytes.size()));
}

CheckedBlocks::Range CheckedBlocks::blocksOf(std::string_view part) const {
    if (part.empty()) return {0, 0};
    assert(part.data() >= bytes_.data() && part.data() + part.size() <= &bytes_.back() + 1);
    const auto offset = static_cast<std::size_t>(part.data() - bytes_.data());
    return {offset / blockSize, (offset + part.size() - 1) / blockSize + 1};
}

/** The first block of a part that is not as it was written, or the end of its blocks. */
std::size_t CheckedBlocks::firstDamaged(Range blocks) const {
    std::size_t announced = blocks.first;
    for (std::size_t block = blocks.first; block < blocks.end; ++block) {
        if (isKnown(block)) continue;
        if (announced < blocks.end && block + blocksAhead / 2 >= announced) {
            const std::size_t from = std::max(block, announced);
            announced = std::min(blocks.end, block + blocksAhead);
            readAhead(bytes_.substr(from * blockSize, (announced - from) * blockSize));
        }
        if (!verify(block)) return block;
    }
    return blocks.end;
}

void CheckedBlocks::require(std::string_view part) const {
    const Range blocks = blocksOf(part);
    const std::size_t damaged = firstDamaged(blocks);
    if (damaged != blocks.end)
        throw Failure(Status::homeDamaged,
                      {file_, "the checksum of block " + std::to_string(damaged)});
}

bool CheckedBlocks::areKnown(std::string_view part) const {
    const Range blocks = blocksOf(part);
    for (std::size_t block = blocks.first; block < blocks.end; ++block) {
        if (!isKnown(block)) return false;
    }
    return true;
}

bool CheckedBlocks::areSound(std::string_view part) const {
    const Range blocks = blocksOf(part);
    return firstDamaged(blocks) == blocks.end;
}

bool CheckedBlocks::verify(std::size_t block) const {
    if (crc32Of(bytes_.substr(block * blockSize, blockSize)) != checksums_[block]) return false;
    known_[block / wordBits].fetch_or(std::uint64_t{1} << block % wordBits,
                                      std::memory_order_relaxed);
    return true;
}

void BlockChecksums::add(std::string_view bytes) {
    while (!bytes.empty()) {
        if (lastSize_ == CheckedBlocks::blockSize) {
            checksums_.push_back(0);
            lastSize_ = 0;
        }
        const std::string_view part = bytes.substr(0, CheckedBlocks::blockSize - lastSize_);
        checksums_.back() = crc32Of(part, checksums_.back());
        lastSize_ += part.size();
        bytes.remove_prefix(part.size());
    }
}

void PartCheck::require(std::string_view bytes) {
    if (isSound() || blocks_->areKnown(bytes)) return;
    blocks_->require(bytes);
    settle(State::unknown);
}

void PartCheck::requireWhole() {
    blocks_->require(part_);
    settle(State::sound);
}

void PartCheck::requireFirst(std::string_view front) {
    blocks_->require(front);
    settle(State::frontIsSound);
}

/** It is at least that, and sound once all its blocks are known. */
void PartCheck::settle(State state) {
    if (blocks_->areKnown(part_)) state = State::sound;
    State before = state_.load(std::memory_order_relaxed);
    while (before < state &&
           !state_.compare_exchange_weak(before, state, std::memory_order_relaxed)) {
    }
}

}  // namespace zdbs::embedded
