/** Requests as they are given to `zdbs query` and `zdbs explain`. */
#ifndef ZDBS_ADMIN_REQUEST_TEXT_H
#define ZDBS_ADMIN_REQUEST_TEXT_H

#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/answers/request_check.h"

namespace zdbs::admin {

/** The request as messages name it. */
std::string nameOf(std::string_view request);

/** Lines of a stream that are not blank, one request each. */
class RequestLines {
public:
    explicit RequestLines(std::FILE *stream) : stream_(stream) {}
    ~RequestLines();
    RequestLines(const RequestLines &) = delete;
    RequestLines &operator=(const RequestLines &) = delete;

    /**
     * The next line without its end, which is LF or CR LF and may be missing behind the
     * last; nothing when there is no more. Throws Failure(fileUnreadable).
     */
    std::optional<std::string> next();

private:
    std::optional<std::string_view> nextLine();

    std::FILE *stream_;
    char *line_ = nullptr;  // getline() allocates it
    std::size_t size_ = 0;
};

/**
 * Calls `answer` for each request: a "-" stands for the lines of standard input, and so does
 * no request at all. Throws Failure(fileUnreadable) and what is thrown there.
 */
void forEachRequest(const std::vector<std::string> &requests,
                    const std::function<void(const std::string &)> &answer);

}  // namespace zdbs::admin

#endif
