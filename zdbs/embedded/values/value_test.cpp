#include "zdbs/embedded/values/value_test.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/base/utf8.h"

namespace zdbs::embedded {
namespace {

/** First place of `needle` from `from` on, in linear time, which std::string_view does not promise.
 */
std::size_t findText(std::string_view text, std::string_view needle, std::size_t from) {
    std::string_view rest = text.substr(from);
    const void *found = memmem(rest.data(), rest.size(), needle.data(), needle.size());
    if (found == nullptr) return std::string_view::npos;
    return static_cast<std::size_t>(static_cast<const char *>(found) - text.data());
}

}  // namespace

ValueTest::ValueTest(Relation relation, std::string literal, Comparing comparing)
    : relation_(relation), literal_(std::move(literal)), wellFormed_(isUtf8(literal_)) {
    if (comparing == Comparing::asNumbers) number_ = canonicalDecimal(literal_);
    const bool hasKey = relation_ == Relation::equal || relation_ == Relation::notEqual;
    if (hasKey && wellFormed_) key_ = valueKeyOf(literal_);
}

bool ValueTest::matches(std::string_view value) const {
    switch (relation_) {
        case Relation::any:
            return true;
        case Relation::notEmpty:
            return !value.empty();
        case Relation::contains:
            return wellFormed_ && findText(value, literal_, 0) != std::string_view::npos;
        case Relation::equal:
            return equals(value);
        case Relation::notEqual:
            return !equals(value);
        case Relation::less:
        case Relation::lessEqual:
        case Relation::greater:
        case Relation::greaterEqual:
            return ordered(value);
    }
    return false;
}

bool ValueTest::equals(std::string_view value) const {
    if (!wellFormed_) return false;
    if (!number_) return value == literal_;
    std::optional<double> number = numberOf(value);
    return number && *number == *number_;
}

/** Bytes of UTF-8 order as code points do. */
bool ValueTest::ordered(std::string_view value) const {
    if (!wellFormed_) return false;
    if (!number_) return holds(relation_, value, std::string_view(literal_));
    std::optional<double> number = numberOf(value);
    return number && holds(relation_, *number, *number_);
}

std::vector<HitRange> ValueTest::hits(std::string_view value) const {
    std::vector<HitRange> result;
    addHits(value, result);
    return result;
}

void ValueTest::addHits(std::string_view value, std::vector<HitRange> &ranges) const {
    if (value.empty()) return;
    const bool isWhole = relation_ != Relation::contains || literal_.empty();
    if (isWhole) {
        if (matches(value)) ranges.push_back({0, value.size()});
        return;
    }
    if (!wellFormed_) return;
    std::size_t from = findText(value, literal_, 0);
    while (from != std::string_view::npos) {
        ranges.push_back({from, literal_.size()});
        from = findText(value, literal_, from + literal_.size());
    }
}

std::size_t ValueTest::countHits(std::string_view value) const {
    if (relation_ != Relation::contains || literal_.empty()) return matches(value) ? 1 : 0;
    if (!wellFormed_) return 0;
    std::size_t count = 0;
    std::size_t from = findText(value, literal_, 0);
    for (; from != std::string_view::npos; ++count)
        from = findText(value, literal_, from + literal_.size());
    return count;
}

}  // namespace zdbs::embedded
