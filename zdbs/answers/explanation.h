/** How the sets of a request were found. */
#ifndef ZDBS_ANSWERS_EXPLANATION_H
#define ZDBS_ANSWERS_EXPLANATION_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace zdbs {

/** A set as it was found. */
struct ExplainedSet {
    std::int32_t number = 0;
    std::string condition;
    std::uint64_t records = 0;
    std::uint64_t hits = 0;
    std::chrono::nanoseconds time{};
    std::string foundBy;
};

/** The set that answers; number 0 when there is none. */
struct ExplainedResult {
    std::int32_t number = 0;  ///< as among the sets
    std::int32_t keptAs = 0;  ///< by what number later commands name it
    std::uint64_t records = 0;
};

/** One XPath request, or FIND commands that follow each other. */
struct Explanation {
    std::string request;
    std::vector<ExplainedSet> sets;       ///< in the order in which they were found
    std::chrono::nanoseconds total{};     ///< from the text to the answer
    std::chrono::nanoseconds hitsTime{};  ///< to count the hits of the sets, after they were found
    ExplainedResult result;               ///< none when it failed
    std::string error;                    ///< empty when it did not
    std::vector<std::string> notes;       ///< what somebody who typed it may want to know

    /** To find the sets. */
    std::chrono::nanoseconds setsTime() const;

    /** For everything else: to parse, to translate, to clear the sets away. */
    std::chrono::nanoseconds translationTime() const;
};

/** Takes up what comes behind: its sets, its times, its result. */
void append(Explanation &explanation, const Explanation &next);

/** One JSON object on a line. */
std::string jsonOf(const Explanation &explanation);

}  // namespace zdbs

#endif
