/**
 * What the environment orders a program to do that has memory_order.cpp and failing_allocation.cpp
 * linked in.
 */
#ifndef TESTS_ROBUSTNESS_MEMORY_ORDER_H
#define TESTS_ROBUSTNESS_MEMORY_ORDER_H

namespace robustness {

/** How many allocations get memory; the next one fails, and all behind it. */
inline constexpr const char *allocationVariable = "TEST_ALLOCATIONS";

/** When it is set, those behind it get memory again. */
inline constexpr const char *memoryIsBackVariable = "TEST_MEMORY_IS_BACK";

/** A file that gets the number of allocations when the program ends by itself. */
inline constexpr const char *allocationCountFileVariable = "TEST_ALLOCATION_COUNT_FILE";

}  // namespace robustness

#endif
