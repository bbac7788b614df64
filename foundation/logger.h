#ifndef FOUNDATION_LOGGER_H
#define FOUNDATION_LOGGER_H

#include <cstddef>
#include <cstdio>

#include "foundation/mutex.h"

// How much is logged: messages up to and including the current level.
enum tagELogLevel {
    LL_OFF = 0,
    LL_FATAL = 1,
    LL_ERROR = 2,
    LL_WARNING = 3,
    LL_INFO = 4,
    LL_DEBUG = 5,
};
using ELogLevel = tagELogLevel;

// What a message keeps of its text, in bytes.
inline constexpr int zfxLogTextLength = 8191;

// Where components report progress and trouble. They hold a pointer to it that may be null and is
// never theirs.
//
// `source` is the name of the reporting function; null or empty is left out. `format` and what
// follows are as for printf; a text of more than zfxLogTextLength bytes is cut.
//
// Threads: messages may come from several threads when PrintLog allows it; set the level before.
class IZfxLogger {
public:
    IZfxLogger() = default;
    IZfxLogger(const IZfxLogger &) = delete;
    IZfxLogger &operator=(const IZfxLogger &) = delete;

    // The virtual operations keep this order.
    virtual ~IZfxLogger() = default;

    // Writes one message, whatever the current level. `number` 0 means none.
    virtual void PrintLog(tagELogLevel level, const char *source, int number, const char *text) = 0;

    // LL_OFF at the start.
    virtual void SetLogLevel(tagELogLevel level);
    virtual tagELogLevel GetLogLevel() const;

    // Write a message of the level of that name, if the current level reaches it.
    virtual void FatalError(const char *source, int number, const char *format, ...);
    virtual void Error(const char *source, int number, const char *format, ...);
    virtual void Warning(const char *source, int number, const char *format, ...);
    virtual void Information(const char *source, const char *format, ...);
    virtual void Debug(const char *source, const char *format, ...);

private:
    tagELogLevel m_eLogLevel = LL_OFF;
};

// A logger that writes lines to a file, each flushed at once:
//   "[Sun Nov 15 09:48:00   ERROR] source: #7 text"
//
// Ownership: the stream belongs to the logger, which closes it when another one is set, whichever
// it is, and when the logger goes, but then neither standard output nor standard error.
// Errors: as long as there is no stream, messages are dropped.
// Threads: lines of several threads do not mix, and SetFile may be called meanwhile.
class ZfxFileLogger : public IZfxLogger {
public:
    ZfxFileLogger();
    ~ZfxFileLogger() override;

    void PrintLog(tagELogLevel level, const char *source, int number, const char *text) override;

    // Dates in front of the lines, on at the start. Lines without one begin with "[[" on purpose:
    // scripts tell them by it.
    void ToggleDateUsage(bool useDate);

    // Closes the current stream and takes over `file`; null leaves the logger without one. The
    // stream that it has already stays open.
    void SetFile(std::FILE *file);

    // Closes the current stream and opens `path` with the fopen mode `mode`. False when that
    // fails, which leaves the logger without a stream. While the level is LL_OFF nothing is
    // opened or closed and the result is false: set the level first.
    bool SetFile(const char *path, const char *mode);

    // SetFile with a name of getLogFileName (see log_file_name.h: `dir` may be modified). For a
    // program that names its log file itself; the shell's user names the whole file.
    bool CompleteFile(char *dir, const char *base, const char *ext, const char *mode, bool withPid,
                      bool withThread);

    // Hold up the lines of other threads. Not to be nested, nor held around the other operations.
    void Lock();
    void Unlock();

private:
    void replaceStream(std::FILE *file);

    bool m_bUseDate = true;
    std::FILE *m_pFile = nullptr;
    ZfxMutex *m_pMutex;
};

#endif
