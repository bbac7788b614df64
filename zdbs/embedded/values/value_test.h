/** One relation between a text and a literal, prepared for testing many texts. */
#ifndef ZDBS_EMBEDDED_VALUES_VALUE_TEST_H
#define ZDBS_EMBEDDED_VALUES_VALUE_TEST_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/hits.h"
#include "zdbs/base/relation.h"
#include "zdbs/embedded/values/value_key.h"

namespace zdbs::embedded {

/** How a literal that is a canonical decimal compares. */
enum class Comparing { asTexts, asNumbers };

/**
 * Tests values against a literal. Texts compare by code point, without any
 * normalisation, white space included. With Comparing::asNumbers a literal that is
 * a canonical decimal compares as a number, and a value that is no number then
 * equals nothing and stands in no order to it; `notEqual` is always the complement
 * of `equal`. A literal that is not UTF-8 equals nothing, is contained in nothing
 * and stands in no order. Immutable; any thread may use it.
 */
class ValueTest {
public:
    ValueTest(Relation relation, std::string literal, Comparing comparing);

    bool matches(std::string_view value) const;

    /**
     * Where a matching value was hit: each occurrence, from the left and not
     * overlapping, for `contains`; the whole value for every other relation. Empty
     * for a value that does not match; never holds an empty stretch.
     */
    std::vector<HitRange> hits(std::string_view value) const;

    /** Appends the same to `ranges`. */
    void addHits(std::string_view value, std::vector<HitRange> &ranges) const;

    /** Number of the hits of a value: of one that matches at least one, also where it is empty. */
    std::size_t countHits(std::string_view value) const;

    Relation relation() const { return relation_; }
    const std::string &literal() const { return literal_; }

    /** Whether the literal is UTF-8. */
    bool isWellFormed() const { return wellFormed_; }

    /** What the literal compares as when it compares as a number. */
    std::optional<double> number() const { return number_; }

    /** The key of every value that passes; nothing when values of different keys can, or none. */
    std::optional<ValueKey> key() const { return keyOf(Relation::equal); }

    /** The key of every value that does not pass; nothing when values of different keys can. */
    std::optional<ValueKey> excludedKey() const { return keyOf(Relation::notEqual); }

private:
    std::optional<ValueKey> keyOf(Relation relation) const {
        return relation_ == relation ? key_ : std::nullopt;
    }
    bool equals(std::string_view value) const;
    bool ordered(std::string_view value) const;

    Relation relation_;
    std::string literal_;
    bool wellFormed_;
    std::optional<double> number_;
    std::optional<ValueKey> key_;
};

}  // namespace zdbs::embedded

#endif
