#include <cstring>
#include <ctime>
#include <string>

#include "foundation/log_file_name.h"
#include "foundation/logger.h"

namespace {

class Locked {
public:
    explicit Locked(ZfxFileLogger &logger) : logger_(logger) { logger_.Lock(); }
    ~Locked() { logger_.Unlock(); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

private:
    ZfxFileLogger &logger_;
};

const char *levelWord(tagELogLevel level) {
    switch (level) {
        case LL_OFF:
            break;
        case LL_FATAL:
            return "  FATAL";
        case LL_ERROR:
            return "  ERROR";
        case LL_WARNING:
            return "WARNING";
        case LL_INFO:
            return "   INFO";
        case LL_DEBUG:
            return "  DEBUG";
    }
    return "       ";
}

std::string datePart(bool useDate) {
    if (!useDate) return "[";  // kept: gives the two brackets that mark a line without a date
    const std::time_t now = std::time(nullptr);
    char date[64] = "";
    ctime_r(&now, date);
    return std::string(date).substr(0, 19) + ' ';
}

std::string sourcePart(const char *source) {
    return source != nullptr && *source != '\0' ? std::string(source) + ": " : "";
}

std::string numberPart(tagELogLevel level, int number) {
    return number != 0 && level < LL_INFO ? '#' + std::to_string(number) + ' ' : "";
}

}  // namespace

ZfxFileLogger::ZfxFileLogger() : m_pMutex(ZfxCreateMutex()) {}

ZfxFileLogger::~ZfxFileLogger() {
    ZfxDestroyMutex(m_pMutex);
    if (m_pFile != nullptr && m_pFile != stdout && m_pFile != stderr) std::fclose(m_pFile);
}

void ZfxFileLogger::PrintLog(tagELogLevel level, const char *source, int number, const char *text) {
    const Locked locked(*this);
    if (m_pFile == nullptr) return;
    const char *message = text != nullptr ? text : "";
    const char *lineEnd = std::strchr(message, '\n') != nullptr ? "" : "\n";
    std::fprintf(m_pFile, "[%s%s] %s%s%s%s", datePart(m_bUseDate).c_str(), levelWord(level),
                 sourcePart(source).c_str(), numberPart(level, number).c_str(), message, lineEnd);
    std::fflush(m_pFile);
}

void ZfxFileLogger::ToggleDateUsage(bool useDate) {
    const Locked locked(*this);
    m_bUseDate = useDate;
}

void ZfxFileLogger::SetFile(std::FILE *file) {
    const Locked locked(*this);
    replaceStream(file);
}

bool ZfxFileLogger::SetFile(const char *path, const char *mode) {
    if (GetLogLevel() == LL_OFF) return false;
    const Locked locked(*this);
    replaceStream(nullptr);
    m_pFile = path != nullptr && mode != nullptr ? std::fopen(path, mode) : nullptr;
    return m_pFile != nullptr;
}

bool ZfxFileLogger::CompleteFile(char *dir, const char *base, const char *ext, const char *mode,
                                 bool withPid, bool withThread) {
    char name[zfxLogFileNameSize];
    return SetFile(getLogFileName(name, dir, base, ext, withPid, withThread), mode);
}

void ZfxFileLogger::Lock() {
    if (m_pMutex != nullptr) ZfxLockMutex(m_pMutex, 1);
}

void ZfxFileLogger::Unlock() {
    if (m_pMutex != nullptr) ZfxUnlockMutex(m_pMutex);
}

// Called with the mutex locked.
void ZfxFileLogger::replaceStream(std::FILE *file) {
    if (m_pFile != nullptr && file != m_pFile) std::fclose(m_pFile);
    m_pFile = file;
}
