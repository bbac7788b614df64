// Names of log files.
#ifndef FOUNDATION_LOG_FILE_NAME_H
#define FOUNDATION_LOG_FILE_NAME_H

#include <cstddef>
#include <string>

// For programs that name their log file themselves: whoever runs one, or the administrator of the
// machine, says by the setting "ZDBS_LOG" where such files go. It is trusted as far as the
// environment is: a program that runs with rights of others passes a directory of its own. The
// shell takes the whole name of its log file from its user and asks for no directory.

// The size of a name's buffer; a longer name is cut to one byte less.
inline constexpr std::size_t zfxLogFileNameSize = 1024;

// Builds "<dir>/<base><_pid><_thread><_time>.<ext>" and returns it in `dst` (which must hold
// zfxLogFileNameSize bytes) or, when `dst` is null, in a new block that the caller releases with
// ZfxMemFree.
//
// - ext: with or without its leading "."; null means "log".
// - dir: null or empty means the setting "ZDBS_LOG" (see run_control.h) or else "/tmp". One "/" or
//   "\" at its end is removed, in the caller's own text. What is empty then gives a name without a
//   directory: the directory "/" names a file in the current one.
// - base: null counts as empty.
// - withPid, withThread: add "_" and the number of the process, of the calling thread.
// - withTimestamp: adds "_" and the local time as yyyymmddhhmmss and three digits of milliseconds.
char *getLogFileNameEx(char *dst, char *dir, const char *base, const char *ext, int withPid,
                       int withThread, int withTimestamp);

// The same without the time.
char *getLogFileName(char *dst, char *dir, const char *base, const char *ext, int withPid,
                     int withThread);

// The directory that a name without one gets: `setting` unless it is null or empty, else "/tmp".
std::string ZfxDefaultLogDirectory(const char *setting);

#endif
