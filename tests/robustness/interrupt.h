/**
 * What the environment orders interrupt.cpp to do. A program that has it linked in counts
 * its changes of files: each write, sync, truncation, renaming, removal and new directory.
 */
#ifndef TESTS_ROBUSTNESS_INTERRUPT_H
#define TESTS_ROBUSTNESS_INTERRUPT_H

namespace robustness {

/** The number of the change, from 1, at which the program kills itself with SIGKILL. */
inline constexpr const char *killAtVariable = "TEST_KILL_AT";

/**
 * Where in that change: "before", "within" (half of a write is done), or "after". Or the program
 * goes on: the change "fails", or comes half as far, "short".
 */
inline constexpr const char *killWhenVariable = "TEST_KILL_WHEN";

/** A file that gets the number of changes when the program ends by itself. */
inline constexpr const char *countFileVariable = "TEST_COUNT_FILE";

/** What errno is where a change fails. */
inline constexpr const char *errorVariable = "TEST_ERROR";

/** A file that gets what the files go through, in order; journal.h reads it. */
inline constexpr const char *logFileVariable = "TEST_LOG_FILE";

}  // namespace robustness

#endif
