// Thin wrappers of the C library's allocator, shared by everything in this folder.
//
// 1. All blocks come from the malloc family: a block of ZfxMemAlloc may be given to free(), and a
//    block of malloc() to ZfxMemFree or ZfxMemRealloc.
// 2. Sizes are in bytes.
// 3. The wrappers report a failed allocation with null. The containers and the string buffer
//    built on them throw std::bad_alloc through ZfxOutOfMemory, and are as they were before.
// 4. All functions may be called from any thread.
#ifndef FOUNDATION_MEMORY_H
#define FOUNDATION_MEMORY_H

#include <cstddef>

// A zero-filled block of `size` rounded up to a multiple of 4, owned by the caller; null when
// there is no memory.
void *ZfxMemAlloc(std::size_t size);

// Resizes `block`, keeping its bytes up to the smaller of both sizes; what is added is not
// cleared. A null block: ZfxMemAlloc(size). Never releases the block: size 0 counts as 1, and
// when null is returned for lack of memory the old block is still valid and owned by the caller.
void *ZfxMemRealloc(void *block, std::size_t size);

// Releases `block`; null is ignored.
void ZfxMemFree(void *block);

// Copies `n` bytes (the ranges may overlap) when neither pointer is null. Returns `dst`.
void *ZfxMemCopy(void *dst, const void *src, std::size_t n);

// A copy of `text`, owned by the caller, to be released with ZfxMemFree; null for null.
char *ZfxStrDup(const char *text);

// True exactly when `p` is not null. `n` is not examined.
bool ZfxMemReadable(const void *p, std::size_t n);
bool ZfxMemWriteable(const void *p, std::size_t n);

// Throws std::bad_alloc.
[[noreturn]] void ZfxOutOfMemory();

#endif
