/** What is taken for a request, and what is not. */
#ifndef ZDBS_ANSWERS_REQUEST_CHECK_H
#define ZDBS_ANSWERS_REQUEST_CHECK_H

#include <cstddef>
#include <string_view>

namespace zdbs {

/** Bytes of a request. */
constexpr std::size_t longestRequest = std::size_t{64} * 1024 * 1024;

/**
 * Throws Failure(requestFailed) for what somebody who knows the shell would type here: a
 * statement, a semicolon at the end; and for what is longer than a request can be.
 */
void requireRequest(std::string_view text);

/** Whether it is a FIND command and no request: that word, white space, and something. */
bool isFindCommand(std::string_view text);

}  // namespace zdbs

#endif
