#include "zdbs/admin/output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

[[noreturn]] void failOutput(int error) {
    throw Failure(Status::writeFailed, {"standard output", std::system_category().message(error)});
}

// Bytes that begin a character; the others of UTF-8 continue one.
std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
    }));
}

std::string padded(const std::string &cell, std::size_t width, TextTable::Align align) {
    const std::string padding(width - widthOf(cell), ' ');
    return align == TextTable::Align::left ? cell + padding : padding + cell;
}

/** A long last cell costs the others nothing. */
bool needsPadding(std::size_t column, const std::vector<TextTable::Align> &columns) {
    return column + 1 < columns.size() || columns[column] == TextTable::Align::right;
}

}  // namespace

void writeOutput(std::string_view text) {
    if (text.empty()) return;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) failOutput(errno);
}

void finishOutput() {
    if (std::fflush(stdout) != 0) failOutput(errno);
}

std::size_t outputWidth() {
    constexpr std::size_t usualWidth = 80;
    if (::isatty(STDOUT_FILENO) != 1) return 0;
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usualWidth;
}

void writeMessage(std::string_view message) {
    const std::string line = "zdbs: " + std::string(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void writeOutOfMemory() noexcept {
    const std::string_view sentence = rowOf(Status::outOfMemory)->sentence;
    std::fputs("zdbs: ", stderr);
    std::fwrite(sentence.data(), 1, sentence.size(), stderr);
    std::fputc('\n', stderr);
}

void tellWaiting(std::string_view database) {
    writeMessage("waiting for another one that changes " + std::string(database) + " ...");
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const auto &row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    std::string text;
    for (const auto &row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i == 0 ? "" : "  ") +
                    (needsPadding(i, columns_) ? padded(row[i], widths[i], columns_[i]) : row[i]);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

}  // namespace zdbs::admin
