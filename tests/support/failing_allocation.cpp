#include "tests/support/failing_allocation.h"

#include <link.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<long> limit{-1};
std::atomic<bool> isBack{false};
std::atomic<long> count{0};
std::atomic<long> live{0};

bool mayAllocate() {
    const long number = count++;
    const long last = limit;
    return last < 0 || number < last || (number > last && isBack);
}

/** Where a library is that does not ask whether it got memory. */
struct Trusting {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

int findTrusting(dl_phdr_info *library, std::size_t, void *found) {
    if (std::strstr(library->dlpi_name, "/libroaring") == nullptr) return 0;
    for (int i = 0; i < library->dlpi_phnum; ++i) {
        const auto &part = library->dlpi_phdr[i];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
        const std::uintptr_t begin = library->dlpi_addr + part.p_vaddr;
        *static_cast<Trusting *>(found) = {begin, begin + part.p_memsz};
    }
    return 1;
}

Trusting trusting;

/** Looked up when the libraries are there and nobody counts yet. */
void learnWhoTrusts() {
    if (trusting.end == 0) ::dl_iterate_phdr(findTrusting, &trusting);
}

bool trusts(const void *caller) {
    const auto at = reinterpret_cast<std::uintptr_t>(caller);
    return trusting.begin <= at && at < trusting.end;
}

/** What an allocation answers: nothing, or a block that is counted. */
template <typename Allocate>
void *counted(const void *caller, Allocate allocate) {
    void *const block = trusts(caller) || mayAllocate() ? allocate() : nullptr;
    if (block == nullptr) errno = ENOMEM;
    live += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

void support::limitAllocations(long allowed, Afterwards afterwards) {
    learnWhoTrusts();
    limit = -1;
    isBack = afterwards == Afterwards::memoryIsBack;
    count = 0;
    limit = allowed;
}

long support::allocations() {
    return count;
}

long support::liveBlocks() {
    return live;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(OPERATOR_NEW_ONLY)

void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return counted(__builtin_return_address(0), [&] { return std::malloc(size == 0 ? 1 : size); });
}

void *operator new(std::size_t size) {
    void *block =
        counted(__builtin_return_address(0), [&] { return std::malloc(size == 0 ? 1 : size); });
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void *block) noexcept {
    live -= block != nullptr ? 1 : 0;
    std::free(block);
}

void operator delete(void *block, std::size_t) noexcept {
    operator delete(block);
}

#else

// The C library's own, under the names that it keeps for those who stand in front of them.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t number, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}

#pragma GCC visibility push(default)
extern "C" {

void *malloc(std::size_t size) noexcept {
    return counted(__builtin_return_address(0), [&] { return __libc_malloc(size); });
}

void *calloc(std::size_t number, std::size_t size) noexcept {
    return counted(__builtin_return_address(0), [&] { return __libc_calloc(number, size); });
}

void *realloc(void *block, std::size_t size) noexcept {
    live -= block != nullptr ? 1 : 0;
    void *const grown =
        counted(__builtin_return_address(0), [&] { return __libc_realloc(block, size); });
    if (grown == nullptr && block != nullptr && size != 0) ++live;  // what it was is still there
    return grown;
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return counted(__builtin_return_address(0), [&] { return __libc_memalign(alignment, size); });
}

void *memalign(std::size_t alignment, std::size_t size) noexcept {
    return counted(__builtin_return_address(0), [&] { return __libc_memalign(alignment, size); });
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept {
    void *const made =
        counted(__builtin_return_address(0), [&] { return __libc_memalign(alignment, size); });
    if (made == nullptr) return ENOMEM;
    *block = made;
    return 0;
}

void free(void *block) noexcept {
    live -= block != nullptr ? 1 : 0;
    __libc_free(block);
}

}  // extern "C"
#pragma GCC visibility pop

#endif
