#include "tests/prg/xml/xpath/processor/scarce_memory.h"

#include <cstdlib>
#include <new>

namespace {

bool isScarce = false;
int plenty = 0;

}  // namespace

ScarceMemory::ScarceMemory() {
    isScarce = true;
}

ScarceMemory::~ScarceMemory() {
    isScarce = false;
}

PlentyOfMemory::PlentyOfMemory() {
    ++plenty;
}

PlentyOfMemory::~PlentyOfMemory() {
    --plenty;
}

void *operator new(std::size_t size) {
    void *block = isScarce && plenty == 0 ? nullptr : std::malloc(size > 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void *block) noexcept {
    std::free(block);
}

void operator delete(void *block, std::size_t) noexcept {
    std::free(block);
}
