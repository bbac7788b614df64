#include "zdbs/answers/sizes.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>

namespace zdbs {

namespace {

std::string twoDigits(std::uint64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string oneDecimal(double number) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.1f", number);
    return text.data();
}

}  // namespace

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array<const char *, 6> units = {"kB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1000) return std::to_string(bytes) + " B";
    double size = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // 999.95 would be written as 1000.0.
    for (; size >= 999.95 && unit + 1 < units.size(); ++unit)
        size /= 1000;
    return oneDecimal(size) + ' ' + units[unit];
}

std::string countText(std::uint64_t count) {
    std::string text = std::to_string(count);
    for (std::size_t end = text.size(); end > 3; end -= 3)
        text.insert(end - 3, 1, ' ');
    return text;
}

std::string durationText(std::uint64_t seconds) {
    const std::uint64_t minutes = seconds / 60;
    if (minutes < 60) return std::to_string(minutes) + ':' + twoDigits(seconds % 60);
    return std::to_string(minutes / 60) + ':' + twoDigits(minutes % 60) + ':' +
           twoDigits(seconds % 60);
}

std::string secondsText(std::chrono::nanoseconds time) {
    const double seconds = std::chrono::duration<double>(time).count();
    if (seconds >= 59.95) return durationText(static_cast<std::uint64_t>(seconds + 0.5));
    return oneDecimal(seconds) + " s";
}

std::string ratioText(std::uint64_t part, std::uint64_t whole) {
    if (whole == 0) return "";
    return oneDecimal(static_cast<double>(part) / static_cast<double>(whole)) + " x";
}

std::string millisecondsText(std::chrono::nanoseconds time) {
    const std::chrono::duration<double, std::milli> milliseconds = time;
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), milliseconds.count(),
                                   std::chars_format::fixed, 3);
    return {text.data(), end.ptr};
}

}  // namespace zdbs
