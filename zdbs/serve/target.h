/** The target of a request: path and parameters, percent-decoded once and strictly. */
#ifndef ZDBS_SERVE_TARGET_H
#define ZDBS_SERVE_TARGET_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zdbs::serve {

/** A value. */
struct Target {
    /** Parts between slashes; a slash that was written %2F is in one. */
    std::vector<std::string> steps;
    std::vector<std::pair<std::string, std::string>> parameters;  ///< in the order written

    /** The first of a name. */
    const std::string *parameter(std::string_view name) const;

    /** All of a name. */
    std::vector<std::string> all(std::string_view name) const;
};

/**
 * Nothing where the text is none: it does not begin with a slash, an escape is no byte or is NUL,
 * what comes out is not UTF-8, or a step is "." or "..".
 */
std::optional<Target> parseTarget(std::string_view text);

}  // namespace zdbs::serve

#endif
