#include "foundation/logger.h"

#include <cstdarg>

namespace {

// The text of one message, cut to what fits.
class MessageText {
public:
    MessageText(const char *format, std::va_list args) {
        if (std::vsnprintf(text_, sizeof text_, format, args) < 0) text_[0] = '\0';
    }
    const char *get() const { return text_; }

private:
    char text_[zfxLogTextLength + 1];
};

}  // namespace

void IZfxLogger::SetLogLevel(tagELogLevel level) {
    m_eLogLevel = level;
}

tagELogLevel IZfxLogger::GetLogLevel() const {
    return m_eLogLevel;
}

void IZfxLogger::FatalError(const char *source, int number, const char *format, ...) {
    if (m_eLogLevel < LL_FATAL) return;
    std::va_list args;
    va_start(args, format);
    const MessageText text(format, args);
    va_end(args);
    PrintLog(LL_FATAL, source, number, text.get());
}

void IZfxLogger::Error(const char *source, int number, const char *format, ...) {
    if (m_eLogLevel < LL_ERROR) return;
    std::va_list args;
    va_start(args, format);
    const MessageText text(format, args);
    va_end(args);
    PrintLog(LL_ERROR, source, number, text.get());
}

void IZfxLogger::Warning(const char *source, int number, const char *format, ...) {
    if (m_eLogLevel < LL_WARNING) return;
    std::va_list args;
    va_start(args, format);
    const MessageText text(format, args);
    va_end(args);
    PrintLog(LL_WARNING, source, number, text.get());
}

void IZfxLogger::Information(const char *source, const char *format, ...) {
    if (m_eLogLevel < LL_INFO) return;
    std::va_list args;
    va_start(args, format);
    const MessageText text(format, args);
    va_end(args);
    PrintLog(LL_INFO, source, 0, text.get());
}

void IZfxLogger::Debug(const char *source, const char *format, ...) {
    if (m_eLogLevel < LL_DEBUG) return;
    std::va_list args;
    va_start(args, format);
    const MessageText text(format, args);
    va_end(args);
    PrintLog(LL_DEBUG, source, 0, text.get());
}
