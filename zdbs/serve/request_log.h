/** A line for each request, and for what a server has to say besides. */
#ifndef ZDBS_SERVE_REQUEST_LOG_H
#define ZDBS_SERVE_REQUEST_LOG_H

#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <string_view>

#include "zdbs/base/private_files.h"

namespace zdbs::serve {

/** A request that is over. */
struct LoggedRequest {
    std::string client;
    std::string user;  ///< empty where it has not proven who it is
    std::string method;
    std::string place;  ///< without values, or with them where that is wanted
    unsigned status = 0;
    std::uint64_t bytes = 0;
    std::chrono::nanoseconds time{};
    std::string remark;  ///< why it was ended, or empty
};

/** Any thread may call. A line that cannot be written is lost. */
class RequestLog {
public:
    /** @param file empty: standard error. Throws Failure(storeFailed). */
    explicit RequestLog(std::string file);

    /** Opens the file anew, for it may have been moved away. Throws Failure(storeFailed). */
    void reopen();

    void add(const LoggedRequest &request);
    void say(std::string_view message);

private:
    void write(const std::string &line);

    std::string path_;
    std::mutex mutex_;
    FileDescriptor file_;
    std::time_t second_ = -1;  ///< that the text is of
    std::string secondText_;
};

}  // namespace zdbs::serve

#endif
