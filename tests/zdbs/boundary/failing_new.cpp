#include "tests/zdbs/boundary/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

long allocationsLeft = -1;

bool mayAllocate() {
    if (allocationsLeft < 0) return true;
    if (allocationsLeft == 0) return false;
    --allocationsLeft;
    return true;
}

}  // namespace

void zdbs::testing::limitAllocations(long count) {
    allocationsLeft = count;
}

void *operator new(std::size_t size) {
    void *block = mayAllocate() ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void *block) noexcept {
    std::free(block);
}

void operator delete(void *block, std::size_t) noexcept {
    std::free(block);
}
