/** Requests at random, with what they mean in XPath 1.0. */
#ifndef TESTS_ANSWERS_RANDOM_REQUESTS_H
#define TESTS_ANSWERS_RANDOM_REQUESTS_H

#include <cstddef>
#include <random>
#include <string>

#include "tests/support/choices.h"

namespace answers {

/**
 * Requests of one to three steps with the names of testing::RandomDocument, written in both
 * languages. What docs/deviations.md says about the axes is kept out. The root is no record.
 */
class RandomRequests {
public:
    explicit RandomRequests(support::Choices choices) : random_(choices) {}

    void make(std::string &request, std::string &xpath);

private:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    std::string separator(bool first, const std::string &step);

    support::Choices random_;
};

}  // namespace answers

#endif
