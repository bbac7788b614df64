/** The log of the recording kernel: one line a call. */
#ifndef TESTS_KERNEL_RECORDING_RECORDING_LOG_H
#define TESTS_KERNEL_RECORDING_RECORDING_LOG_H

#include <string>
#include <string_view>

namespace recording {

/** In double quotes, with \" and \\ and every byte outside printable ASCII as \xNN; null as (null).
 */
std::string quoted(const char *text);
std::string quoted(std::string_view text);

/**
 * Appends a line to the file that the environment variable RECORDING_LOG names; nothing without it.
 * The line is in the file when the call returns, whatever happens to the process afterwards.
 */
void logLine(const std::string &line);

}  // namespace recording

#endif
