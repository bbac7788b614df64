#include "zdbs/answers/request_check.h"

#include <algorithm>
#include <string>

#include "foundation/keyword.h"
#include "zdbs/base/status.h"

namespace zdbs {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/** The first word when white space and something else follow it; otherwise nothing. */
std::string_view leadingWord(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(blanks), text.size());
    const std::size_t end = text.find_first_of(blanks, begin);
    const bool hasMore = text.find_first_not_of(blanks, end) != std::string_view::npos;
    return end != std::string_view::npos && hasMore ? text.substr(begin, end - begin) : "";
}

[[noreturn]] void refuse(std::string_view why) {
    throw Failure(Status::requestFailed, {why});
}

}  // namespace

void requireRequest(std::string_view text) {
    const std::string_view word = leadingWord(text);
    if (equalsNoCase(word, "XFIND")) refuse("XFIND is a word of the shell; give the request alone");
    if (equalsNoCase(word, "XGET"))
        refuse("XGET is a word of the shell; give the request alone, and its specs to --fragments");
    const std::size_t last = text.find_last_not_of(blanks);
    if (last != std::string_view::npos && text[last] == ';')
        refuse("a semicolon ends statements of the shell; leave it out");
    if (text.size() > longestRequest)
        refuse("it is longer than " + std::to_string(longestRequest) + " bytes");
}

bool isFindCommand(std::string_view text) {
    return equalsNoCase(leadingWord(text), "FIND");
}

}  // namespace zdbs
