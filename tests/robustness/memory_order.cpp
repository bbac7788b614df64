// What the environment orders failing_allocation.cpp to do.
#include "tests/robustness/memory_order.h"

#include <cstdio>
#include <cstdlib>

#include "tests/support/failing_allocation.h"

namespace robustness {
namespace {

/** From the beginning of main() to its end: what libraries do before it, nobody can catch. */
class MemoryOrder {
public:
    MemoryOrder() {
        const char *const number = std::getenv(allocationVariable);
        const char *const mode = std::getenv(memoryIsBackVariable);
        support::limitAllocations(number != nullptr ? std::strtol(number, nullptr, 10) : -1,
                                  mode != nullptr ? support::Afterwards::memoryIsBack
                                                  : support::Afterwards::memoryStaysOut);
    }

    ~MemoryOrder() {
        const long count = support::allocations();
        support::limitAllocations(-1);
        const char *const path = std::getenv(allocationCountFileVariable);
        std::FILE *const file = path != nullptr ? std::fopen(path, "w") : nullptr;
        if (file == nullptr) return;
        std::fprintf(file, "%ld\n", count);
        std::fclose(file);
    }

    MemoryOrder(const MemoryOrder &) = delete;
    MemoryOrder &operator=(const MemoryOrder &) = delete;
};

}  // namespace
}  // namespace robustness

// The linker puts it in the place of main().
extern "C" {

int __real_main(int argc, char **argv);
int __wrap_main(int argc, char **argv);

int __wrap_main(int argc, char **argv) {
    const robustness::MemoryOrder order;
    return __real_main(argc, argv);
}

}  // extern "C"
