/** What ends a command before it has begun. */
#ifndef ZDBS_ADMIN_USAGE_ERROR_H
#define ZDBS_ADMIN_USAGE_ERROR_H

#include <stdexcept>

namespace zdbs::admin {

/** The command line makes no sense; the sentence says why. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace zdbs::admin

#endif
