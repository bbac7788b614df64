/** What a damaged database is put to: each has to end, with answers or with Failures. */
#ifndef TESTS_ZDBS_EMBEDDED_CHECK_DAMAGED_USE_H
#define TESTS_ZDBS_EMBEDDED_CHECK_DAMAGED_USE_H

#include <cstddef>
#include <functional>

#include "tests/support/choices.h"
#include "tests/zdbs/embedded/check/damaged_database.h"

namespace zdbs::embedded {

/** Failures are answers. */
void attempt(const std::function<void()> &work);

/**
 * Every node by itself, every document, every path. Throws Failure where it cannot be opened.
 * @return a sum of what was read, so that it is
 */
std::size_t readAll(const DamagedDatabase &database);

/** Conditions of every kind. Throws Failure where it cannot be opened. */
void query(const DamagedDatabase &database);

/** A load, a removal, a compaction. */
void change(const DamagedDatabase &database);

/** Changes bytes of columns; REQUIRES: they are put in place with checksums that fit. */
void scramble(SegmentImage &image, support::Choices &random);

}  // namespace zdbs::embedded

#endif
