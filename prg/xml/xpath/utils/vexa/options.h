#ifndef PRG_XML_XPATH_UTILS_VEXA_OPTIONS_H
#define PRG_XML_XPATH_UTILS_VEXA_OPTIONS_H

#include <memory>
#include <optional>

#include "foundation/logger.h"

/** What the command line asked for. The texts are the caller's arguments. */
struct Options {
    char *user = nullptr;
    char *password = nullptr;
    const char *host = nullptr;
    const char *inputFile = nullptr;
    bool quiet = false;
    bool useInput = false;
    bool echo = false;
    tagELogLevel logLevel = LL_OFF;
    std::unique_ptr<ZfxFileLogger> logger;
};

/**
 * Reads the arguments from left to right; log files are opened on the way.
 * @return the status to end the program with at once, after a message; nothing to go on
 */
std::optional<int> parseOptions(int argc, char **argv, Options &options);

#endif
