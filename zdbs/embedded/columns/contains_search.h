/** Finds the values in which a text stands, and how often. */
#ifndef ZDBS_EMBEDDED_COLUMNS_CONTAINS_SEARCH_H
#define ZDBS_EMBEDDED_COLUMNS_CONTAINS_SEARCH_H

#include <cstdint>
#include <vector>

#include "zdbs/embedded/columns/frame_search.h"
#include "zdbs/embedded/columns/value_layout.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {

/** Takes what is found in a column, rows ascending, each once. */
class HitSink {
public:
    virtual ~HitSink() = default;

    /** Hits in the rows from `first` on, of which at least one is hit. */
    virtual void takeFrame(std::uint32_t first, const FrameHits &hits) = 0;

    virtual void takeRow(std::uint32_t row, std::uint64_t hits) = 0;
};

/**
 * Gives a sink the rows that pass a test. REQUIRES one of a text that is contained and that is
 * neither empty nor ill-formed.
 */
void findContaining(const ShortValues &values, const ValueTest &test, HitSink &sink);
void findContaining(const PlainValues &values, const ValueTest &test, HitSink &sink);

/** Stretches of the values in which the literal may begin. REQUIRES the same. */
std::vector<TrigramBlocks::Stretch> stretchesFor(const PlainValues &values, const ValueTest &test);

}  // namespace zdbs::embedded

#endif
