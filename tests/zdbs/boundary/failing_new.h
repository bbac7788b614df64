/** Memory that runs out when a test says so. */
#ifndef TESTS_ZDBS_BOUNDARY_FAILING_NEW_H
#define TESTS_ZDBS_BOUNDARY_FAILING_NEW_H

namespace zdbs::testing {

/** How often operator new gets memory from now on; negative: always. */
void limitAllocations(long count);

}  // namespace zdbs::testing

#endif
