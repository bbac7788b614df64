#include "zdbs/embedded/columns/checked_blocks.h"

#include <libdeflate.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::embedded {

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

void CheckedBlocks::require(std::string_view part) const {
    const Range blocks = blocksOf(part);
    for (std::size_t block = blocks.first; block < blocks.end; ++block) {
        if (!isKnown(block) && !verify(block))
            throw Failure(Status::homeDamaged,
                          {file_, "the checksum of block " + std::to_string(block)});
    }
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
    for (std::size_t block = blocks.first; block < blocks.end; ++block) {
        if (!isKnown(block) && !verify(block)) return false;
    }
    return true;
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
