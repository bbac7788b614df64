/** What is in a directory. */
#ifndef ZDBS_BASE_DIRECTORY_H
#define ZDBS_BASE_DIRECTORY_H

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace zdbs {

/**
 * The names of all that is in a directory, in no order; `error` says why some are not among them.
 * Where memory runs out it throws std::bad_alloc, while the iterators of the standard library
 * (libstdc++ 12) end the process.
 */
std::vector<std::string> namesIn(const std::filesystem::path &directory, std::error_code &error);

}  // namespace zdbs

#endif
