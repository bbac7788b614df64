/** The result sets of an engine. */
#ifndef ZDBS_ENGINE_RESULT_SET_H
#define ZDBS_ENGINE_RESULT_SET_H

#include <cstdint>
#include <memory>

namespace zdbs {

/**
 * A result set of an engine: immutable, opaque to everybody else. A set belongs to
 * the state of the database that it was made in, and identity is its address. Its numbers may
 * have to be found when they are asked for, and that may fail; a number that was told once is
 * known.
 */
class ResultSet {
public:
    virtual ~ResultSet() = default;

    /** Number of its records. */
    virtual std::int64_t size() const = 0;

    /** Number of the hit words of all its records, at least one for each. */
    virtual std::int64_t hits() const = 0;
};

using ResultSetPtr = std::shared_ptr<const ResultSet>;

}  // namespace zdbs

#endif
