#include "zdbs/serve/request_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <utility>

#include "zdbs/answers/sizes.h"
#include "zdbs/base/visible_text.h"

namespace zdbs::serve {

namespace {

std::string timeText(std::time_t now) {
    std::array<char, 32> text{};
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

std::string wordOf(std::string_view text) {
    return text.empty() ? "-" : messageText(text);
}

}  // namespace

RequestLog::RequestLog(std::string file) : path_(std::move(file)) {
    reopen();
}

void RequestLog::reopen() {
    if (path_.empty()) return;
    FileDescriptor opened = openPrivateFile(path_, O_WRONLY | O_CREAT | O_APPEND);
    const std::lock_guard lock(mutex_);
    file_ = std::move(opened);
}

void RequestLog::add(const LoggedRequest &request) {
    std::string line = request.client + ' ' + wordOf(request.user) + ' ' + wordOf(request.method) +
                       ' ' + wordOf(request.place) + ' ' + std::to_string(request.status) + ' ' +
                       std::to_string(request.bytes) + " bytes " + millisecondsText(request.time) +
                       " ms";
    if (!request.remark.empty()) line += " (" + request.remark + ')';
    write(line);
}

void RequestLog::say(std::string_view message) {
    write("zdbs: " + visibleText(message));
}

/** In one call, so that lines of several writers do not mix. */
void RequestLog::write(const std::string &line) {
    const std::lock_guard lock(mutex_);
    const std::time_t now = std::time(nullptr);
    if (now != second_) secondText_ = timeText(second_ = now);
    const std::string text = secondText_ + ' ' + line + '\n';
    const int target = file_ ? file_.get() : STDERR_FILENO;
    [[maybe_unused]] const ssize_t written = ::write(target, text.data(), text.size());
}

}  // namespace zdbs::serve
