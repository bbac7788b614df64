#include "zdbs/admin/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "zdbs/answers/sizes.h"

namespace zdbs::admin {

namespace {

constexpr std::chrono::milliseconds interval{100};
constexpr std::size_t usualWidth = 80;
constexpr std::size_t longestBar = 40;
constexpr const char *clearLine = "\r\033[K";

std::size_t terminalWidth() {
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usualWidth;
}

void show(const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

std::string percentText(double share) {
    const std::string number = std::to_string(static_cast<int>(share * 100));
    return std::string(3 - std::min<std::size_t>(3, number.size()), ' ') + number + '%';
}

std::string barText(double share, std::size_t length) {
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(length));
    return " [" + std::string(filled, '#') + std::string(length - filled, ' ') + ']';
}

std::string rateText(const ProgressState &state) {
    if (state.seconds <= 0) return "";
    const double rate = static_cast<double>(state.done) / state.seconds;
    return "  " + sizeText(static_cast<std::uint64_t>(rate)) + "/s";
}

std::string remainingText(const ProgressState &state) {
    if (state.done == 0 || state.seconds <= 0) return "";
    const double left = static_cast<double>(state.total - state.done);
    const double seconds = left * state.seconds / static_cast<double>(state.done);
    return "  " + durationText(static_cast<std::uint64_t>(seconds + 0.5)) + " left";
}

}  // namespace

std::string progressLine(const ProgressState &given, std::size_t width) {
    ProgressState state = given;
    std::string line;
    if (state.total == 0) {
        line = sizeText(state.done) + rateText(state);
    } else {
        // A file may have grown since its size was taken.
        state.done = std::min(state.done, state.total);
        const double share = static_cast<double>(state.done) / static_cast<double>(state.total);
        const std::string numbers = rateText(state) + remainingText(state);
        line = percentText(share);
        const std::size_t taken = line.size() + numbers.size() + barText(0, 0).size();
        if (taken + 5 <= width) line += barText(share, std::min(longestBar, width - taken));
        line += numbers;
    }
    return line.substr(0, width);
}

Progress::Progress(std::uint64_t total) : isShown_(::isatty(STDERR_FILENO) == 1), total_(total) {}

Progress::~Progress() {
    clear();
}

void Progress::update(std::uint64_t done) {
    if (!isShown_ || Clock::now() < next_) return;
    next_ = Clock::now() + interval;
    const std::chrono::duration<double> passed = Clock::now() - start_;
    // The last column stays free: some terminals go to the next line behind it.
    const std::size_t width = terminalWidth() - 1;
    show(clearLine + progressLine({done, total_, passed.count()}, width));
    hasLine_ = true;
}

void Progress::clear() {
    if (!hasLine_) return;
    show(clearLine);
    hasLine_ = false;
    next_ = Clock::now();
}

}  // namespace zdbs::admin
