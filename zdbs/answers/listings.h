/** What is in databases, as JSON: a value on one line each. */
#ifndef ZDBS_ANSWERS_LISTINGS_H
#define ZDBS_ANSWERS_LISTINGS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/engine/administration.h"

namespace zdbs {

/** The last step of a path, as a request would have it. */
std::string stepText(const PathCount &path);

/** The paths as requests would have them, each with its count. */
std::vector<std::pair<std::string, std::uint64_t>> pathTexts(const std::vector<PathCount> &paths);

/** An array of the paths, each with its text, parts and count. */
std::string pathsAsJson(const std::vector<PathCount> &paths);

/** An object. */
std::string infoAsJson(const std::string &database, const DatabaseInfo &info);

/** An array. */
std::string documentsAsJson(const std::vector<DocumentSummary> &documents);

}  // namespace zdbs

#endif
