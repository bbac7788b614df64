#include "zdbs/admin/request_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "zdbs/admin/asked_input.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::size_t shownCharacters = 60;

bool isBlank(std::string_view line) {
    return line.find_first_not_of(blanks) == std::string_view::npos;
}

}  // namespace

std::string nameOf(std::string_view request) {
    const std::size_t begin = std::min(request.find_first_not_of(blanks), request.size());
    return shortText(request.substr(begin), shownCharacters);
}

RequestLines::~RequestLines() {
    std::free(line_);
}

std::optional<std::string> RequestLines::next() {
    auto line = nextLine();
    while (line && isBlank(*line))
        line = nextLine();
    if (!line) return std::nullopt;
    return std::string(*line);
}

std::optional<std::string_view> RequestLines::nextLine() {
    errno = 0;
    const ssize_t length = ::getline(&line_, &size_, stream_);
    if (length < 0) {
        if (std::feof(stream_) != 0) return std::nullopt;
        throw Failure(Status::fileUnreadable,
                      {"standard input", std::system_category().message(errno)});
    }
    std::string_view line(line_, static_cast<std::size_t>(length));
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

void forEachRequest(const std::vector<std::string> &requests,
                    const std::function<void(const std::string &)> &answer) {
    const auto answerInput = [&] {
        RequestLines lines(requestInput());
        while (const auto line = lines.next())
            answer(*line);
    };
    if (requests.empty()) answerInput();
    for (const std::string &text : requests) {
        if (text == "-")
            answerInput();
        else
            answer(text);
    }
}

}  // namespace zdbs::admin
