/**
 * Memory that runs out when a test says so.
 *
 * Linked into a program, failing_allocation.cpp stands in front of the functions that allocate, for
 * all libraries that the program has; where an address checker does so already, or
 * OPERATOR_NEW_ONLY is defined, in front of operator new only: the scanner of requests ends the
 * process where it gets no memory, and a test has to live on. The library of compressed bitmaps is
 * never refused memory: it would not notice.
 */
#ifndef TESTS_SUPPORT_FAILING_ALLOCATION_H
#define TESTS_SUPPORT_FAILING_ALLOCATION_H

namespace support {

/** What happens behind the allocation that fails. */
enum class Afterwards { memoryStaysOut, memoryIsBack };

/**
 * How many allocations get memory from now on, of all threads together; negative: all.
 * The count of allocations() begins anew.
 */
void limitAllocations(long count, Afterwards afterwards = Afterwards::memoryStaysOut);

/** How many there were. */
long allocations();

/** Blocks that are in use. */
long liveBlocks();

}  // namespace support

#endif
