#ifndef PRG_XML_XPATH_UTILS_VEXA_CONSOLE_H
#define PRG_XML_XPATH_UTILS_VEXA_CONSOLE_H

/**
 * Standard output and standard error as one conversation: what was printed first is seen first, and
 * nobody goes on talking when there is nobody left to listen.
 *
 * One thread.
 */

/**
 * Sends what has been printed on its way. The first failure prints a message on standard error.
 * @return false once standard output has failed
 */
bool flushOutput();

/** Prints to standard error, behind what went to standard output before. */
[[gnu::format(printf, 1, 2)]] void printError(const char *format, ...);

#endif
