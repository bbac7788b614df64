/**
 * What the environment orders interrupt.cpp to do. A program that has it linked in counts
 * its changes of files: each write, sync, truncation, renaming, removal and new directory.
 */
#ifndef TESTS_ROBUSTNESS_INTERRUPT_H
#define TESTS_ROBUSTNESS_INTERRUPT_H

namespace robustness {

/** The number of the change, from 1, at which the program kills itself with SIGKILL. */
inline constexpr const char *killAtVariable = "TEST_KILL_AT";

/** Where in that change: "before", "within" (half of a write is done), or "after". */
inline constexpr const char *killWhenVariable = "TEST_KILL_WHEN";

/** A file that gets the number of changes when the program ends by itself. */
inline constexpr const char *countFileVariable = "TEST_COUNT_FILE";

/** A file that gets a line for each write and sync: "write OFFSET PATH", "sync PATH". */
inline constexpr const char *logFileVariable = "TEST_LOG_FILE";

}  // namespace robustness

#endif
