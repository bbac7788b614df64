/** The distinct values of what a request found. */
#ifndef ZDBS_ANSWERS_VALUE_COUNTS_H
#define ZDBS_ANSWERS_VALUE_COUNTS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/session/nested_request.h"

namespace zdbs {

using ValueCount = std::pair<std::string, std::uint64_t>;

/**
 * Each with how often it occurs, in order of value, or the most frequent ones first. Texts are
 * compared by the numbers of their characters, as UTF-8 is. Throws Failure(stopped).
 */
std::vector<ValueCount> countValues(const RequestAnswer &answer, bool byCount);

std::string valuesAsCsv(const std::vector<ValueCount> &counts);

/** An array on one line. */
std::string valuesAsJson(const std::vector<ValueCount> &counts);

}  // namespace zdbs

#endif
