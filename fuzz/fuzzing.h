/** What the targets share: their input as text, refusals, and how they say what is wrong. */
#ifndef FUZZ_FUZZING_H
#define FUZZ_FUZZING_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

#include "zdbs/base/status.h"

namespace fuzzing {

using Bytes = std::span<const std::uint8_t>;

inline std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

/** The first `count` bytes, or all; they are gone from `bytes`. */
inline Bytes taken(Bytes &bytes, std::size_t count) {
    const Bytes first = bytes.first(count < bytes.size() ? count : bytes.size());
    bytes = bytes.subspan(first.size());
    return first;
}

/** Whether it is refused, by a Failure; all else that is thrown brings the target down. */
template <typename Call>
bool isRefused(Call call) {
    try {
        call();
        return false;
    } catch (const zdbs::Failure &) {
        return true;
    }
}

/** Brings the target down, unless `holds`, with what is not as it should be. */
inline void require(bool holds, std::string_view what) {
    if (holds) return;
    std::fprintf(stderr, "%.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
}

}  // namespace fuzzing

/** Defined by the target: one input. */
void fuzz(fuzzing::Bytes input);

// The way in; a target is one source, which includes this once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz({data, size});
    return 0;
}

#endif
