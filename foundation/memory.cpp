#include "foundation/memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// A size so large that rounding would wrap is left as it is: the allocator refuses it.
std::size_t roundUp(std::size_t size) {
    return size > SIZE_MAX - 3 ? size : (size + 3) / 4 * 4;
}

}  // namespace

void *ZfxMemAlloc(std::size_t size) {
    return std::calloc(1, roundUp(size));
}

void *ZfxMemRealloc(void *block, std::size_t size) {
    if (block == nullptr) return ZfxMemAlloc(size);
    return std::realloc(block, size == 0 ? 1 : size);
}

void ZfxMemFree(void *block) {
    if (ZfxMemReadable(block, 1)) std::free(block);
}

void *ZfxMemCopy(void *dst, const void *src, std::size_t n) {
    if (ZfxMemReadable(src, n) && ZfxMemWriteable(dst, n)) std::memmove(dst, src, n);
    return dst;
}

char *ZfxStrDup(const char *text) {
    if (text == nullptr) return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    void *copy = ZfxMemAlloc(size);
    return static_cast<char *>(ZfxMemCopy(copy, text, size));
}

bool ZfxMemReadable(const void *p, std::size_t) {
    return p != nullptr;
}

bool ZfxMemWriteable(const void *p, std::size_t) {
    return p != nullptr;
}

void ZfxOutOfMemory() {
    throw std::bad_alloc();
}
