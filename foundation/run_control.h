// Settings: "name=value", from the environment or from a run-control file.
//
// The file is "/usr/local/zarn/sys/conf/zdbs.conf" or, when that cannot be read, "/.ZARNrcs". Each
// thread reads it once and keeps its lines until the thread ends or closes them; a file changed
// meanwhile is not read again. Without a file only the environment counts, and the file is looked
// for again the next time.
//
// File format: one setting a line, at most 510 bytes (what is longer continues as a line of its
// own). The text before the first "=" is the name, without regard to case; blanks around "=" are
// not removed. White space at the end of a line is. In a value "#" starts a comment, which goes
// together with the white space before it. Lines without "=" are ignored. The first line that
// matches wins; a variable of the environment wins over the file.
//
// Threads: every function may be called from any thread and works on that thread's settings.
#ifndef FOUNDATION_RUN_CONTROL_H
#define FOUNDATION_RUN_CONTROL_H

#include <span>

#include "foundation/thread_storage.h"

// A line of the run-control file.
struct ZfxRCSEntry {
    char line[511];     // without its line end, NUL-terminated
    ZfxRCSEntry *next;  // the next line of the file, or null
};

// The value of the setting `name`, to be released with ZfxFreeRCS; null when there is none.
// `length` is not used. Creates the process-wide key on its first use.
char *ZfxReadRCS(const char *name, int length = 0);

// The same with the lines kept under `key`, which must have been made with tlsRCSDealloc as its
// destructor and opened with ZfxOpenTlsRCS.
char *ZfxReadTlsRCS(ZfxTLSKey key, const char *name, int length = 0);

// The same with other files: the first of `paths` that can be opened is read.
char *ZfxReadTlsRCSFrom(ZfxTLSKey key, const char *name, std::span<const char *const> paths);

// Sets this thread's lines under `key` to none, releasing nothing.
void ZfxOpenTlsRCS(ZfxTLSKey key);

// Releases this thread's lines under `key`: the next read reads the file again.
void ZfxCloseTlsRCS(ZfxTLSKey key);

// Releases this thread's lines and deletes the process-wide key. The lines of other threads that
// still run are lost with it, so this comes after their end.
void ZfxCloseRCS();

// Releases a value that one of the readers returned; null is ignored.
void ZfxFreeRCS(char *value);

// Releases a list of lines, and forgets it when it is this thread's list under the process-wide
// key; the destructor of the keys above.
void tlsRCSDealloc(void *value);

#endif
