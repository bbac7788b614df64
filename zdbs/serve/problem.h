/** What is wrong with a request, as its client is told (RFC 9457). */
#ifndef ZDBS_SERVE_PROBLEM_H
#define ZDBS_SERVE_PROBLEM_H

#include <stdexcept>
#include <string>
#include <string_view>

#include "zdbs/base/status.h"
#include "zdbs/serve/request_stop.h"

namespace zdbs::serve {

inline constexpr std::string_view problemType = "application/problem+json";

/** Ends a request. Its text is for the client. */
class Problem : public std::runtime_error {
public:
    /** @param http the status of the answer @param kernel the kernel's number; ok: it has none */
    Problem(unsigned http, const std::string &detail, Status kernel = Status::ok)
        : std::runtime_error(detail), http_(http), kernel_(kernel) {}

    /** What a failure of the kernel is to somebody who asked for it over HTTP. */
    explicit Problem(const Failure &failure);

    unsigned http() const { return http_; }
    Status kernel() const { return kernel_; }

    /** One line of JSON: type, title, status, detail, and as "kernel" number and name. */
    std::string json() const;

private:
    unsigned http_;
    Status kernel_;
};

/** What a request comes to that was stopped; whatever was thrown because of that. */
Problem problemOf(StopReason reason);

/** "Not Found"; empty for statuses that are not used here. */
std::string_view reasonOf(unsigned http);

}  // namespace zdbs::serve

#endif
