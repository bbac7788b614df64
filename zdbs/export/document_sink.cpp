#include "zdbs/export/document_sink.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs {

namespace {

/**
 * Of a large block: takes its memory in large pages, which are fewer to be handed out. All of
 * the pages that it touches, so that its mapping stays one and can grow where it is.
 */
void preferLargePages(char *block, std::size_t size) {
    constexpr std::size_t page = 4096;
    constexpr std::size_t large = std::size_t{4} << 20U;
    if (size < large) return;
    const std::size_t before = reinterpret_cast<std::uintptr_t>(block) % page;
    // Whether it helps does not matter: without it all works the same.
    static_cast<void>(::madvise(block - before, before + size, MADV_HUGEPAGE));
}

}  // namespace

DocumentBlock DocumentSink::take() {
    const std::size_t size = length();
    resize(size + 1);
    block_.get()[size] = '\0';
    offer(nullptr, nullptr);
    capacity_ = 0;
    return {std::move(block_), size};
}

void DocumentSink::overflow(std::string_view piece) {
    constexpr std::size_t least = 4096;
    const std::size_t used = length();
    if (piece.size() >= limit_ - used) throw Failure(Status::documentTooLarge);
    if (piece.size() >= room())
        resize(std::min(limit_, std::max({least, 2 * capacity_, used + piece.size() + 1})));
    write(piece);
}

void DocumentSink::resize(std::size_t capacity) {
    const std::size_t used = length();
    auto *const larger = static_cast<char *>(std::realloc(block_.get(), capacity));
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(larger);
    capacity_ = capacity;
    preferLargePages(larger, capacity);
    offer(larger + used, larger + capacity);
}

}  // namespace zdbs
