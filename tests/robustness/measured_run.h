/** Runs a program and measures it. */
#ifndef TESTS_ROBUSTNESS_MEASURED_RUN_H
#define TESTS_ROBUSTNESS_MEASURED_RUN_H

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "tests/support/child_process.h"

namespace robustness {

struct Measures {
    support::Ending ending;
    std::uint64_t peakBytes = 0;  ///< of memory that was resident
    double seconds = 0;
    double processorSeconds = 0;
};

/**
 * Runs the command with what `feed` writes as its standard input, which can be more than
 * there is memory for. Its outputs go where those of this process go.
 */
Measures measure(const support::Command &command, const std::function<void(std::ostream &)> &feed);

}  // namespace robustness

#endif
