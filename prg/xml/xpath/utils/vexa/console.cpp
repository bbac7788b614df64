#include "prg/xml/xpath/utils/vexa/console.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

bool outputFailed = false;

}  // namespace

bool flushOutput() {
    if (outputFailed) return false;
    const bool failedBefore = std::ferror(stdout) != 0;
    errno = 0;
    if (std::fflush(stdout) == 0 && !failedBefore) return true;
    outputFailed = true;
    const char *reason = errno == 0 ? "an earlier write failed" : std::strerror(errno);
    std::fprintf(stderr, "ERROR: Cannot write to standard output: %s\n", reason);
    return false;
}

void printError(const char *format, ...) {
    flushOutput();
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}
