/** What is wrong with an expression, and where. */
#ifndef ZDBS_XPATH_REQUEST_ERROR_H
#define ZDBS_XPATH_REQUEST_ERROR_H

#include <cstddef>
#include <string>
#include <string_view>

#include "zdbs/base/status.h"

namespace zdbs::xpath {

/** A Failure(requestFailed) that knows a place; lines and columns count from 1, in characters. */
class RequestError : public Failure {
public:
    /** @param offset in bytes, at most the length of the request */
    RequestError(std::string_view request, std::size_t offset, std::string_view what);

    std::size_t line() const { return line_; }
    std::size_t column() const { return column_; }

    /** The part of the line around the place, and below it a caret; two lines without an end. */
    const std::string &excerpt() const { return excerpt_; }

private:
    struct Place;
    RequestError(const Place &place, std::string_view what);

    std::size_t line_;
    std::size_t column_;
    std::string excerpt_;
};

}  // namespace zdbs::xpath

#endif
