/** Keys of values: what an index of values finds them by. */
#ifndef ZDBS_EMBEDDED_VALUES_VALUE_KEY_H
#define ZDBS_EMBEDDED_VALUES_VALUE_KEY_H

#include <cstdint>
#include <string_view>

namespace zdbs::embedded {

/** A hash; it stands on disk, so that it is the same in every program of one format. */
using ValueKey = std::uint32_t;

/**
 * The key of a value. Equal texts have the same, and so have texts that are the same number
 * (numberOf()): whatever passes a test for equality with a literal, as a text or as a number,
 * has the key of the literal.
 *
 * Of a number, of which 0 and -0 are one, it is that of its 64 bits, multiplied by a constant;
 * of other texts that of their bytes, 16 at a time, folded in by the product of two halves, after
 * the manner of wyhash (Wang Yi, 2019); docs/format.md has it step by step.
 */
ValueKey valueKeyOf(std::string_view value);

}  // namespace zdbs::embedded

#endif
