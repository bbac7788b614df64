/** How large the forests are, and how the work is shared out to tests that run side by side. */
#ifndef TESTS_EXHAUSTIVE_SHARE_H
#define TESTS_EXHAUSTIVE_SHARE_H

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/exhaustive/keeping.h"

namespace exhaustive {

/** Forests of one size, every `of`th of them from number `part` on. */
struct Share {
    Way way;
    int nodes;
    std::size_t part;
    std::size_t of;
};

/**
 * The most nodes of a forest: what the environment variable VEXA_EXHAUSTIVE_NODES says (1 to
 * 8), or else `usual`: one less with assertions, two less with address checks, which take time.
 */
int largestForest(int usual);

/** Shares of all forests of 1 to `largest` nodes: one for each size, several for the largest. */
std::vector<Share> sharesOf(Way way, int largest, std::size_t parts);

/** For the names of tests. */
std::string nameOf(const ::testing::TestParamInfo<Share> &share);
void PrintTo(const Share &share, std::ostream *out);

/**
 * Visits the forests of a share. By path, each is kept in some manners, which take turns: in
 * one where it has more than four nodes, in `keepings` of four (on disk in one), and the
 * smaller it is in the more, up to all of them.
 */
void forEachForest(const Share &share, std::size_t keepings,
                   const std::function<void(const KeptForest &)> &visit);

}  // namespace exhaustive

#endif
