#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_RECORDING_LOGGER_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_RECORDING_LOGGER_H

#include <string>
#include <vector>

#include "foundation/logger.h"

// A logger that keeps what it is told: "source: text", with "#number" behind the source of an
// error.
class RecordingLogger : public IZfxLogger {
public:
    explicit RecordingLogger(tagELogLevel level = LL_DEBUG) { SetLogLevel(level); }

    void PrintLog(tagELogLevel level, const char *source, int number, const char *text) override {
        const std::string mark = level < LL_INFO ? " #" + std::to_string(number) : "";
        lines_.push_back(std::string(source) + mark + ": " + text);
    }

    const std::vector<std::string> &lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
};

#endif
